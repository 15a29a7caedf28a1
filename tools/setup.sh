#!/usr/bin/env bash
# Installs what building and checking need, on Debian and its derivatives.
#
#   tools/setup.sh GROUP...     groups: build fortran check emulated bench docs lint, or all
#
# Only what is missing is installed; with nothing missing it returns at once and asks no server.
# Needs root or sudo for what it installs. The kernel image of the AVX-512 machine and, where Wine
# cannot be installed beside the system, an i386 root with Wine are kept in
# ${XDG_CACHE_HOME:-~/.cache}/qsl.
#   QSL_WINE_ROOT=1   make and use the i386 root even where Wine can be installed beside the system
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

declare -A packages=(
  [build]="g++ g++-multilib clang cmake ninja-build make python3 ccache"
  [fortran]="gfortran gfortran-multilib"
  [check]="googletest python3-pytest binutils libmpfr-dev:i386 valgrind libc6-dbg:i386"
  [emulated]="gcc-multilib python3 python3-pytest binutils qemu-user
    bochs bochsbios vgabios isolinux syslinux-common xorriso cpio busybox-static
    g++-mingw-w64-i686-posix"
  [bench]="libbenchmark-dev:i386 libeigen3-dev"
  [docs]="doxygen graphviz"
  [lint]="clang-format clang-tidy cppcheck shellcheck"
)
# Peers to compare with: left out where a machine refuses them.
declare -A peers=(
  [check]="libopenblas0-serial:i386"
  [bench]="libopenblas0-serial:i386 libfftw3-double3:i386"
)
groups=(build fortran check emulated bench docs lint)
export DEBIAN_FRONTEND=noninteractive

# Prints those of the packages that are not installed. An unqualified name counts for the machine's
# own architecture (or "all"); name:arch for that one.
missing() {
  dpkg-query -W -f='${db:Status-Abbrev}|${Package}|${Package}:${Architecture}\n' 2>/dev/null |
    awk -F'|' -v native="$(dpkg --print-architecture)" -v wanted="$*" '
      $1 ~ /^.i/ {
        seen[$3] = 1
        if ($3 == $2 ":" native || $3 == $2 ":all") seen[$2] = 1
      }
      END { n = split(wanted, w, " "); for (i = 1; i <= n; i++) if (!(w[i] in seen)) print w[i] }'
}

index_is_fresh=
# Reads the package lists once. One list that fails does not matter if the packages are found.
refresh_index() {
  [ -z "$index_is_fresh" ] || return 0
  say "reading the package lists"
  as_root apt-get update -q >/dev/null 2>&1 || say "a package list could not be refreshed, going on without it"
  index_is_fresh=1
}

allow_i386() {
  [ "$(dpkg --print-architecture)" != i386 ] || return 0
  dpkg --print-foreign-architectures | grep -qx i386 && return 0
  as_root dpkg --add-architecture i386
  index_is_fresh=
}

# install PACKAGE...: 0 when all are there afterwards.
install() {
  local names
  mapfile -t names < <(missing "$@")
  [ ${#names[@]} -gt 0 ] || return 0
  need_root "installing ${names[*]}"
  case " ${names[*]} " in *:i386\ *) allow_i386 ;; esac
  refresh_index
  say "installing ${names[*]}"
  as_root apt-get install -q -y --no-install-recommends -o DPkg::Lock::Timeout=300 "${names[@]}" >"$log" 2>&1
}

require() {
  install "$@" && return 0
  tail -n 30 "$log" >&2
  die "could not install: $(missing "$@" | tr '\n' ' ')"
}

# A package that was refused is asked for again after a day.
prefer() {
  local package stamp
  for package in $(missing "$@"); do
    stamp=$qsl_cache/refused-${package//[:\/]/-}
    [ -z "$(find "$stamp" -mmin -1440 2>/dev/null)" ] || continue
    if ! install "$package"; then
      say "$package cannot be installed here, going on without it"
      mkdir -p "$qsl_cache" && touch "$stamp"
    fi
  done
}

# The newest kernel image of the small "cloud" kind, unpacked to $qsl_cache/kernel/vmlinuz.
fetch_kernel() {
  [ ! -s "$qsl_cache/kernel/vmlinuz" ] || return 0
  local work image candidates
  need_root "reading the package lists for a kernel image"
  refresh_index
  mapfile -t candidates < <(
    apt-cache depends linux-image-cloud-amd64 2>/dev/null | sed -n 's/^ *Depends: \(linux-image-[^ ]*\)$/\1/p'
    apt-cache search --names-only '^linux-image-6[.]1[.].*-cloud-amd64$' | cut -d' ' -f1 | sort -rV | head -n 5
  )
  [ ${#candidates[@]} -gt 0 ] || die "the package lists name no linux-image-*-cloud-amd64"
  work=$(mktemp -d)
  for image in "${candidates[@]}"; do
    say "fetching $image"
    rm -rf "${work:?}"/*
    (cd "$work" && apt-get download -q "$image:amd64") >"$log" 2>&1 || continue
    dpkg -x "$work"/*.deb "$work/root" || continue
    mkdir -p "$qsl_cache/kernel"
    cp "$work"/root/boot/vmlinuz-* "$qsl_cache/kernel/vmlinuz.part"
    mv "$qsl_cache/kernel/vmlinuz.part" "$qsl_cache/kernel/vmlinuz"
    break
  done
  rm -rf "$work"
  [ -s "$qsl_cache/kernel/vmlinuz" ] || { cat "$log" >&2; die "no kernel image could be fetched"; }
}

wine_is_there() {
  if [ -z "${QSL_WINE_ROOT:-}" ] && [ -z "$(missing wine wine32:i386)" ]; then return 0; fi
  [ -e "$qsl_cache/wine-root/.complete" ]
}

# Wine beside the system where the package manager agrees. Where the lists of the two architectures
# have drifted apart it does not: then an i386 root of its own.
fetch_wine() {
  ! wine_is_there || return 0
  need_root "installing Wine"
  if [ -z "${QSL_WINE_ROOT:-}" ]; then
    allow_i386
    refresh_index
    if apt-get install -s --no-install-recommends wine wine32:i386 >/dev/null 2>&1 &&
      install wine wine32:i386; then
      return 0
    fi
    say "Wine cannot be installed beside the system, making an i386 root for it (a few minutes)"
  fi
  require debootstrap
  local root=$qsl_cache/wine-root suite mirror
  suite=$(. /etc/os-release && printf %s "${VERSION_CODENAME:-bookworm}")
  # shellcheck disable=SC2016
  mirror=$(apt-get indextargets --format '$(REPO_URI)' "Created-By: Packages" "Codename: $suite" | head -n 1)
  mkdir -p "$qsl_cache"
  as_root rm -rf "$root"
  as_root debootstrap --arch=i386 --variant=minbase "$suite" "$root" \
    "${mirror:-http://deb.debian.org/debian}" >"$log" 2>&1 ||
    { tail -n 20 "$log" >&2; die "debootstrap could not make $root"; }
  as_root chroot "$root" apt-get install -q -y --no-install-recommends wine wine32 >"$log" 2>&1 ||
    { tail -n 20 "$log" >&2; die "Wine could not be installed into $root"; }
  as_root chroot "$root" apt-get clean
  as_root touch "$root/.complete"
}

[ $# -gt 0 ] || die "which group? ${groups[*]} all"
[ "$*" != all ] || set -- "${groups[@]}"
for group in "$@"; do
  case " ${groups[*]} " in *" $group "*) ;; *) die "no such group: $group" ;; esac
done
command -v apt-get >/dev/null || die "works with apt-get only; install by hand: see the lists at the top"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
wanted=() optional=()
for group in "$@"; do
  read -r -d '' -a list <<<"${packages[$group]}" || true
  wanted+=("${list[@]}")
  read -r -d '' -a list <<<"${peers[$group]:-}" || true
  optional+=("${list[@]}")
done
require "${wanted[@]}"
prefer "${optional[@]}"
case " $* " in *" emulated "*)
  fetch_kernel
  fetch_wine
  ;;
esac

#!/usr/bin/env bash
# Runs the test programs of a build on an emulated AVX-512 processor: a small virtual machine in
# Bochs, which boots a kernel with the programs in its initial RAM disk.
#
#   tools/check-avx512.sh [MINUTES]     time limit of the machine, default 30
#
#   QSL_BUILD_DIR       the build to take, default build/release; it must be built already
#   QSL_AVX512_MINUTES  the time limit, when there is no argument
#   QSL_AVX512_TESTS    shell pattern of the programs instead of the chosen ones; "*" for all
#   QSL_AVX512_KEEP=1   keep the scratch folder
#
# First the probe runs through the rows of tests/emulation/avx512-selection.txt. A processor that has
# AVX-512 leaves it at that: CTest runs type 9 there. On others follow the programs that CTest repeats
# for each processor type, with QSL_DEBUG_CPU_TYPE=9 (the smallest of them again with QSL_CBWR=AVX512
# added), and those of tests/emulation/avx512-programs.txt.
# QSL_TEST_EMULATED=1 is set for all, so that they take fewer shapes, and QSL_TEST_LEVELS=avx512.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

minutes=${1:-${QSL_AVX512_MINUTES:-30}}
[[ $minutes =~ ^[1-9][0-9]*$ ]] || die "not a number of minutes: $minutes"
build=$(cd "$source_root" && realpath -m "${QSL_BUILD_DIR:-build/release}")
emulation=$source_root/tests/emulation
program_seconds=600 # of one program, in the machine's own time

"$source_root/tools/setup.sh" emulated
[ -e "$build/libqsl.so.1" ] || die "$build/libqsl.so.1 is missing: build it first (cmake --preset release && cmake --build --preset release)"

mapfile -t tests < <("$source_root/tools/list-tests.py" "$build")
mapfile -t patterns < <(grep -v '^#' "$emulation/avx512-programs.txt")
per_type() { printf '%s\n' "${tests[@]}" | grep -q "QSL_DEBUG_CPU_TYPE=.*|$1|"; }
chosen() {
  local pattern
  # Patterns are wanted here.
  # shellcheck disable=SC2053
  if [ -n "${QSL_AVX512_TESTS:-}" ]; then
    [[ $1 == $QSL_AVX512_TESTS ]]
  else
    for pattern in "${patterns[@]}"; do [[ $1 != $pattern ]] || return 0; done
    per_type "$1"
  fi
}
programs=()
if has_avx512 && [ -z "${QSL_AVX512_TESTS:-}" ]; then
  say "AVX-512: native, CTest runs type 9; here only what the processor selects"
else
  say "AVX-512: in the emulator"
  while read -r program; do
    if chosen "$program"; then programs+=("$program"); fi
  done < <(printf '%s\n' "${tests[@]}" | cut -d'|' -f3 | sort -u)
  [ ${#programs[@]} -gt 0 ] || die "no test programs in $build/bin"
fi

work=$(mktemp -d)
if [ -n "${QSL_AVX512_KEEP:-}" ]; then
  say "scratch folder $work"
else
  trap 'rm -rf "$work"' EXIT
fi
root=$work/root
mkdir -p "$root"/{bin,dev,proc,sys,tmp,lib} "$work/iso"

# The programs, at the same place in the machine as here, with the libraries they load. They are
# stripped: the machine has to unpack them.
cp "$(command -v busybox)" "$root/bin/busybox"
(cd / && cp -aL --parents "${build#/}"/libqsl.so* "$root/")
mkdir -p "$root$build/bin"
for program in "${programs[@]}"; do strip -o "$root$build/bin/$program" "$build/bin/$program"; done
for folder in "$build"/bin/*/; do cp -a "$folder" "$root$build/bin/"; done
probe=$build/bin/avx512_probe
gcc -m32 -march=i686 -mno-sse -O1 -I"$source_root/include" "$emulation/probe.c" \
  -o "$root$probe" -L"$build" -lqsl || die "the probe does not build"
library_dirs=$build
while read -r library; do
  [ -e "$root$library" ] || (cd / && cp -L --parents "${library#/}" "$root/")
  case ":$library_dirs:" in *":${library%/*}:"*) ;; *) library_dirs+=:${library%/*} ;; esac
done < <(
  LD_LIBRARY_PATH=$build ldd "$root$probe" "${programs[@]/#/$build/bin/}" |
    awk '$2 == "=>" && $3 ~ /^\// { print $3 } $1 ~ /^\/.*[^:]$/ { print $1 }' | sort -u
)
[ -e "$root/lib/ld-linux.so.2" ] || die "the 32-bit loader was not found among the programs' libraries"

# One line a job: name|settings|program|text that its output must match.
{
  while IFS='|' read -r settings cnr processor; do
    settings=$(xargs <<<"$settings") cnr=$(xargs <<<"$cnr") processor=$(xargs <<<"$processor")
    echo "selection${settings:+ $settings}|QSL_VERBOSE=1 $settings|$probe|for Arvex.R. $processor.* CNR:$cnr Dyn"
  done < <(grep -v '^#' "$emulation/avx512-selection.txt")
  for program in "${programs[@]}"; do
    if per_type "$program"; then
      echo "$program type 9|QSL_DEBUG_CPU_TYPE=9|$build/bin/$program|"
      # The mode changes the way of the calls, not the variants: the smallest program shows it.
      [ "$program" != test_level1 ] ||
        echo "$program type 9 reproducible|QSL_DEBUG_CPU_TYPE=9 QSL_CBWR=AVX512|$build/bin/$program|"
    else
      printf '%s\n' "${tests[@]}" | awk -F'|' -v program="$program" -v bin="$build/bin/" \
        '$3 == program { print $1 "|" $2 "|" bin program ($4 ? " " $4 : "") "|" }'
    fi
  done
} >"$root/jobs"
jobs=$(wc -l <"$root/jobs")

cp "$emulation/avx512-init.sh" "$root/init"
cp "$emulation/failed-only.awk" "$root/"
chmod +x "$root/init"
cat >"$root/settings" <<END
export LD_LIBRARY_PATH=$library_dirs
program_seconds=$program_seconds
END

# A kernel, the RAM disk and a boot loader on a CD.
(cd "$root" && find . | cpio --quiet -o -H newc | gzip -1) >"$work/iso/initrd"
cp "$qsl_cache/kernel/vmlinuz" "$work/iso/vmlinuz"
cp /usr/lib/ISOLINUX/isolinux.bin /usr/lib/syslinux/modules/bios/ldlinux.c32 "$work/iso/"
# Two things of the emulated processor that the kernel must not use (clearcpuid): the compacted XSAVE
# forms, whose sizes look inconsistent to it, so that it would switch AVX off; and feature 111, 32-bit
# system calls by SYSENTER, after which a preempted thread can return with a 16-bit stack segment.
cat >"$work/iso/isolinux.cfg" <<'END'
default qsl
prompt 0
label qsl
  kernel vmlinuz
  append initrd=initrd console=ttyS0 quiet mitigations=off nosmp tsc=reliable no_timer_check random.trust_cpu=on clearcpuid=xsaves,xsavec,111
END
xorriso -as mkisofs -quiet -o "$work/boot.iso" -b isolinux.bin -c boot.cat \
  -no-emul-boot -boot-load-size 4 -boot-info-table "$work/iso" >"$work/xorriso.log" 2>&1 ||
  { cat "$work/xorriso.log" >&2; die "the boot CD could not be made"; }
cat >"$work/bochsrc" <<END
megs: 512
cpu: model=corei7_skylake_x, count=1, ips=50000000
romimage: file=/usr/share/bochs/BIOS-bochs-latest
vgaromimage: file=/usr/share/bochs/VGABIOS-lgpl-latest
display_library: rfb, options="timeout=0"
ata0-master: type=cdrom, path=$work/boot.iso, status=inserted
boot: cdrom
com1: enabled=1, mode=file, dev=$work/serial.out
sound: driver=dummy
speaker: enabled=0
panic: action=fatal
error: action=report
clock: sync=none
log: $work/bochs.log
END
echo c >"$work/debugger" # the packaged Bochs waits in its debugger for "continue"

say "booting: $jobs runs on an emulated AVX-512 processor, at most $minutes minutes"
started=$SECONDS
status=0
timeout -k 10 $((minutes * 60)) bochs -q -f "$work/bochsrc" -rc "$work/debugger" \
  </dev/null >"$work/bochs.out" 2>&1 || status=$?
tr -d '\r' <"$work/serial.out" >"$work/serial" 2>/dev/null || : >"$work/serial"

# Every program with its exit status, failing ones with their output; then one line for the whole.
awk 'sub(/^qsl-run: /, "")
  /^qsl-output-begin$/ { on = 1; next }
  /^qsl-output-end$/ { on = 0 }
  on { print "    " $0 }' "$work/serial"
closing=$(sed -n 's/^qsl-closing: //p' "$work/serial")
elapsed=$((SECONDS - started))
if [ -z "$closing" ]; then
  tail -n 25 "$work/serial" >&2
  running=$(sed -n 's/^qsl-start: //p' "$work/serial" | tail -n 1)
  grep -h 'PANIC' "$work/bochs.log" "$work/bochs.out" >&2 || true
  [ $status -ne 124 ] || die "the time limit of $minutes minutes ended the machine${running:+ in $running}"
  die "the machine died after ${elapsed}s, before its closing line${running:+, in $running}"
fi
read -r ran failed <<<"$closing"
say "AVX-512: $ran of $jobs runs done, $failed failed, in ${elapsed}s"
[ "$ran" -eq "$jobs" ] && [ "$failed" -eq 0 ]

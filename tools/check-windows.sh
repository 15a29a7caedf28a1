#!/usr/bin/env bash
# Builds the Windows library and its tests, checks the DLL's file and runs the tests under Wine.
#
#   tools/check-windows.sh
#
#   QSL_BUILD_DIR        take this build as it is, instead of building the preset `windows`
#   QSL_WINDOWS_TESTS    shell pattern of the programs without .exe, default "*"
#   QSL_WINDOWS_MINUTES  time limit of all programs together, default 20
#   QSL_WINDOWS_SECONDS  time limit of one program, default 180
#   QSL_WINDOWS_FULL=1   every shape that CTest's runs take, not only those of an emulator
#   QSL_WINE_ROOT=1      use the i386 root with Wine (see setup.sh) even if Wine is installed
#
# The runs are those of CTest: some programs once a processor type, and once more with the detected one.
# They take as few shapes as on an emulated processor (QSL_TEST_EMULATED=1): what Windows changes is the
# platform's code, the calling convention and the compiler, not the sums. The scratch folder holds the Wine prefix; it is
# removed at the end.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

allowed_imports="KERNEL32.dll"
"$source_root/tools/setup.sh" build check emulated
if [ -z "${QSL_BUILD_DIR:-}" ]; then build_preset windows; fi
build=$(cd "$source_root" && realpath -m "${QSL_BUILD_DIR:-build/windows}")
[ -e "$build/qsl.dll" ] || die "$build/qsl.dll is missing"

say "checking the file qsl.dll"
headers=$(i686-w64-mingw32-objdump -p "$build/qsl.dll")
imports=$(sed -n 's/^[[:space:]]*DLL Name: //p' <<<"$headers" | sort -u)
for library in $imports; do
  grep -qixF "$library" <(tr ' ' '\n' <<<"$allowed_imports") ||
    die "qsl.dll imports $library; allowed: $allowed_imports"
done
for flag in DYNAMIC_BASE NX_COMPAT; do
  grep -qw "$flag" <<<"$headers" || die "qsl.dll lacks the flag $flag"
done
exports=$(awk '/^\[Ordinal\/Name Pointer\] Table/ { on = 1; next } on && NF == 0 { exit }
  on && /\[ *[0-9]+\]/ { print $NF }' <<<"$headers" | LC_ALL=C sort)
expected=$(grep '^[A-Za-z]' "$source_root/${QSL_EXPORTS:-exports.txt}" | tr -d '\r' | LC_ALL=C sort)
[ "$exports" = "$expected" ] || {
  diff <(printf '%s\n' "$expected") <(printf '%s\n' "$exports") >&2 || true
  die "the exports of qsl.dll (>) are not those of exports.txt (<)"
}

tests=$("$source_root/tools/list-tests.py" "$build")
# A pattern is wanted here.
# shellcheck disable=SC2053
tests=$(while IFS='|' read -r name settings program arguments; do
  if [[ ${program%.exe} == ${QSL_WINDOWS_TESTS:-*} ]]; then echo "$name|$settings|$program|$arguments"; fi
done <<<"$tests")
[ -n "$tests" ] || die "CTest knows no test programs in $build/bin"
tests=$(awk -F'|' -v OFS='|' '$2 ~ /QSL_DEBUG_CPU_TYPE/ && !seen[$3]++ { program = $3; sub(/\.exe$/, "", program); print program ".detected", "", $3, "" } 1' <<<"$tests")

# Wine of the system, or that of the i386 root: the same runner in a scratch folder inside it.
root=
if [ -n "${QSL_WINE_ROOT:-}" ] || ! command -v wine >/dev/null; then root=$qsl_cache/wine-root; fi
[ -n "${QSL_WINDOWS_FULL:-}" ] || tests=$(awk -F'|' -v OFS='|' '{ $2 = "QSL_TEST_EMULATED=1 " $2 } 1' <<<"$tests")

limit=$((${QSL_WINDOWS_MINUTES:-20} * 60))
seconds=${QSL_WINDOWS_SECONDS:-180}
variables=(env -i "PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin" LC_ALL=C)
if [ -n "$root" ]; then
  work=$(as_root mktemp -d "$root/tmp/qsl-XXXXXX")
  inside=${work#"$root"}
else
  work=$(mktemp -d)
fi
cleanup() { if [ -n "$root" ]; then as_root rm -rf "$work"; else rm -rf "$work"; fi; }
trap cleanup EXIT
copy() { if [ -n "$root" ]; then as_root cp "$@"; else cp "$@"; fi; }
copy -rL "$build/bin" "$work/bin"
copy "$build/qsl.dll" "$work/bin/"
copy "$source_root/tests/windows/run-programs.sh" "$source_root/tests/emulation/failed-only.awk" "$work/"
list=$(mktemp)
printf '%s\n' "$tests" >"$list"
copy "$list" "$work/tests"
rm "$list"

say "running $(wc -l <<<"$tests") tests under Wine${root:+ in $root}"
status=0
if [ -n "$root" ]; then
  # Wine needs /proc. In namespaces of their own mount and processes are gone with the command.
  # shellcheck disable=SC2016
  as_root timeout -k 10 "$limit" unshare --mount --pid --fork --kill-child bash -c '
    mount -t proc proc "$0/proc" && exec chroot "$0" "$@"' "$root" "${variables[@]}" \
    bash -c 'cd "$0" && exec bash run-programs.sh "$@"' "$inside" "$seconds" || status=$?
else
  (cd "$work" && timeout -k 10 "$limit" "${variables[@]}" bash run-programs.sh "$seconds") || status=$?
fi
[ $status -ne 124 ] || die "the time limit of $((limit / 60)) minutes ended the tests"
[ $status -eq 0 ] || die "Windows tests failed"

#!/bin/bash
# Runs Windows test programs under Wine: tools/check-windows.sh calls this on the system itself or
# inside the i386 root, in a scratch folder that holds bin/ with the programs and their DLLs.
#
#   run-programs.sh SECONDS TYPE...     time limit of one program; values of QSL_DEBUG_CPU_TYPE,
#                                       "detected" for none
#
# Prints each program with its exit status, the output of failing ones, and a summary line.
set -euo pipefail

seconds=$1
shift
scratch=$PWD
export HOME=$scratch WINEPREFIX=$scratch/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
export WINEARCH=win32
unset DISPLAY
# Debian's "wine" may prefer the 64-bit loader, which is not needed and may be missing.
wine=$(command -v wine || true)
[ -n "$wine" ] || wine=/usr/lib/wine/wine
server=$(command -v wineserver || true)
[ -n "$server" ] || server=/usr/lib/wine/wineserver

stop() { "$server" -k >/dev/null 2>&1 || true; }
trap stop EXIT
if ! timeout 180 "$wine" wineboot -i >"$scratch/boot.log" 2>&1; then
  cat "$scratch/boot.log"
  echo "Wine could not make its prefix"
  exit 1
fi
# The server stays until the end: starting it costs more than a small program.
"$server" -p >/dev/null 2>&1 || true

ran=0 failed=0
cd "$scratch/bin"
for type in "$@"; do
  unset QSL_DEBUG_CPU_TYPE
  [ "$type" = detected ] || export QSL_DEBUG_CPU_TYPE=$type
  for program in test_*.exe; do
    status=0
    timeout -k 5 "$seconds" "$wine" "$program" </dev/null >"$scratch/output" 2>&1 || status=$?
    ran=$((ran + 1))
    echo "$program type $type exit $status"
    if [ $status -ne 0 ]; then
      failed=$((failed + 1))
      [ $status -ne 124 ] || echo "    ended by the time limit of $seconds s"
      sed 's/^/    /' "$scratch/output"
    fi
  done
done
echo "Windows: $ran runs under Wine, $failed failed"
[ $failed -eq 0 ]

#!/bin/bash
# Runs Windows test programs under Wine: tools/check-windows.sh calls this on the system itself or
# inside the i386 root, in a scratch folder that holds bin/ with the programs and their DLLs and
# the files failed-only.awk and tests, a line a run: NAME|SETTING=VALUE ...|PROGRAM|ARGUMENT ...
#
#   run-programs.sh SECONDS     time limit of one program
#
# Prints each test with its exit status, the output of failing ones, and a summary line.
set -euo pipefail

seconds=$1
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
# The server is started first, to stay until the end: one that ends by itself after a pause may do so
# at the moment when the next program comes.
mkdir "$WINEPREFIX"
"$server" -p
if ! timeout 180 "$wine" wineboot -i >"$scratch/boot.log" 2>&1; then
  cat "$scratch/boot.log"
  echo "Wine could not make its prefix"
  exit 1
fi
ran=0 failed=0
cd "$scratch/bin"
while IFS='|' read -r name settings program arguments; do
  status=0
  started=$SECONDS
  # Settings and arguments are words.
  # shellcheck disable=SC2086
  env $settings timeout -k 5 "$seconds" "$wine" "$program" $arguments \
    </dev/null >"$scratch/output" 2>&1 || status=$?
  ran=$((ran + 1))
  echo "$name exit $status ($((SECONDS - started))s)"
  if [ $status -ne 0 ]; then
    failed=$((failed + 1))
    [ $status -ne 124 ] || echo "    ended by the time limit of $seconds s"
    awk -f "$scratch/failed-only.awk" "$scratch/output" | tr -d '\r' | sed 's/^/    /'
  fi
done <"$scratch/tests"
echo "Windows: $ran runs under Wine, $failed failed"
[ $failed -eq 0 ]

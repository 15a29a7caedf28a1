#!/usr/bin/env bash
# Everything that this processor or system cannot run itself, in emulators:
#   processors   which variants are selected on emulated processor models   (check-processors.sh)
#   avx512       the tests on an emulated AVX-512 processor                  (check-avx512.sh)
#   windows      the Windows build and its tests under Wine                  (check-windows.sh)
# The last two run side by side, each on one processor. Installs what is missing (setup.sh). The
# settings and time limits are those of the scripts. Ends with a table of the steps.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$source_root/tools/setup.sh" build check emulated
begin_steps
step "release: build" build_preset release
step "reference: build" build_preset reference
step "windows: build" build_preset windows
step "processors" env QSL_BUILD_ROOT="$source_root/build" "$source_root/tools/check-processors.sh"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
step "avx512" "$source_root/tools/check-avx512.sh" >"$log" 2>&1 &
QSL_BUILD_DIR=build/windows step "windows: tests" "$source_root/tools/check-windows.sh" || status=1
wait $! || status=1
cat "$log"
end_steps
exit $status

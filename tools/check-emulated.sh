#!/usr/bin/env bash
# Everything that this processor or system cannot run itself, in emulators, one after another:
#   processors   which variants are selected on emulated processor models   (check-processors.sh)
#   avx512       the tests on an emulated AVX-512 processor                  (check-avx512.sh)
#   windows      the Windows build and its tests under Wine                  (check-windows.sh)
# Stops at the first that fails. Installs what is missing (setup.sh). The settings and time limits
# are those of the scripts; without any, a run takes some minutes and at most an hour.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$source_root/tools/setup.sh" build check emulated
build_preset release

summary=()
for step in processors avx512 windows; do
  printf '\n== %s\n' "$step"
  started=$SECONDS
  if ! "$source_root/tools/check-$step.sh"; then
    printf '\n'
    [ ${#summary[@]} -eq 0 ] || say "passed before: ${summary[*]}"
    die "step $step failed (tools/check-$step.sh runs it alone)"
  fi
  summary+=("$step ($((SECONDS - started))s)")
done
printf '\n'
say "all passed: ${summary[*]}"

#!/usr/bin/env bash
# All tests that run natively:
#   release    every test, once a processor type
#   sanitize   under AddressSanitizer and UndefinedBehaviorSanitizer: see cmake/Sanitizers.cmake
#   helgrind   the threaded tests under Valgrind's helgrind
# The library is also compiled by clang++ and with another preferred vendor, warnings being errors.
# Ends with a table of the steps and CTest's closing line for all. Environment: JOBS (default: all
# processors).
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$source_root"
jobs=${JOBS:-$(nproc)}
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# Called by step.
# shellcheck disable=SC2317
run_tests() { ctest --test-dir "build/$1" -j "$jobs" --output-on-failure | tee -a "$log"; }

begin_steps
# The release build comes first: the others find its kernels in the compiler cache.
for preset in release sanitize helgrind reference clang; do
  step "$preset: build" build_preset "$preset"
done
status=0
for preset in release sanitize helgrind; do
  step "$preset: tests" run_tests "$preset" || status=1
done
end_steps

printf '\n'
if has_avx512; then
  echo "AVX-512: native"
else
  echo "AVX-512: in the emulator (make check-emulated)"
fi
# The closing lines of all builds as one.
awk '/tests passed, .* tests failed out of/ { failed += $4; total += $NF }
  END {
    passed = total ? int(100 * (total - failed) / total) : 0
    printf "\n%d%% tests passed, %d tests failed out of %d\n", passed, failed, total
  }' "$log"
exit $status

#!/usr/bin/env bash
# All tests that run natively, in one CTest run over several builds:
#   release    every test, once a processor type
#   sanitize   the same under AddressSanitizer and UndefinedBehaviorSanitizer
#   helgrind   the threaded tests under Valgrind's helgrind
# Before that the library is compiled by clang++ and with another preferred vendor, warnings being
# errors. Environment: JOBS (default: all processors).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
jobs=${JOBS:-$(nproc)}

for preset in release sanitize helgrind reference clang; do
  echo "== build $preset"
  cmake --preset "$preset" >"/tmp/qsl-configure.$$" 2>&1 || { cat "/tmp/qsl-configure.$$"; exit 1; }
  rm -f "/tmp/qsl-configure.$$"
  cmake --build --preset "$preset" -j "$jobs" -- --quiet
done

# One summary for all: a test file that takes the builds as its folders.
printf 'subdirs("release" "sanitize" "helgrind")\n' >build/CTestTestfile.cmake
ctest --test-dir build -j "$jobs" --output-on-failure

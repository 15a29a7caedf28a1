#!/usr/bin/env bash
# Formatting (clang-format), clang-tidy, cppcheck and shellcheck. With --fix the formatting is put right
# instead.
#
# Kernel bodies are written once and compiled for every level. They are read at the levels that take
# every branch of an #if between them: `p4` knows no SSE3, `avx` no AVX2 and no FMA, `avx2` all of these,
# and `avx512` has vectors of its own. What is written for one level alone is read anyway.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$source_root"
levels=(p4 avx avx2 avx512)
jobs=${JOBS:-$(nproc)}

known() { git ls-files --cached --others --exclude-standard "$@" | while read -r file; do [ ! -e "$file" ] || echo "$file"; done; }

mapfile -t sources < <(known '*.c' '*.cpp' '*.h' '*.inl')
if [ "${1:-}" = --fix ]; then
  clang-format -i "${sources[@]}"
  exit 0
fi

echo "-- clang-format"
clang-format --dry-run --Werror "${sources[@]}"

echo "-- shellcheck"
mapfile -t scripts < <(known '*.sh' .ci/run)
shellcheck -x -P SCRIPTDIR "${scripts[@]}"

# How each file is compiled comes from a build by clang++.
cmake --preset clang >/dev/null
mkdir -p build/lint
tools/lint-database.py build/clang/compile_commands.json "${levels[@]}" >build/lint/compile_commands.json

# Kernels are read without the analyzer of paths. It loses sight of what they store by registers and
# load as numbers, and takes that for uninitialized; they are what the sanitizers watch.
echo "-- clang-tidy"
sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' build/lint/compile_commands.json | sort -u >build/lint/files
is_kernel='/levels/|/instances\.cpp$'
tidy() { xargs -P "$jobs" -n 1 clang-tidy --quiet -p build/lint --warnings-as-errors='*' "$@" 2>/dev/null; }
grep -vE "$is_kernel" build/lint/files | tidy
grep -E "$is_kernel" build/lint/files | tidy --checks=-clang-analyzer-*

echo "-- cppcheck"
cppcheck --project=build/lint/compile_commands.json --enable=warning,performance,portability \
  --suppressions-list=tools/cppcheck-suppressions.txt --inline-suppr --error-exitcode=1 --quiet \
  --std=c++20 -j "$jobs"
echo "lint: clean"

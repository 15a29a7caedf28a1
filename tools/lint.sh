#!/usr/bin/env bash
# Formatting (clang-format), clang-tidy and cppcheck. With --fix the formatting is put right instead.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

mapfile -t sources < <(git ls-files '*.c' '*.cpp' '*.h' '*.inl' | grep -v '^build/')
if [ "${1:-}" = --fix ]; then
  clang-format -i "${sources[@]}"
  exit 0
fi

echo "== clang-format"
clang-format --dry-run --Werror "${sources[@]}"

# clang-tidy reads how each file is compiled from a build by clang++.
echo "== clang-tidy"
cmake --preset clang >/dev/null
mapfile -t units < <(git ls-files 'runtime/*.cpp' 'blas/*.cpp' 'lapack/*.cpp' | grep -v '/windows/')
printf '%s\n' "${units[@]}" |
  xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/clang --warnings-as-errors='*' 2>/dev/null

echo "== cppcheck"
cppcheck --project=build/clang/compile_commands.json --enable=warning,performance,portability \
  --suppressions-list=tools/cppcheck-suppressions.txt --inline-suppr --error-exitcode=1 --quiet \
  --std=c++20 -j "$(nproc)"
echo "lint: clean"

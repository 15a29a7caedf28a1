#!/usr/bin/env bash
# The tour: runs the example programs on real data and shows one verbose line of each.
# Usage: tools/tour.sh BUILD_FOLDER
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=$(cd "${1:-$root/build/release}" && pwd)/bin
# The programs find their data wherever they are started.
cd /

# The second line of verbose output is the program's first call; the first is the banner.
banner() { QSL_VERBOSE=1 "$bin/same_bits" | grep -m1 '^QSL_VERBOSE Arvex' || true; }
verbose_line() { QSL_VERBOSE=1 "$@" | grep '^QSL_VERBOSE' | sed -n '2p'; }

show() {
  echo
  "$@"
  echo "  $(verbose_line "$@")"
}

echo "QSL on this machine:"
echo "  $(banner)"
show "$bin/least_squares_line"
show "$bin/ocean_cycles"
echo
# Its last call is the matrix product.
"$bin/employment"
echo "  $(QSL_VERBOSE=1 "$bin/employment" | grep '^QSL_VERBOSE DGEMM')"
show "$bin/stiffness"
show "$bin/softest_shape"
show "$bin/telephone_line"
show "$bin/block_jacobi"
echo
echo "The level is chosen by the processor, and the same program runs at every lower one:"
types="2"
for row in ssse3:4 sse4_2:5 avx:6 avx2:7 avx512vl:9; do
  ! grep -qw "${row%:*}" /proc/cpuinfo || types+=" ${row#*:}"
done
for type in $types; do
  level=$(QSL_DEBUG_CPU_TYPE=$type QSL_VERBOSE=1 "$bin/same_bits" |
    sed -n 's/.*build [0-9]* for \(.*\) enabled processors.*/\1/p')
  sum=$(QSL_DEBUG_CPU_TYPE=$type "$bin/same_bits" | sed -n 's/.*64-byte alignment *//p')
  printf '  type %s  %s  %s\n' "$type" "$sum" "$level"
done
echo
QSL_DEBUG_CPU_TYPE=2 "$bin/same_bits"
show env QSL_CBWR=COMPATIBLE "$bin/same_bits"
echo
echo "The tour is over: all results agree with the published ones."

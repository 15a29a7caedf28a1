#!/usr/bin/env bash
# Checks which variants the library selects on emulated processor models: builds the presets
# `release` and `reference` and runs tests/emulation/test_processors.py with qemu-user.
#
#   tools/check-processors.sh [PYTEST-ARGUMENT...]
#
#   QSL_BUILD_ROOT          use the builds in this folder as they are, instead of building
#   QSL_PROCESSORS_MINUTES  time limit, default 15
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

minutes=${QSL_PROCESSORS_MINUTES:-15}
"$source_root/tools/setup.sh" build check emulated
if [ -z "${QSL_BUILD_ROOT:-}" ]; then
  build_preset release
  build_preset reference
fi

# The package's pytest belongs to the system's Python, which need not be the first in PATH.
for python in python3 /usr/bin/python3 ""; do
  [ -n "$python" ] || die "no Python with pytest"
  ! "$python" -c 'import pytest' 2>/dev/null || break
done

# -p no:cacheprovider: nothing is left in the source tree.
status=0
PYTHONDONTWRITEBYTECODE=1 timeout -k 10 $((minutes * 60)) \
  "$python" -m pytest -q -p no:cacheprovider --rootdir="$source_root/tests/emulation" \
  "$source_root/tests/emulation/test_processors.py" "$@" || status=$?
[ $status -ne 124 ] || die "the time limit of $minutes minutes ended the tests"
[ $status -eq 0 ] || die "the processor matrix failed"

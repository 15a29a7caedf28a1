#!/usr/bin/env bash
# HTML documentation under build/docs/html. Warnings are errors.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mkdir -p build/docs
doxygen docs/Doxyfile
echo "build/docs/html/index.html"

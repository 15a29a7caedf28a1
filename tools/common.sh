# Shared by the scripts in tools/: sourced, not run.
# shellcheck shell=bash

source_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# Kernel image and Windows root live here, outside the source tree. Read by the scripts.
# shellcheck disable=SC2034
qsl_cache=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/qsl

say() { printf '%s: %s\n' "${0##*/}" "$*"; }
die() {
  printf '%s: error: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# Ends the script where there is no way to the rights of root. To be asked before a redirected as_root.
need_root() {
  [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
    die "this needs the rights of root, and there is no sudo: $*"
}

# Runs a command with the rights of root.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo -- env "DEBIAN_FRONTEND=${DEBIAN_FRONTEND:-}" "$@"
  else
    die "needs the rights of root, and there is no sudo: $*"
  fi
}

# Configures a preset and builds it; quiet unless it fails.
build_preset() {
  local preset=$1 log
  [ -e "$source_root/CMakePresets.json" ] || die "CMakePresets.json is missing"
  mkdir -p "$source_root/build"
  log=$source_root/build/$preset.log
  say "building preset $preset"
  if ! (cd "$source_root" && cmake --preset "$preset" && cmake --build --preset "$preset") >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    die "preset $preset does not build; the whole output is in build/$preset.log"
  fi
}

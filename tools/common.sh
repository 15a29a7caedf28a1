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
  if ! (cd "$source_root" && cmake --preset "$preset" &&
    cmake --build --preset "$preset" -j "${JOBS:-$(nproc)}") >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    die "preset $preset does not build; the whole output is in build/$preset.log"
  fi
}

processor_has() { # FEATURE...: as Linux calls them
  local feature
  for feature; do grep -qw "$feature" /proc/cpuinfo || return 1; done
}
has_avx512() { processor_has avx512f avx512dq avx512bw avx512vl; }

# A script of several steps calls begin_steps, runs each by "step NAME COMMAND...", and ends with
# end_steps, which prints the table of their seconds - of all, where one such script calls another.
begin_steps() {
  steps_owner=
  if [ -z "${QSL_STEPS:-}" ]; then
    QSL_STEPS=$(mktemp)
    export QSL_STEPS
    steps_owner=1
  fi
}
step() {
  local name=$1 status=0 times
  shift
  printf '\n== %s\n' "$name"
  # The times go through descriptor 3, past the command's own output.
  { times=$( { TIMEFORMAT='%R %U %S' && time { ("$@") >&3 2>&4; }; } 2>&1) || status=$?; } 3>&1 4>&2
  printf '%s|%s|%s\n' "$name" "$times" "$status" >>"$QSL_STEPS"
  return "$status"
}
end_steps() {
  [ -n "$steps_owner" ] && [ -e "$QSL_STEPS" ] || return 0
  awk -F'|' '
    BEGIN { printf "\n%-24s %8s %12s\n", "step", "seconds", "CPU seconds" }
    {
      split($2, t, " ")
      printf "%-24s %8.0f %12.0f%s\n", $1, t[1], t[2] + t[3], $3 ? "   FAILED" : ""
    }' "$QSL_STEPS"
  rm -f "$QSL_STEPS"
}

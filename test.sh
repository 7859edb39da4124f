#!/bin/bash
# Checks everything: installs what is missing, looks at the formatting, then builds and tests the
# optimised build, the one with the address and undefined-behaviour sanitizers and, for what uses
# threads, the one with the thread sanitizer. Stops at the first failure. What it has started ends
# with it, also when it is killed. On Debian 12 only, since the formatting is one version's.
#
#   ./test.sh
#
# Each step repeats by hand: tools/build.sh PRESET, then ctest --preset PRESET.
set -eu
cd "$(dirname "$0")"
exec </dev/null

attend() {
  setpriv --pdeathsig TERM tools/attend.sh "$@"
}

step() {
  if [ -n "${current:-}" ]; then
    echo "== done in $((SECONDS - begun)) s: $current"
  fi
  current=$1
  begun=$SECONDS
  echo "== $current"
}

checkFormatting() {
  local files
  mapfile -d '' -t files < <(git ls-files -z -co --exclude-standard \
    '*.cpp' '*.h' '*.c' 2>/dev/null ||
    find . \( -name build -o -name .git \) -prune -o -name '*.[ch]' -print0 -o -name '*.cpp' -print0)
  if [ ${#files[@]} -eq 0 ]; then
    echo "no source files found"
    return 1
  fi
  clang-format-14 --dry-run -Werror "${files[@]}"
}

# buildAndTest NAME PRESET [LABEL]: all tests, or those with the label, whose target has its name.
buildAndTest() {
  local name=$1 preset=$2 label=${3:-}
  step "build: $name"
  attend tools/build.sh "$preset" ${label:+"$label"}
  step "tests: $name"
  attend ctest --preset "$preset" ${label:+-L "$label"}
}

checkEverything() {
  step "formatting"
  checkFormatting
  buildAndTest "optimised, all" ci
  buildAndTest "address and undefined-behaviour sanitizers, all" asan
  buildAndTest "thread sanitizer, what uses threads" tsan threads
}

step "packages"
tools/packages.sh build run test audio bench

# Two at once would use the same build folders, and the tests are timed. A process that a test
# leaves behind does not keep the lock.
mkdir -p build
exec 9>build/test.lock
flock -n 9 || {
  echo "test.sh already runs in this folder" >&2
  exit 1
}
checkEverything 9>&-

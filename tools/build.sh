#!/bin/bash
# Configures and builds one preset into build/PRESET; one at a time in each of these folders.
#
#   tools/build.sh PRESET [TARGET...]
set -eu
cd "$(dirname "$0")/.."

preset=$1
shift
mkdir -p build
exec 9>"build/$preset.lock"
if ! flock -n 9; then
  echo "build: waiting for another build in build/$preset to end"
  flock 9
fi

# This shell keeps the lock; the compilers do not get it, should one of them outlive it.
{
  cmake --preset "$preset"
  cmake --build --preset "$preset" ${1:+--target "$@"}
} 9>&-

#!/bin/bash
# Configures and builds one preset into build/PRESET; one at a time in each of these folders.
#
#   tools/build.sh PRESET [TARGET...]
#
# Under sudo it builds as the user to whom the tree belongs, lest he cannot build without it later.
set -eu
cd "$(dirname "$0")/.."

if [ "$(id -u)" = 0 ] && [ "${SUDO_UID:-0}" != 0 ] && [ "$(stat -c %u .)" = "$SUDO_UID" ]; then
  if [ -d build ]; then
    chown -Rh "$SUDO_UID:$SUDO_GID" build # what was left there as root
  fi
  exec setpriv --reuid "$SUDO_UID" --regid "$SUDO_GID" --init-groups \
    env -u SUDO_UID HOME="$(getent passwd "$SUDO_UID" | cut -d: -f6)" tools/build.sh "$@"
fi

preset=$1
shift
mkdir -p build
if [ ! -w build ]; then
  echo "build: build/ is not this user's to write; remove it, or: sudo chown -R $(id -un) build" >&2
  exit 1
fi
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

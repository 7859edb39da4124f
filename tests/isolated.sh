#!/bin/bash
# Runs a test that needs the fixed ports 1883 and 22222, a /dev/ttyUSB0 of its own, or silence.
#
#   tests/isolated.sh COMMAND [ARGUMENT...]
#
# The command gets a network namespace of its own, in which only the loopback interface exists, and a
# mount namespace in which the machine's serial adapters, their lock files and its sound devices do
# not exist; it finds no sound server that it does not start itself. Where the system refuses mount
# namespaces it goes without, unless the machine has a modem or a sound card, and fails then. Where
# it refuses network namespaces, too, it runs on the machine's own loopback, one at a time, and only
# while both ports are free. The command replaces this script: it has its process id.
set -eu

fail() {
  echo "isolated: $*" >&2
  exit 1
}

[ $# -gt 0 ] || fail "no command given"
# shellcheck source-path=SCRIPTDIR source=../tools/namespace.sh
. "$(dirname "$0")/../tools/namespace.sh"

if findIsolation; then
  command -v ip >/dev/null || fail "the command ip is missing (package iproute2)"
  exec "${namespace[@]}" bash -c 'ip link set lo up && exec "$@"' isolated "$@"
fi
[ -z "$(ownDevice)" ] || fail "$refusal"
muteSound

# Held by the command and whatever it starts: until the last of them is gone the ports may be used.
lock=${TMPDIR:-/tmp}/crane-ports.lock
(umask 0 && : >>"$lock") 2>/dev/null || true
exec 9<"$lock" || fail "cannot open $lock"
flock -w 600 9 || fail "another test has been using the ports 1883 and 22222 for 10 minutes"

for port in 1883 22222; do
  if isPortTaken "$port"; then
    fail "port $port is taken, and a network namespace is refused: ${refusal:-no reason given}"
  fi
done
exec "$@"

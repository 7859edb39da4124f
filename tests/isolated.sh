#!/bin/bash
# Runs a test that needs the fixed ports 1883 and 22222.
#
#   tests/isolated.sh [--devices] COMMAND [ARGUMENT...]
#
# The command gets a network namespace of its own, in which only the loopback interface exists.
# Where the system refuses namespaces it runs on the machine's own loopback, one at a time, and
# only while both ports are free. With --devices it can make a /dev/ttyUSB0 of its own, which the
# machine does not see; where that is refused this fails. The command replaces this script: it has its process id.
set -eu

fail() {
  echo "isolated: $*" >&2
  exit 1
}

devices=no
if [ "${1:-}" = --devices ]; then
  devices=yes
  shift
fi
[ $# -gt 0 ] || fail "no command given"
# shellcheck source-path=SCRIPTDIR source=../tools/namespace.sh
. "$(dirname "$0")/../tools/namespace.sh"

if [ $devices = yes ]; then
  findNamespace --net --mount || fail "a mount namespace is refused: ${refusal:-no reason given}"
  # shellcheck disable=SC2016
  exec "${namespace[@]}" bash -euc \
    '. "$0"; coverDevices; ip link set lo up; exec "$@"' "$(dirname "$0")/../tools/namespace.sh" "$@"
fi
if findNamespace --net; then
  command -v ip >/dev/null || fail "the command ip is missing (package iproute2)"
  exec "${namespace[@]}" bash -c 'ip link set lo up && exec "$@"' isolated "$@"
fi

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

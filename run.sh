#!/bin/bash
# Shows the controller at work: installs what is missing, builds, starts two brokers, the
# controller and a simulated site, and shows what the board is told.
#
#   ./run.sh [--seconds N] [--cranes N] [--rate R] [--speed TIMES] [--seed N]
#
# Runs until Ctrl-C, or for N seconds. The other options go to the simulator: how many cranes, how
# many messages each sends in a second, how much faster than the clock, and which random course.
# Everything that it starts ends with it; the logs and the controller's state files stay in a
# folder whose name it prints.
set -eu
cd "$(dirname "$0")"
# shellcheck source=tools/namespace.sh
. tools/namespace.sh

declare -A pids=() # piece -> process id; each piece leads a process group of its own
declare -a order=() # pieces in the order in which they were started
folder=''

say() {
  echo "run.sh: $*"
}

fail() {
  echo "run.sh: $*" >&2
  exit 1
}

usage() {
  sed -n '2,/^set/s/^# \{0,1\}//p' run.sh
}

# Starts a piece in the background, apart from the terminal's Ctrl-C and with its output where the
# caller's redirections say. Should this script be killed outright, the piece ends all the same.
start() {
  local name=$1
  shift
  setpriv --pdeathsig TERM setsid "$@" </dev/null &
  pids[$name]=$!
  order+=("$name")
}

# The same with its output in a log file of its name.
startLogged() {
  start "$@" >"$folder/$1.log" 2>&1
}

isRunning() {
  kill -0 "${pids[$1]}" 2>/dev/null
}

# Asks a piece to end and sees to it that it does, within 3 s.
stop() {
  local pid=${pids[$1]} tenths
  kill -TERM -- "-$pid" 2>/dev/null || kill -TERM "$pid" 2>/dev/null || true
  for ((tenths = 0; tenths < 30; tenths++)); do
    isRunning "$1" || break
    sleep 0.1
  done
  kill -KILL -- "-$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  unset "pids[$1]"
}

# Last started, first stopped: the view prints its summary, the brokers go last.
stopAll() {
  trap '' INT TERM HUP
  local i
  for ((i = ${#order[@]} - 1; i >= 0; i--)); do
    if [ -n "${pids[${order[i]}]:-}" ]; then
      stop "${order[i]}"
    fi
  done
  if [ -n "$folder" ]; then
    say "logs and state files stay in $folder" || true
  fi
}

# Runs a step of its own and ends it, with all that it has started, when this script is ended.
attend() {
  start "$@"
  wait "${pids[$1]}"
  unset "pids[$1]"
}

# The command by which one enters the namespace that this process is about to make.
entryCommand() {
  if [ "${namespace[*]}" = "unshare --net" ]; then
    echo "${SUDO_USER:+sudo }nsenter --target $$ --net"
  else
    echo "nsenter --target $$ --user --net --preserve-credentials"
  fi
}

# Starts this script again in a network namespace of its own when a broker's port is taken.
avoidTakenPorts() {
  local port
  for port in 1883 22222; do
    if isPortTaken "$port"; then
      findNamespace || fail "port $port is taken (by another broker? try: systemctl stop" \
        "mosquitto), and a network namespace is refused: ${refusal:-no reason given}"
      say "port $port is taken: using a network namespace of its own"
      exec "${namespace[@]}" ./run.sh --inside-namespace "$(entryCommand)" "$@"
    fi
  done
}

brokerConfiguration() {
  cat <<TEXT
listener $1 127.0.0.1
allow_anonymous true
set_tcp_nodelay true
# No change to the broker's own user: a user namespace has none, and this one serves nobody else.
user root
TEXT
}

# Waits until a condition holds, as long as the piece that is to fulfil it runs, 20 s at most.
await() {
  local piece=$1 tenths
  shift
  for ((tenths = 0; tenths < 200; tenths++)); do
    if "$@"; then
      return 0
    fi
    isRunning "$piece" || break
    sleep 0.1
  done
  showLog "$piece"
  fail "$piece does not get ready"
}

# The last lines of a piece's log, without what would control the terminal.
showLog() {
  if [ -s "$folder/$1.log" ]; then
    tail -n 15 "$folder/$1.log" | tr -d '\000-\010\013-\037\177' | sed 's/^/    /' >&2
  fi
}

startBroker() {
  brokerConfiguration "$2" >"$folder/$1.conf"
  startLogged "$1" mosquitto -c "$folder/$1.conf"
  await "$1" isPortTaken "$2"
}

isControllerListening() {
  grep -qs 'subscribed is sucessed topic:' "$folder/anticollisiond.log"
}

startSite() {
  local entry=$1 hand bin=$PWD/build/ci
  shift
  folder=$(mktemp -d "${TMPDIR:-/tmp}/crane-site.XXXXXX")
  say "logs and state files: $folder"
  startBroker board-broker 1883
  startBroker cloud-broker 22222
  say "two brokers on 127.0.0.1: port 1883 on the board, port 22222 in the cloud"
  hand="${entry:+$entry }mosquitto_sub -p 1883 -t '#' -v"
  say "to listen by hand: $hand"
  startLogged anticollisiond env -C "$folder" "$bin/app/anticollisiond"
  await anticollisiond isControllerListening
  say "the controller listens; starting the simulated site"
  start sitewatch "$bin/tools/sitewatch" --seconds "$seconds" \
    --note "logs and state files: $folder" --note "by hand: $hand" 2>"$folder/sitewatch.log"
  startLogged sitesim "$bin/tools/sitesim" "$@"
}

# Until the view ends after its seconds, or a piece ends that should not.
watchSite() {
  local ended=0 status=0 piece
  wait -n -p ended "${pids[@]}" || status=$?
  for piece in "${order[@]}"; do
    if [ "${pids[$piece]:-}" = "$ended" ]; then
      break
    fi
  done
  if [ "$piece" = sitewatch ] && [ "$status" = 0 ]; then
    return 0
  fi
  if [ "$piece" != sitewatch ]; then
    stop sitewatch # gives the terminal back
  elif [ -t 1 ]; then
    printf '\e[0m\e[?25h\e[?1049l' # which it may have left undone
  fi
  say "$piece ended by itself with status $status; its last lines:" >&2
  showLog "$piece"
  return 1
}

seconds=0
entry=''
inside=no
simulation=()
given=("$@")
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help) usage; exit 0 ;;
    --seconds | --cranes | --rate | --speed | --seed | --inside-namespace)
      [ $# -ge 2 ] || fail "$1 needs a value" ;;
    *) fail "unknown option $1 (try --help)" ;;
  esac
  case $1 in
    --seconds) seconds=$2 ;;
    --inside-namespace) inside=yes entry=$2 ;;
    *) simulation+=("$1" "$2") ;;
  esac
  shift 2
done
[[ $seconds =~ ^[0-9]{1,6}$ ]] || fail "--seconds needs a whole number, not $seconds"

trap stopAll EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

if [ "$inside" = no ]; then
  tools/packages.sh build run
  attend build tools/build.sh ci anticollisiond sitesim sitewatch
  avoidTakenPorts "${given[@]}"
else
  ip link set lo up
fi
startSite "$entry" "${simulation[@]}"
trap 'exit 0' INT # from here on Ctrl-C is the usual end
watchSite

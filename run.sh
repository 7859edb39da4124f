#!/bin/bash
# Shows the controller at work: installs what is missing, builds, starts two brokers, the
# controller and a simulated site, and shows what the board is told. One of the neighbours reports by
# radio, where a mount namespace can give the controller a serial device that is none of the machine's.
# The machine's sound is left alone, unless one asks to hear the warnings.
#
#   ./run.sh [OPTION...]
#
#   --seconds N    end after so many seconds, up to 999999; 0, the default: at Ctrl-C
#   --cranes N     cranes of the site, the own one included: 2 to 200; default 6
#   --rate R       crane-state messages of each crane in a second: 0.1 to 50; default 2
#   --speed TIMES  times faster than the clock: 0.1 to 100; default 1
#   --seed N       another random course: 0 to 4294967295; default 3
#   --calm         one approach at a time, instead of a random course
#   --sound        play the spoken warnings on this machine
#
# Ctrl-Z is ignored. Everything that it starts ends with it; an installation of packages is finished
# first. The logs and the controller's state files of the last ten runs stay, in folders whose names
# it prints.
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

# Whether this is a plain number, a whole one if so wanted, in the range: KIND LOWEST HIGHEST NUMBER.
isNumber() {
  local digits='^[0-9]{1,10}'
  [ "$1" = whole ] || digits+='(\.[0-9]{1,10})?'
  [[ $4 =~ $digits$ ]] &&
    LC_ALL=C awk -v low="$2" -v high="$3" -v number="$4" \
      'BEGIN { exit !(low <= number && number <= high) }'
}

# The ranges are those of the simulator, which is not built yet when an option is looked at.
checkNumber() {
  local kind=decimal range
  case $1 in
    --seconds) kind=whole range='0 999999' ;;
    --cranes) kind=whole range='2 200' ;;
    --rate) range='0.1 50' ;;
    --speed) range='0.1 100' ;;
    --seed) kind=whole range='0 4294967295' ;;
  esac
  # shellcheck disable=SC2086
  isNumber $kind $range "$2" || fail "$1 takes a $kind number from ${range/ / to }, not '$2'"
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

# Runs a step of its own and ends it when this script is ended.
attend() {
  start "$@"
  wait "${pids[$1]}"
  unset "pids[$1]"
}

# The command by which one enters the network namespace that this process is about to make.
entryCommand() {
  if [[ " ${namespace[*]} " == *" --map-root-user "* ]]; then
    echo "nsenter --target $$ --user --net --preserve-credentials"
  else
    echo "${SUDO_USER:+sudo }nsenter --target $$ --net"
  fi
}

# Whether one can have devices of one's own, beside the `kinds` so far.
findDevices() {
  findNamespace "${kinds[@]}" --mount &&
    refusal=$("${namespace[@]}" bash -euc '. tools/namespace.sh; coverDevices' 2>&1)
}

# Sets `kinds`, `port` and `radio`: a network of one's own when a broker's port is taken, and devices of one's
# own for the simulated radio, or lest the controller speak through the machine's real one.
chooseNamespaces() {
  kinds=()
  for port in 1883 22222; do
    if isPortTaken "$port"; then
      kinds=(--net)
      break
    fi
  done
  if [ -e /dev/ttyUSB0 ]; then
    findDevices ||
      fail "this machine has a /dev/ttyUSB0, from which the controller cannot be kept: a mount" \
        "namespace is refused: ${refusal:-no reason given}"
    say "no simulated radio: this machine has a /dev/ttyUSB0, which is left alone"
    kinds+=(--mount)
  elif findDevices; then
    radio=/dev/ttyUSB0
    kinds+=(--mount)
  else
    say "no simulated radio: a mount namespace is refused: ${refusal:-no reason given}"
  fi
}

# Starts this script again in the namespaces that it needs.
enterNamespaces() {
  local kinds port entry='' radio=''
  chooseNamespaces
  if [ ${#kinds[@]} = 0 ]; then
    return 0
  fi
  findNamespace "${kinds[@]}" || fail "port $port is taken (by another broker? try: systemctl" \
    "stop mosquitto), and a network namespace is refused: ${refusal:-no reason given}"
  if [ "${kinds[0]}" = --net ]; then
    say "port $port is taken: using a network namespace of its own"
    entry=$(entryCommand)
  fi
  exec "${namespace[@]}" ./run.sh --inside-namespaces "${kinds[*]}" "$entry" "$radio" \
    "${options[@]}"
}

# Sets `environment` to what the controller's differs in: without the option it finds no sound server
# and no card, and what it plays goes nowhere.
chooseSound() {
  environment=()
  if [ -n "$silent" ]; then
    environment=(-u XDG_RUNTIME_DIR PULSE_SERVER="unix:$folder/none" PIPEWIRE_REMOTE=none
      JACK_DEFAULT_SERVER=none JACK_NO_START_SERVER=1
      ALSA_CONFIG_PATH=/dev/null GST_PLUGIN_FEATURE_RANK="osssink:0,oss4sink:0")
    say "the spoken warnings are not played; --sound plays them"
  elif hasSound; then
    say "the spoken warnings are played on this machine"
  else
    say "no sound server and no sound card: the spoken warnings are not heard"
  fi
}

# Whether something here can play the warnings: a sound server of this user's, or a card.
hasSound() {
  [ -n "${PULSE_SERVER:-}" ] ||
    [ -S "${XDG_RUNTIME_DIR:-/run/user/$(id -u)}/pulse/native" ] ||
    compgen -G '/dev/snd/pcm*p' >/dev/null
}

# Makes the run's folder, for the one who calls sudo, too, and removes the oldest of the earlier ones:
# ten stay. Each is locked while it is in use.
makeFolder() {
  local owner parent=${TMPDIR:-/tmp} old
  owner=$(id -u)
  [ "$owner" != 0 ] || owner=${SUDO_UID:-0}
  find "$parent" -maxdepth 1 -type d -user "$owner" -name 'crane-site.??????' \
    -printf '%T@ %p\0' 2>/dev/null | sort -znr | tail -zn +10 | cut -zd' ' -f2- |
    while IFS= read -rd '' old; do
      flock -n "$old" rm -rf "$old" || true
    done
  folder=$(mktemp -d "$parent/crane-site.XXXXXX")
  exec 8<"$folder"
  flock 8
  [ "$owner" = "$(id -u)" ] || chown "$owner:$SUDO_GID" "$folder" 2>/dev/null || true
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
  local entry=$1 hand environment bin=$PWD/build/run
  shift
  makeFolder
  say "logs and state files: $folder"
  chooseSound
  startBroker board-broker 1883
  startBroker cloud-broker 22222
  say "two brokers on 127.0.0.1: port 1883 on the board, port 22222 in the cloud"
  hand="${entry:+$entry }mosquitto_sub -p 1883 -t '#' -v"
  say "to listen by hand: $hand"
  startLogged anticollisiond env -C "$folder" "${environment[@]}" "$bin/app/anticollisiond"
  await anticollisiond isControllerListening
  say "the controller listens; starting the simulated site"
  start sitewatch "$bin/tools/sitewatch" --seconds "$seconds" \
    --note "logs and state files: $folder" --note "by hand: $hand" \
    --radio "$folder/sitesim.log" 2>"$folder/sitewatch.log"
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
silent=yes
entry=''
inside=''
simulation=()
if [ "${1:-}" = --inside-namespaces ]; then # as enterNamespaces calls it
  inside=$2
  entry=$3
  radio=$4
  [ -z "$radio" ] || simulation+=(--radio "$radio")
  shift 4
fi
options=("$@")
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help)
      usage
      exit 0
      ;;
    --calm)
      simulation+=("$1")
      shift
      ;;
    --sound)
      silent=''
      shift
      ;;
    --seconds | --cranes | --rate | --speed | --seed)
      [ $# -ge 2 ] || fail "$1 needs a value"
      checkNumber "$1" "$2"
      if [ "$1" = --seconds ]; then
        seconds=$2
      else
        simulation+=("$1" "$2")
      fi
      shift 2
      ;;
    *) fail "unknown option $1 (try --help)" ;;
  esac
done

trap '' TSTP # the view would go on drawing under the shell's prompt
trap stopAll EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

if [ -z "$inside" ]; then
  tools/packages.sh build run
  attend build tools/attend.sh tools/build.sh run anticollisiond sitesim sitewatch
  enterNamespaces
fi
case " $inside " in *" --net "*) ip link set lo up ;; esac
case " $inside " in *" --mount "*) coverDevices ${silent:+--no-sound} ;; esac
startSite "$entry" "${simulation[@]}"
trap 'exit 0' INT # from here on Ctrl-C is the usual end
watchSite

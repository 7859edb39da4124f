#!/bin/bash
# Runs a command in a session of its own, with its output and status. Whatever the session still has
# when the command or this script ends is ended, too: a build or a test run leaves nobody behind.
#
#   setpriv --pdeathsig TERM tools/attend.sh COMMAND [ARGUMENT...]
#
# Started like that it also ends when the one that started it is killed.
set -u

# Prints the session's processes.
members() {
  local file line fields
  for file in /proc/[0-9]*/stat; do
    { read -r line <"$file"; } 2>/dev/null || continue # it has ended meanwhile
    read -r -a fields <<<"${line##*) }" # state, parent, group, session
    if [ "${fields[3]}" = "$session" ] && [ "${fields[0]}" != Z ]; then
      echo "${line%% *}"
    fi
  done
}

# Asks all of the session to end, and kills what is left after 1 s.
endSession() {
  trap '' INT TERM HUP
  local tenths left
  for ((tenths = 0; tenths < 25; tenths++)); do
    mapfile -t left < <(members)
    if [ ${#left[@]} = 0 ]; then
      return 0
    fi
    case $tenths in
      0) kill -s TERM "${left[@]}" ;;
      1? | 2?) kill -s KILL "${left[@]}" ;;
    esac 2>/dev/null
    sleep 0.1
  done
}

# A background command of a shell has the terminal's signals switched off; this one is to have them.
env --default-signal=INT,QUIT setsid "$@" &
session=$!
trap endSession EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP
wait $session

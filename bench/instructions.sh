#!/bin/sh
# Instructions and system calls that a piece of a report costs, the fast form against the plain one.
#
#   instructions.sh PIECES [--short] [--check]
#
# PIECES is the program of that name. Prints the rows as JSON; with --check prints nothing but what
# takes more than twice its goal, and fails then. Counted is the difference between a longer and a
# shorter run, so start and end of the process fall out. The counts hardly vary, so there is no
# shorter form: --short leaves all as it is.
set -eu

pieces=$1
shift
check=no
for option in "$@"; do
  [ "$option" = --check ] && check=yes
done
export QT_HASH_SEED=0 # the same tables in each run
# Copies by vector, as on processors that have nothing else: of a string instruction callgrind
# counts every byte.
export GLIBC_TUNABLES=glibc.cpu.x86_rep_movsb_threshold=1000000000
files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT

fail() {
  echo "instructions.sh: $1" >&2
  exit 1
}
for tool in valgrind strace; do
  [ $tool = strace ] && [ $check = yes ] && continue
  command -v $tool >/dev/null || fail "$tool is not installed"
done

# instructions FORM N: of the whole run.
instructions() {
  valgrind --tool=callgrind --callgrind-out-file=/dev/null \
    "$pieces" --count "$1" "$2" >"$files/log" 2>&1 ||
    fail "callgrind of $1 failed: $(cat "$files/log")"
  sed -n 's/.*Collected : *\([0-9]*\).*/\1/p' "$files/log"
}

# system_calls FORM N: of the whole run.
system_calls() {
  strace -f -c -o "$files/calls" "$pieces" --count "$1" "$2" >"$files/log" 2>&1 ||
    fail "strace of $1 failed: $(cat "$files/log")"
  awk '$NF == "total" { print $4 }' "$files/calls"
}

# per_step COUNTER FORM FEW MANY
per_step() {
  few=$("$1" "$2" "$3")
  many=$("$1" "$2" "$4")
  awk -v few="$few" -v many="$many" -v steps="$(($4 - $3))" \
    'BEGIN { printf "%.2f", (many - few) / steps }'
}

# row NAME WHAT GOAL STRETCH UNIT MEASURED DETAIL; a stretch of 0 is none.
row() {
  if [ $check = no ]; then
    stretch=
    [ "$4" = 0 ] || stretch="\"stretch\":$4,"
    printf '{"row":"%s","what":"%s","goal":%s,%s"unit":"%s","measured":%s,"detail":"%s"}\n' \
      "$1" "$2" "$3" "$stretch" "$5" "$6" "$7"
  elif awk -v measured="$6" -v goal="$3" 'BEGIN { exit !(measured > 2 * goal) }'; then
    echo "row $1: $6, more than twice the goal $3 ($7)" >&2
    exceeded=yes
  fi
}

# ratio NAME WHAT PIECE GOAL STRETCH FEW_PLAIN MANY_PLAIN FEW_FAST MANY_FAST
ratio() {
  plain=$(per_step instructions "$3/plain" "$6" "$7")
  fast=$(per_step instructions "$3/fast" "$8" "$9")
  measured=$(awk -v fast="$fast" -v plain="$plain" 'BEGIN { printf "%.5f", fast / plain }')
  row "$1" "$2" "$4" "$5" x "$measured" "${fast%.*} to ${plain%.*} instructions"
}

exceeded=no
texts="three report texts to those built by Qt's writer"
ratio "5 at 10" "$texts" texts10 0.02 0 20 120 100 2100
ratio "5 at 200" "$texts" texts200 0.004 0 2 12 200 2200
ratio 6 "segments and 17 searches to the plain form" clearances 0.25 0.1 1000 3000 1000 3000
if [ $check = no ]; then
  row "7 calls" "system calls of a day-file line" 4 0 calls \
    "$(per_step system_calls logline/fast 1000 5000)" "by strace, over 4000 lines"
fi
[ $exceeded = no ]

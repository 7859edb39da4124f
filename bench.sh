#!/bin/bash
# Measures what a report costs: installs what is missing, builds, runs everything in bench/ and
# prints one table of goals, figures and verdicts.
#
#   ./bench.sh [--short] [--built FOLDER]
#
# --short takes a minute or two, with fewer repetitions and without the plot. All of it takes six
# to fifteen. Nothing else should run on the machine. In build/bench: results.json,
# table.md and, unless short, cost.csv and performance.svg. A row that misses its goal is no failure,
# a row without a result is. With --built it installs and builds nothing, measures what is built in
# that folder, its path complete or from here, and leaves the results there.
set -eu
cd "$(dirname "$0")"
exec </dev/null
# shellcheck source=tools/namespace.sh
. tools/namespace.sh

fail() {
  echo "bench.sh: $*" >&2
  exit 1
}

short=()
out=
while [ $# -gt 0 ]; do
  case $1 in
    --short) short=(--short) ;;
    --built)
      out=${2:-}
      [ -x "$out/bench/road" ] || fail "nothing to measure is built in '$out'"
      shift
      ;;
    -h | --help)
      sed -n '2,/^set/s/^# \{0,1\}//p' bench.sh
      exit 0
      ;;
    *) fail "unknown option $1 (try --help)" ;;
  esac
  shift
done

if [ -z "$out" ]; then
  tools/packages.sh build bench
  tools/build.sh bench
  out=build/bench
fi
bin=$out/bench
exec 9>"$out/run.lock"
flock -n 9 || fail "already running in this folder"
folder=$(mktemp -d "${TMPDIR:-/tmp}/crane-bench.XXXXXX")
trap 'rm -rf "$folder"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The controller's ports are fixed; the driver makes a network for each pair of brokers. What the
# controller would send and say is not for the machine's own modem and sound.
findIsolation || fail "no namespace to measure in: ${refusal:-no reason given}"

road() {
  "${namespace[@]}" "$bin/road" --folder "$folder" "${short[@]}" "$@" 9>&-
}

# Where they write, there is a disk: not in a folder that may be in memory.
measurePieces() {
  env -C "$out" bench/pieces "${short[@]}" && bench/instructions.sh "$bin/pieces" "${short[@]}"
}

echo "bench.sh: the road of a report, between real brokers"
road >"$out/road.jsonl"
echo "bench.sh: the pieces of a report"
measurePieces >"$out/pieces.jsonl" 2>"$out/pieces.log" 9>&- || {
  tail -n 20 "$out/pieces.log" >&2
  fail "the pieces could not be measured"
}
sort -s -t'"' -k4,4V "$out/road.jsonl" "$out/pieces.jsonl" >"$out/all.jsonl"
sed -e '1s/^/[/; 1!s/^/ /; $!s/$/,/; $s/$/]/' "$out/all.jsonl" >"$out/results.json"
if [ ${#short[@]} = 0 ]; then
  road --sweep "$out/cost.csv"
  awk -f bench/plot.awk "$out/cost.csv" >"$out/performance.svg"
fi
complete=0
awk -f bench/table.awk "$out/all.jsonl" >"$out/table.md" || complete=1
echo
cat "$out/table.md"
exit $complete

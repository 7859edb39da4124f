#!/bin/bash
# Makes the four spoken warnings in voice/, Mandarin, mono, 64 kbit/s. The same packages give the
# same bytes. Run by hand when a text is to change; the recordings are part of the tree.
#
#   tools/make_voice.sh [FOLDER]      default: voice
set -eu
cd "$(dirname "$0")/.."
tools/packages.sh voice
folder=${1:-voice}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# speak FILE TEXT
speak() {
  # This voice reads Chinese text; the plain Mandarin one reads its tone digits in English.
  espeak-ng -v cmn-latn-pinyin -s 140 -g 2 -w "$work/spoken.wav" "$2"
  # -D: without the dither, whose noise is another one each time.
  sox -D -G "$work/spoken.wav" "$work/even.wav" norm -1 pad 0.05 0.1
  # -t: with the info tag the player writes a critical line at every start.
  lame --quiet -t -m m -b 64 --noreplaygain "$work/even.wav" "$folder/$1.mp3"
}

mkdir -p "$folder"
speak 警告回转左侧障碍物 "警告,回转左侧障碍物" # warning, obstacle on the left while slewing
speak 警告回转右侧障碍物 "警告,回转右侧障碍物" # the same on the right
speak 警告下方障碍物 "警告,下方障碍物"         # warning, obstacle below
speak 警告警告 "警告,警告"                     # warning, warning

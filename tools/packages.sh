#!/bin/bash
# Installs the Debian packages that this tree needs, by group, and only those that are missing.
#
#   tools/packages.sh GROUP...      groups: build run test audio voice bench
#
# As root, or through sudo. Where neither is possible it names what is missing, gives the one
# command that installs it, and fails.
set -eu
packagesOf() {
  case $1 in
    build)
      echo g++ cmake ninja-build pkg-config qtbase5-dev qtmultimedia5-dev libqt5serialport5-dev \
        libmosquitto-dev libsystemd-dev ;;
    run) # the multimedia plugins play the spoken warnings; no dependency names them
      echo mosquitto mosquitto-clients iproute2 util-linux \
        libqt5multimedia5-plugins gstreamer1.0-plugins-base gstreamer1.0-plugins-good \
        gstreamer1.0-alsa ;;
    test)
      echo mosquitto mosquitto-clients iproute2 util-linux procps git clang-format-14 valgrind \
        socat ;;
    audio) echo pulseaudio pulseaudio-utils sox libsox-fmt-mp3 ;;
    voice) echo espeak-ng sox lame ;;
    bench) echo libbenchmark-dev mosquitto util-linux valgrind strace ;;
    *) return 1 ;;
  esac
}

fail() {
  echo "packages: $*" >&2
  exit 1
}

[ $# -gt 0 ] || fail "name the groups to install: build run test audio voice bench"
wanted=()
for group in "$@"; do
  list=$(packagesOf "$group") || fail "no such group: $group"
  read -r -a packages <<<"$list"
  wanted+=("${packages[@]}")
done

command -v dpkg-query >/dev/null ||
  fail "this is no Debian system; install what corresponds to: ${wanted[*]}"

missingPackages() {
  local installed package architecture
  architecture=$(dpkg --print-architecture) # a package of another one does not count
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Architecture} ${Package}\n' "$@" 2>/dev/null |
    sed -n -E "s/^installed ($architecture|all) //p")
  for package in "$@"; do
    grep -qxF -- "$package" <<<"$installed" || echo "$package"
  done | sort -u
}

mapfile -t missing < <(missingPackages "${wanted[@]}")
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" = 0 ]; then
  asRoot=(env)
elif command -v sudo >/dev/null && { sudo -n true 2>/dev/null || { [ -t 2 ] && sudo -v; }; }; then
  asRoot=(sudo env)
else
  cat >&2 <<TEXT
packages: these Debian packages are missing, and installing them takes root or sudo:
  ${missing[*]}
Have them installed by this command, then start again:
  apt-get update && apt-get install --no-install-recommends -y ${missing[*]}
TEXT
  exit 1
fi

# Waits for another apt-get to finish instead of failing, and never asks.
apt() {
  "${asRoot[@]}" DEBIAN_FRONTEND=noninteractive \
    apt-get -q -o DPkg::Lock::Timeout=300 "$@" </dev/null
}

echo "packages: installing ${missing[*]}"
apt update || fail "apt-get update failed; the lines above say why"
apt install -y --no-install-recommends "${missing[@]}" ||
  fail "apt-get install failed; the lines above say why"

#!/bin/bash
# Installs the Debian packages that this tree needs, by group, and only those that are missing.
#
#   tools/packages.sh GROUP...      groups: build run test audio voice bench
#
# As root, or through sudo. Where neither is possible it names what is missing, gives the one
# command that installs it, and fails. It never removes a package: where one that is installed is in
# the way it says which, and fails. A broker that the package mosquitto would set up as a service of
# the machine is switched off again, unless the package was there before.
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
  apt-get update && apt-get install --no-remove --no-install-recommends -y ${missing[*]}
TEXT
  if [[ " ${missing[*]} " == *" mosquitto "* ]]; then
    echo "(mosquitto becomes a service on port 1883; systemctl disable --now mosquitto ends it)" >&2
  fi
  exit 1
fi

# Waits for another apt-get to finish instead of failing, and never asks.
apt() {
  "${asRoot[@]}" DEBIAN_FRONTEND=noninteractive \
    apt-get -q -o DPkg::Lock::Timeout=300 "$@" </dev/null
}

# Looks at what apt-get would do. It may have other names for the packages, or some to remove.
checkPlan() {
  local plan unknown removed
  if ! plan=$("${asRoot[@]}" LC_ALL=C apt-get -s install --no-install-recommends "${missing[@]}" \
    2>&1); then
    unknown=$(sed -nE "s/^E: (Unable to locate package |Package ')([^ ']+).*/\2/p" <<<"$plan" |
      xargs)
    [ -z "$unknown" ] || fail "this system has no package $unknown; the groups build and run are" \
      "known on Debian 12 and 13 and Ubuntu 24.04 (with universe), the others on Debian 12"
    echo "$plan" >&2
    fail "apt-get cannot install them; the lines above say why"
  fi
  removed=$(sed -nE 's/^Remv ([^ ]+).*/\1/p' <<<"$plan" | xargs)
  [ -z "$removed" ] || fail "nothing installed: ${missing[*]} would remove from this machine:" \
    "$removed. Use a machine or a container of Debian 12 without them, or remove them yourself"
}

# Ends the service that comes with the broker's package, now and for later starts of the machine.
switchBrokerOff() {
  if systemctl cat mosquitto.service >/dev/null 2>&1 &&
    "${asRoot[@]}" systemctl disable --now mosquitto.service >/dev/null 2>&1; then
    echo "packages: the service mosquitto, a broker on port 1883, was installed and is switched off" \
      "again; to have it: systemctl enable --now mosquitto"
  fi
}

echo "packages: installing ${missing[*]}"
apt update || fail "apt-get update failed; the lines above say why"
checkPlan
if [ -d /run/systemd/system ] && [[ " ${missing[*]} " == *" mosquitto "* ]]; then
  trap switchBrokerOff EXIT # also when the installation breaks off
fi
apt install -y --no-remove --no-install-recommends "${missing[@]}" ||
  fail "apt-get install failed; the lines above say why"

# To be sourced: how to get a network and devices of one's own, and how to keep off the machine's modem
# and sound. Puts the broker's folder on the path, too, which is missing from an ordinary user's.
# shellcheck shell=bash disable=SC2034

PATH=$PATH:/usr/sbin:/sbin

# Sets `namespace` to the command that runs another one in namespaces of its own: --net, where the
# loopback interface is still down, --mount or both. Fails with the system's reason in `refusal`.
findNamespace() {
  local asRoot=''
  namespace=(unshare "$@")
  if [ "$(id -u)" = 0 ]; then
    asRoot=$("${namespace[@]}" true 2>&1) && return 0
    asRoot+='; '
  fi
  namespace=(unshare "$@" --map-root-user) # root inside of it, nothing outside
  refusal=$asRoot$("${namespace[@]}" true 2>&1)
}

# In a mount namespace of one's own: puts a folder over /dev in which one can make files. It has the
# machine's devices but for serial adapters, with --no-sound but for its sound devices, too, and
# pseudo-terminals of its own. The lock files of serial devices are one's own as well.
coverDevices() {
  local folder device noSound=${1:-}
  folder=$(mktemp -d)
  mount -t tmpfs -o mode=755 devices "$folder"
  for device in /dev/*; do
    case $device in
      /dev/ttyUSB* | /dev/ttyACM* | /dev/pts | /dev/ptmx) continue ;;
      /dev/snd | /dev/dsp* | /dev/adsp* | /dev/audio* | /dev/mixer*)
        [ "$noSound" != --no-sound ] || continue ;;
    esac
    if [ -L "$device" ]; then
      cp -P "$device" "$folder/"
    elif [ -d "$device" ]; then
      mkdir "$folder/${device##*/}"
      mount --rbind "$device" "$folder/${device##*/}"
    else
      : >"$folder/${device##*/}"
      mount --bind "$device" "$folder/${device##*/}"
    fi
  done
  mkdir "$folder/pts"
  mount -t devpts -o newinstance,ptmxmode=0666 devpts "$folder/pts"
  ln -s pts/ptmx "$folder/ptmx"
  mount --rbind "$folder" /dev
  umount -l "$folder"
  rmdir "$folder"
  for folder in /run/lock /var/lock; do # mostly one and the same
    if [ -d "$folder" ]; then
      mount -t tmpfs -o mode=1777 locks "$folder"
    fi
  done
}

# From now on no process started here finds a sound server of the user, or plays on a card by ALSA.
muteSound() {
  unset XDG_RUNTIME_DIR DBUS_SESSION_BUS_ADDRESS DISPLAY WAYLAND_DISPLAY
  export PULSE_SERVER=unix:/nonexistent/pulse PIPEWIRE_RUNTIME_DIR=/nonexistent \
    PIPEWIRE_REMOTE=/nonexistent/pipewire JACK_DEFAULT_SERVER=nonexistent JACK_NO_START_SERVER=1 \
    ALSA_CONFIG_PATH=/dev/null
}

# A device by which one would reach the machine's own modem, or be heard; nothing where it has none.
ownDevice() {
  local device
  for device in /dev/ttyUSB* /dev/ttyACM* /dev/snd/pcm*p /dev/dsp*; do
    if [ -e "$device" ]; then
      echo "$device"
      return
    fi
  done
}

# Sets `namespace` to the command that runs another one with a network of its own, where the loopback
# interface is still down, and out of reach of the machine's serial adapters, their lock files and
# its sound. Where a mount namespace is refused it goes without only if there is nothing to reach.
# Fails with the reason in `refusal`.
findIsolation() {
  local here device
  here=$(realpath "${BASH_SOURCE[0]}")
  # shellcheck disable=SC2016
  if findNamespace --net --mount &&
    refusal=$("${namespace[@]}" bash -euc '. "$0"; coverDevices --no-sound' "$here" 2>&1); then
    namespace+=(env CRANE_OWN_DEVICES=1
      bash -euc '. "$0"; coverDevices --no-sound; muteSound; exec "$@"' "$here")
    return 0
  fi
  device=$(ownDevice)
  if [ -n "$device" ]; then
    refusal="$device is this machine's own, and a mount namespace without it is refused: $refusal"
    return 1
  fi
  findNamespace --net || return 1
  # shellcheck disable=SC2016
  namespace+=(bash -euc '. "$0"; muteSound; exec "$@"' "$here")
}

# Succeeds when something listens on this port of the loopback interface.
isPortTaken() {
  (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

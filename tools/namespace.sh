# To be sourced: how to get a network of one's own. Puts the broker's folder on the path, too,
# which is missing from an ordinary user's.
# shellcheck shell=bash disable=SC2034

PATH=$PATH:/usr/sbin:/sbin

# Sets `namespace` to the command that runs another one in namespaces of its own: --net, where the
# loopback interface is still down, --mount or both. Fails with the system's reason in `refusal`.
findNamespace() {
  namespace=(unshare "$@")
  if [ "$(id -u)" = 0 ] && refusal=$("${namespace[@]}" true 2>&1); then
    return 0
  fi
  namespace=(unshare "$@" --map-root-user) # root inside of it, nothing outside
  refusal=$("${namespace[@]}" true 2>&1)
}

# In a mount namespace of one's own: puts a folder over /dev in which one can make files. It has the
# machine's devices but for serial adapters, and pseudo-terminals of its own.
coverDevices() {
  local folder device
  folder=$(mktemp -d)
  mount -t tmpfs -o mode=755 devices "$folder"
  for device in /dev/*; do
    case $device in
      /dev/ttyUSB* | /dev/pts | /dev/ptmx) continue ;;
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
}

# Succeeds when something listens on this port of the loopback interface.
isPortTaken() {
  (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

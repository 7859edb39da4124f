# To be sourced: how to get a network of one's own. Puts the broker's folder on the path, too,
# which is missing from an ordinary user's.
# shellcheck shell=bash disable=SC2034

PATH=$PATH:/usr/sbin:/sbin

# Sets `namespace` to the command that runs another one in a network namespace of its own, its
# loopback interface still down. Fails with the system's reason in `refusal`.
findNamespace() {
  namespace=(unshare --net)
  if [ "$(id -u)" = 0 ] && refusal=$("${namespace[@]}" true 2>&1); then
    return 0
  fi
  namespace=(unshare --net --map-root-user) # root inside of it, nothing outside
  refusal=$("${namespace[@]}" true 2>&1)
}

# Succeeds when something listens on this port of the loopback interface.
isPortTaken() {
  (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

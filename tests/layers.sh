#!/bin/bash
# Which folder may include which. Includes are written from the root, so the folders show the layers:
#
#   model, geometry   pure: no files, no brokers
#   state             state files           mqtt   broker connections
#   local cloud engine radio voice          the workers: never each other
#   app               sees them all
#
# The product never includes tests, bench or tools.
set -eu
cd "$(dirname "$0")/.."

failed=0

# forbid FOLDERS TARGETS: no file of these folders includes a header of those.
forbid() {
  local folder target found
  for folder in $1; do
    for target in $2; do
      if [ "$folder" = "$target" ]; then
        continue
      fi
      found=$(grep -rn --include='*.h' --include='*.cpp' "#include \"$target/" "$folder") || continue
      echo "$folder must not include $target:"
      echo "$found"
      failed=1
    done
  done
}

workers='local cloud engine radio voice'
shared='model geometry state mqtt'
forbid "$shared $workers app" 'tests bench tools'
forbid "$shared" "$workers app"
forbid "$workers" "$workers app"
forbid 'model geometry' 'state mqtt'
forbid 'model' 'geometry'
forbid 'state' 'mqtt'
forbid 'mqtt' "$shared"

# Without a folder the layer does not show. The MQTT client is one that an installed one can replace.
found=$(grep -rnE --include='*.h' --include='*.cpp' '#include "[^/"]+\.h"' \
  $shared $workers app tests bench tools | grep -v '^mqtt/qmqtt/') && {
  echo "includes that are not written from the root:"
  echo "$found"
  failed=1
}
exit $failed

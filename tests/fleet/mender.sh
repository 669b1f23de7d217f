#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Mender: signed artifacts through its update module, without a server; the artifact's name afterwards.
set -eu
source_folder=$(realpath "$2")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"
. "$source_folder/tests/fleet/containers.sh"

openssl rsa -in good.key -traditional -out signing.pem 2>/dev/null
openssl rsa -in good.key -pubout -out public.pem 2>/dev/null
openssl rsa -in wrong.key -traditional -out wrong.pem 2>/dev/null
mkdir etc modules && mkdir etc/scripts
echo artifact_name=old >etc/artifact_info
echo "{\"ArtifactVerifyKey\": \"$work/public.pem\"}" >etc/mender.conf
cp "$source_folder/fleet/mender/sorvan-mcu" modules

artifact() { # UPDATE_FILE KEY DEVICE_TYPE OUTPUT
  mender-artifact write module-image -T sorvan-mcu -n new -f "./$1" -k "$2" -t "$3" -o "$4" >/dev/null
}
# Mender knows these folders only; they are the test's in a mount namespace of its own.
on() { # BOARD COMMAND...
  PATH=$work/$1/bin:$PATH timeout 60 unshare --mount sh -c 'mount --bind etc /etc/mender &&
    mount --bind modules /usr/share/mender/modules/v3 && exec mender --no-syslog -d "$@"' sh "$work/$1/data folder" "${@:2}"
}
install_artifact() { # BOARD ARTIFACT [commit | rollback]
  local result=installed
  mkdir -p "$1/data folder"
  echo device_type=sorvan-board >"$1/data folder/device_type"
  on "$1" install "$2" >log 2>&1 || result=failed
  if [ $result = installed ]; then
    on "$1" "${3:-commit}" >log2 2>&1 || result="$3 failed"
  fi
  echo "$result, artifact $(on "$1" show-artifact 2>/dev/null)"
}
install_on() {
  [ -e "$2.mender" ] || artifact "$2" signing.pem sorvan-board "./$2.mender"
  install_artifact "$1" "./$2.mender"
}
words() {
  case $1 in
    0 | 3) echo installed, artifact new ;;
    6 | 137) echo failed, artifact new_INCONSISTENT ;;
    *) echo failed, artifact old ;;
  esac
}
each_board mender

artifact -new.svu wrong.pem sorvan-board wrong-key.mender
artifact -new.svu signing.pem other-board wrong-device-type.mender
mkdir parts payload
tar -C parts -xf ./-new.svu.mender
tar -C payload -xzf parts/data/0000.tar.gz
poke payload/-new.svu 3000 '\xa5'
tar -C payload -czf parts/data/0000.tar.gz -- -new.svu
tar -C parts -cf changed.mender version manifest manifest.sig header.tar.gz data/0000.tar.gz
while IFS='|' read -r name container text; do
  untouched mender "$name" "failed, artifact old" "$text" install_artifact idle "$container"
done <<'END'
wrong key|wrong-key.mender|invalid signature
changed payload|changed.mender|invalid checksum
wrong device type|wrong-device-type.mender|not compatible with device
END
row mender "rolled back by hand" "$(board back && install_artifact back ./-new.svu.mender rollback); MCU runs $(runs back)" \
  "rollback failed, artifact new_INCONSISTENT; MCU runs 0x0102"
exit "$wrong"

#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# RAUC: signed bundles through its service on a private bus. Bundles are of the format plain: verity needs device-mapper,
# which not every kernel of a test machine has.
set -eu
source_folder=$(realpath "$2")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"
. "$source_folder/tests/fleet/containers.sh"
example=$source_folder/fleet/rauc

sed -e "s#/etc/rauc/ca.crt#$work/good.crt#; s#/var/lib/rauc#$work#; /^\[system/a mountprefix=$work/mnt" "$example/system.conf" \
  >system.conf
cat >bus.conf <<END
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><servicedir>$work</servicedir>
<policy context="default"><allow send_destination="*"/><allow own="*"/><allow eavesdrop="true"/></policy></busconfig>
END
printf '[D-BUS Service]\nName=de.pengutronix.rauc\nExec=%s\n' "$work/service" >rauc.service
cat >service <<'END'
#!/bin/sh
DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS exec rauc --conf=system.conf service --override-boot-slot=_external_ >log 2>&1
END
chmod +x service

bundle() { # UPDATE_FILE KEY COMPATIBLE OUTPUT
  rm -rf content
  mkdir content
  cp -- "$1" content/mcu.svu
  cp "$example/hook.sh" content
  sed "s/verity/plain/; s/sorvan-board/$3/" "$example/manifest.raucm" >content/manifest.raucm
  rauc bundle --cert="$2.crt" --key="$2.key" --keyring="$2.crt" content "$4" >/dev/null 2>&1
}
# The bundle's mount is gone with its namespace.
install_bundle() { # BOARD BUNDLE
  # shellcheck disable=SC2016 # $ is for the other shell
  if PATH=$work/$1/bin:$PATH timeout 60 unshare --mount dbus-run-session --config-file=bus.conf -- sh -c \
    'DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS exec rauc install "$1"' sh "$2" >answer 2>&1; then
    echo installed
  else
    cat answer >>log
    grep -oE -m 1 'Bundle rejected|Failed updating slot|signature verification failed' answer || echo failed
  fi
}
install_on() {
  [ -e "$2.raucb" ] || bundle "$2" good sorvan-board "./$2.raucb"
  install_bundle "$1" "./$2.raucb"
}
words() {
  case $1 in
    0 | 3) echo installed ;;
    4 | 64 | 75) echo Bundle rejected ;;
    *) echo Failed updating slot ;;
  esac
}
each_board rauc

bundle -new.svu wrong sorvan-board wrong-key.raucb
bundle -new.svu good other-board wrong-compatible.raucb
cp ./-new.svu.raucb changed.raucb
poke changed.raucb 3000 '\xa5'
while IFS='|' read -r name container words text; do
  untouched rauc "$name" "$words" "$text" install_bundle idle "$container"
done <<'END'
wrong key|wrong-key.raucb|signature verification failed|self-signed
changed payload|changed.raucb|signature verification failed|CMS routines::verification failure
wrong compatible|wrong-compatible.raucb|Bundle rejected|for other-board, and this is sorvan-board
END
exit "$wrong"

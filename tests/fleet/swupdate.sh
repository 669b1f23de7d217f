#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# SWUpdate: signed containers with its Lua handler, without a service.
set -eu
source_folder=$(realpath "$2")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"
. "$source_folder/tests/fleet/containers.sh"
export LUA_PATH="$source_folder/fleet/swupdate/?.lua;$work/?.lua" TMPDIR=$work
printf 'require("swupdate")\nrequire("sorvan_mcu")\n' >swupdate_handlers.lua

container() { # UPDATE_FILE SIGNER OUTPUT
  "$source_folder/fleet/swupdate/build_container" "$1" 1.2 sorvan-board:3 "$2.key" "$2.crt" "$3"
}
install_container() { # BOARD CONTAINER [OPTION...]
  if PATH=$work/$1/bin:$PATH timeout 60 swupdate -l 3 -k good.crt -H sorvan-board:3 -i "$2" "${@:3}" >log 2>&1; then
    echo succeeded
  else
    echo failed
  fi
}
install_on() {
  [ -e "$2.swu" ] || container "$2" good "./$2.swu"
  install_container "$1" "./$2.swu"
}
words() {
  case $1 in
    0 | 3) echo succeeded ;;
    *) echo failed ;;
  esac
}
each_board swupdate

container -new.svu wrong wrong-key.swu
mkdir parts
(cd parts && cpio -i --quiet <../-new.svu.swu && poke mcu.svu 3000 '\xa5' &&
  printf '%s\n' sw-description sw-description.sig mcu.svu | cpio -o --quiet -H crc >../changed.swu)
while IFS='|' read -r name file words text options; do
  # shellcheck disable=SC2086 # words on purpose
  untouched swupdate "$name" "$words" "$text" install_container idle "$file" $options
done <<'END'
wrong key|wrong-key.swu|failed|Authentication of all signatures failed|
changed payload|changed.swu|failed|HASH mismatch|
wrong revision|./-new.svu.swu|failed|SW not compatible with hardware|-H sorvan-board:4
wrong board|./-new.svu.swu|failed|HW compatibility not found|-H other-board:3
only checked|./-new.svu.swu|succeeded|successful|-c
dry run|./-new.svu.swu|succeeded|successful|-n
END
row swupdate "only checked, no MCU" "$(install_container no-mcu ./-new.svu.swu -c); MCU runs $(runs no-mcu)" \
  "failed; MCU runs 0x0100"
: >swupdate_handlers.lua
untouched swupdate "handler not installed" failed "feature 'sorvan-mcu'" install_container idle ./-new.svu.swu
exit "$wrong"

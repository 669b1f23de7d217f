# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Sourced after boards.sh by the scripts of SWUpdate, RAUC and Mender: update files, keys, and the boards on which an engine
# must report what the flash holds.
# shellcheck disable=SC2154 # variables of the other files
pack_for() { # FILE SOFTWARE_ID HARDWARE_ID
  sv_image pack --region0 "$firmware/v2-region0.bin" --region1 "$firmware/v2-region1.bin" --swid "$2" --hwid "$3" -o "$1" \
    >/dev/null
}
pack_for before.svu 0x0101 3
pack_for -new.svu 0x0102 3
pack_for other.svu 0x0102 2
cp ./-new.svu broken.svu
poke broken.svu 3000 '\xa5'
for signer in good wrong; do
  openssl req -x509 -newkey rsa:2048 -noenc -keyout $signer.key -out $signer.crt -subj "/CN=$signer" -days 2 \
    -addext extendedKeyUsage=emailProtection,codeSigning 2>/dev/null
done

# each_board ENGINE: a row for each line of the table: the engine installs FILE by "install_on BOARD FILE", which prints the
# engine's words and leaves its log in the file "log"; "words STATUS" prints the words expected for sv_ctl's status. The log
# must have the TEXT. RUNS is what the flash must hold in the end. On used boards the old firmware came by an update.
each_board() {
  local name file kind status runs text options got
  board used
  used/bin/sv_ctl update before.svu >/dev/null 2>&1
  while IFS='|' read -r name file kind status runs text options; do
    board "$name" "$options"
    case $kind in
      used) cp used/state "$name/state" ;;
      again) got=$(install_on "$name" "$file") ;;
      locked) exec 9>"$name/lock" && flock 9 ;;
      older) sed -i 's/"\$@"/--unknown &/' "$name/bin/sv_ctl" ;;
    esac
    got=$(install_on "$name" "$file")
    grep -qF -e "$text" log || got+=", without '$text' in the log"
    row "$1" "$name ($status)" "$got; MCU runs $(runs "$name")" "$(words "$status"); MCU runs $runs"
  done <<'END'
installed|-new.svu|fresh|0|0x0102|done: region 1 runs|
again|-new.svu|again|3|0x0102|current: region 1 runs|
no-mcu|-new.svu|fresh|4|0x0100|nothing answers|--preset no-mcu
no-power|-new.svu|fresh|4|0x0100|no source feeds|--preset charger-backup
other-hardware|other.svu|fresh|4|0x0100|for other hardware|
broken-file|broken.svu|fresh|4|0x0100|CRC error|
worn-flash|-new.svu|used|5|0x0101|could not write page|--fault fail@commit/2x*
worn-flash-of-a-new-board|-new.svu|fresh|6|0x0100|could not write page|--fault fail@commit/258x*
silent-after-its-reset|-new.svu|fresh|6|0x0102|nothing answers|--fault dead@read-version#6
tool-killed|-new.svu|fresh|137|0x0100|status 137|--fault kill@commit/258
lock-held|-new.svu|locked|75|0x0100|somebody else holds the lock|
older-sv_ctl|-new.svu|older|64|0x0100|not expected|
END
}

# untouched ENGINE CASE WORDS TEXT COMMAND...: a row for what the engine itself must refuse: sv_ctl would update the board
untouched() {
  local got
  [ -d idle ] || board idle
  got=$("${@:5}")
  grep -qF -e "$4" log || got+=", without '$4' in the log"
  row "$1" "$2" "$got; MCU runs $(runs idle)" "$3; MCU runs 0x0100"
}

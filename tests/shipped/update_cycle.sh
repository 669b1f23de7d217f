#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Updates a board in both directions as in the field: one process after the other. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack
run() { run_board --state board -- "$@"; }
running() { sv_board show --state board | sed -n 's/^running=//p'; }

# An update is killed, its shell is not. The next update programs the same region, and the next process finds the new
# firmware.
cycle() {
  local region=$1 start=$(($1 * 0x20000))
  expect 3 "*killed: 137" "*" run_board --state board --fault "kill@$2" -- \
    sh -c 'sv_updater --update new.svu; echo "killed: $?"; exit 3'
  expect_same "running region after the kill at $2" "$(running)" $((1 - region))
  expect 0 "erased other region $region*programming, starting at $(printf %x "$start")*enabled other region $region" \
    "*info  : reset: MCU will reset now*info  : overall SV MCU update = okay" \
    run sv_updater --reset-delay 0 --update new.svu
  same_bytes board "$start" new.svu "$((8 + start))" $((255 * 0x200))
  expect 0 $'swid *= 0101\nhwid*\nactive *= '"$region"$'\n*' "" run sv_updater --version
}
cycle 1 segment/300
cycle 0 enable
expect 0 "" "*info  : nothing to do (region 0 is already up to date with swid 0101 crc *)*" run sv_updater --upd new.svu

# The default reset comes after five seconds of the board's time.
expect 0 "*" "*info  : reset: MCU will reset in 5.0s*" run sv_updater --update new.svu
expect_same "running region before the reset" "$(running)" 0
# All of the board comes back from the state file, the pending reset too; a save that fails leaves the old file.
run_board --state board --set hwid=2 --set polls=9 -- true
expect_same "settings of one run in the state file" "$(count board polls)" 0
sed -i 's/^marker=0$/marker=17/' board
cp board kept
run true
cmp board kept
mkdir -p board.new/occupied
expect 125 "" "sv_board: board.new: Is a directory" run_board --state board --set hwid=3 -- true
rm -r board.new
cmp board kept
expect 0 "*" "" run sh -c "sleep 6; sv_updater --probe"
expect_same "running region after the reset" "$(running)" 1

expect 0 "reading memory*99.8%* done " "" run sv_updater --read memory
cmp -n $((0x42000)) memory board
expect_same "size of the read-back" "$(wc -c <memory)" $((0x42000))

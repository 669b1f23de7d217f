#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Updates a board to and fro, as in the field: one run of the tool after the other. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack
run() { run_board --state board -- "$@"; }

# A board that runs the region's neighbour is updated; the next run of the tool finds the new firmware.
cycle() {
  local region=$1 start=$(($1 * 0x20000))
  expect 0 "erased other region $region*programming, starting at $(printf %x "$start")*enabled other region $region" \
    "*info  : reset: MCU will reset now*info  : overall SV MCU update = okay" \
    run sv_updater --reset-delay 0 --update new.svu
  expect_same "transfers of an update" "$(wc -l <trace)" 8785
  same_bytes board "$start" new.svu "$((8 + start))" $((255 * 0x200))
  expect 0 "*" "" run sv_updater --version
  expect_same "software id" "$(version_field swid)" 0101
  expect_same "running region" "$(version_field active)" "$region"
  expect_same "checksum" "$(version_field "crc$region")" \
    "$(sv_image info new.svu | sed -n "s/^region $region checksum: *0x\(....\) stored.*/\1/p")"
}
cycle 1
cycle 0

expect 0 "" "*info  : nothing to do (region 0 is already up to date with swid 0101 crc *)*" run sv_updater --upd new.svu
expect_same "reads of the identity" "$(count trace 'frame read-version |')" 1
expect_same "changes of a board that is up to date" \
  "$(count trace 'frame \(segment\|commit\|erase\|enable\|disable\|reset\)')" 0

# Five seconds of the board's time pass before the default reset.
expect 0 "*" "*info  : reset: MCU will reset in 5.0s*" run sv_updater --update new.svu
expect 0 "*" "" run sv_updater --version
expect_same "running region before the reset" "$(version_field active)" 0
expect 0 "*" "" run sh -c "sleep 6; sv_updater --version"
expect_same "running region after the reset" "$(version_field active)" 1

expect 0 "reading memory*99.8%* done " "" run sv_updater --read memory
expect_same "size of the read-back" "$(wc -c <memory)" $((0x42000))
same_bytes memory 0 board 0 $((0x42000))
expect_same "transfers of a read-back" "$(wc -l <trace)" 25350

#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Updates while something goes wrong. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack
run_board --state fresh -- true

# update_with FAULT STATUS STDOUT STDERR: a new board, whose region 0 runs
update_with() {
  cp fresh board
  expect "$2" "$3" "$4" run_board --state board --fault "$1" -- sv_updater --update new.svu
}

# A page that fails, in region 1: five tries each time, and three attempts at the whole update.
doing="info  : doing update in region 1 (*)"
failed="error : could not write page 164 (read poll error, cmd start a0, size 07, data 64, read size 00, error 80)"
okay="*info  : update done in region 1 *info  : overall SV MCU update = okay"
step="<<<<<<x\* 39.2%"
once="*\* 39.2%$step$step$step$step$step"$'\n'
update_with fail@commit/356x2 0 "*\* 39.2%$step$step<<<<<<\* 39.6%*" "*$doing*$okay"
expect_same "commits with two failures" "$(count trace 'frame commit page=356 ')" 3
update_with fail@commit/356x5 0 "${once}erased other region 1*" "*$doing*$failed*$doing*$okay"
expect_same "commits with five failures" "$(count trace 'frame commit page=356 ')" 6
update_with fail@commit/356x15 255 "$once$once${once%$'\n'}" \
  "*$doing*$failed*$doing*$failed*$doing*$failed"$'\n'"error : overall SV MCU update = ERROR"
expect_same "attempts" "$(count err '^info  : doing update')" 3
expect_same "failed steps" "$(tr '\b' '\n' <out | grep -c '^x\*')" 15
same_bytes board 0 fresh 0 $((0x20000))

# The board vanishes after page 17 of the region: what runs stays as it was.
update_with dead@segment/274 255 "*" "*error : could not write segment 0112 00 *error : overall SV MCU update = ERROR"
same_bytes board 0 fresh 0 $((0x20000))
same_bytes board $((273 * 0x200)) new.svu $((8 + 273 * 0x200)) $((0x200))
expect 0 "running=0*region0.swid=0x0100?region0.enabled=1*region1.swid=0x0000?region1.enabled=0*" "" \
  sv_board show --state board

# A setting is torn before or after it is made.
for made in 0 1; do
  expect 255 "" "error : read cmd error, *" run_board --fast --state board --fault tear=$made@set-led1 -- sv_updater --set-mode led1 gn
  expect_same "LED" "$(sv_board show --state board | grep led1)" "led1=$(printf '0x%04x' $((made * 0x81)))"
done

# A reset that gets lost can be asked for again.
update_with skip@reset-delayed 0 "*" "$okay"
expect 0 "*" "" run_board --state board -- sh -c "sleep 6; sv_updater --version"
expect_same "running region after the lost reset" "$(version_field active)" 0
expect 0 "" "info  : MCU will reset now" run_board --state board -- sv_updater --reset-now
expect 0 "*" "" run_board --state board -- sv_updater --version
expect_same "running region after the second reset" "$(version_field active)" 1

# The tool is killed, and the board keeps what it has; the next run finds its way from there.
killed_with() {
  cp fresh board
  expect 137 "*" "*" run_board --state board --fault "kill@$1" -- sv_updater --upd new.svu
  expect 0 "$2" "" sv_board show --state board
  expect 0 "*" "*info  : overall SV MCU update = okay" run_board --state board -- sv_updater --update new.svu
  same_bytes board $((0x20000)) new.svu $((8 + 0x20000)) $((255 * 0x200))
}
killed_with segment/300 "running=0*region0.enabled=1*region1.enabled=0*"
killed_with enable "running=0*region0.enabled=1*region1.enabled=1*"
killed_with disable "running=0*region0.enabled=0*region1.enabled=1*"

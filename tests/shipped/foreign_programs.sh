#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# sv_board with other programs than the tool, and the host's files that it replaces. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"

if i2ctransfer -V >out 2>&1; then
  expect 0 "0x11 0x0c" "" run_board --bus 3 -- sh -c 'i2ctransfer -y 3 w2@8 0x0f 0x11 && i2ctransfer -y 3 w1@8 0x0f r2'
  run_board -- i2ctransfer -y 0 w2@8 0xa6 0x43 2>err || fail "the status is not the program's own"
  expect_same "violations" "$(count err 'sv_board: the board saw 1 violation(s) of its rules:')" 1
  # Byte, word, register pointer and block; each program has an address of its own.
  # shellcheck disable=SC2016 # for the inner shell
  expect 0 "0x8a 0x028a 0x8a 0x8a 0x02 0x01 0x2a80 0x1234 " "" run_board -- sh -c '
    for row in "8 0" "8 0 w" "8 0 c" "8 0 i 3" "9 0x25 w"; do i2cget -y 0 $row; done | tr "\n" " "
    i2cset -y 0 8 0x0c 0x34 0x12 i && i2cget -y 0 8 0x0c w | tr "\n" " "'
  for mode in b c i; do
    expect 0 "*00: 8a 02 01 00 *00 5a 00 *10: 0c 3f 0f 3f*" "*" \
      run_board -- sh -c "i2cset -y 0 8 0x0d 0x5a && i2cdump -y 0 8 $mode"
  done
  expect 0 "*00: 028a 0102 0001 *" "*" run_board -- i2cdump -y 0 8 w
  expect 2 "" "Error: Read failed" run_board -- i2cget -y 0 0x33 1 w
  for row in "off 08 09 50" "on 08 09 10 50"; do
    expect 0 "*" "*" run_board --set "usb=${row%% *}" -- i2cdetect -y 0
    expect_same "devices with usb=${row%% *}" "$(sed -n 's/^[0-7]0: //p' out | tr -s ' -' '\n' | xargs)" "${row#* }"
  done
else
  echo "i2c-tools are not installed: the bus is not scanned"
fi
expect 0 "0003" "" run_board --bus 3 --set mcu_address=0x2a -- sv_updater --bus 3 --addr 0x2A --hw-version
expect 255 "" "error : could not read version *" run_board --bus 3 -- sv_updater --hw-version

# The status is the program's own; 125 and a message are sv_board's.
expect 42 "\[a,b] -- --state" "" run_board -- sh -c 'echo "[a,b]" -- --state; exit 42'
expect 127 "" "sv_board: ./none: No such file or directory" run_board -- ./none
: >broken
expect 125 "" "sv_board: broken: not the state of a board (too short)" run_board --state broken -- true
[ ! -s broken ] || fail "the broken state file was replaced"
[ ! -e broken.shared ] || fail "the shared board is left"
expect 125 "" "sv_board: colour: not KEY=VALUE" run_board --set colour -- true
expect 107 "" "--swid requires --firmware*" run_board --swid 3 -- true
expect 0 "1" "sv_board: the fault nack@commit never struck" run_board --fault nack@commit -- sv_updater --probe
expect 125 "" "sv_board: none/board*: No such file or directory" run_board --state none/board -- true
expect 125 "" "sv_board: none: could not be opened" run_board --firmware none -- true
# A process that was killed with its shell leaves no trouble on the bus.
pack_few
for _ in 1 2 3; do
  # shellcheck disable=SC2016
  expect 137 "" "" run_board -- sh -c 'sv_updater --update few.svu >left 2>&1 & until [ -s left ]; do :; done; kill -9 $$'
done

# The host's files
for exported in on off; do
  expect 0 "* POE=on  *" "" run_board --set poe=0 --set "gpio_exported=$exported" -- sv_updater --status
  expect 0 "* POE=off *" "" run_board --set "gpio_exported=$exported" -- sv_updater --status
done
expect 0 "* up no uptime  DISP=on  POE=--- *TEMP=45.0degC,40.0degC,*" "" \
  run_board --set poe=none --set uptime=none -- sv_updater --status
expect 0 "* up 1d 02:03:04  *TEMP=0.1degC,0.1degC,*" "" \
  run_board --set temp_nic=none --set temp_disp=none -- sv_updater --status

expect 255 "" "info  : status SVMCU=on, *error : unknown command --nope" \
  run_board --syslog log -- sv_updater --debug-update --nope
expect_same "system log" "$(cat log)" "$(sed 's/^info  : /<6> /; s/^error : /<3> /' err)"

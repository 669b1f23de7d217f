#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Recordings: sv_board run --capture and --replay, and sv_capture. See lib.sh for the arguments.
set -eu
source=$(realpath "$2")
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack_few
words() { cut -c20- "$1"; }
untimed() { sed 's/^20[-0-9]* [0-9:]* up/up/' "$1"; } # --status prints the time of day

# What was recorded is shown in the words of the trace, and answers the same program in the same way.
while read -r faults command; do
  [ "$faults" != - ] || faults=""
  status=0
  # shellcheck disable=SC2086 # words on purpose
  run_board --capture run.pcapng ${faults//nack/--fault nack} -- $command >out 2>recorded || status=$?
  mv trace recorded_trace
  sv_capture show run.pcapng | words - | cmp - <(words recorded_trace) || fail "other words of $command"
  replayed=0
  # shellcheck disable=SC2086
  run_board --replay run.pcapng -- $command >replayed_out 2>replayed || replayed=$?
  expect_same "status of $command" "$replayed" "$status"
  cmp <(words trace) <(words recorded_trace) || fail "other transfers of $command"
  cmp <(untimed out) <(untimed replayed_out) || fail "$command printed something else"
done <<'END'
- sv_updater --version --status --dump
- sv_updater --reset-now --update few.svu
nack@300x2 sv_updater --reset-now --update few.svu
nack@1x* sv_updater --version
- sv_ctl update few.svu
- i2cdetect -y 0
END

# A program that ends earlier, one that goes on, and a file that was cut off
run_board --capture run.pcapng -- sv_updater --version >out
expect 0 "0003" "sv_board: replay: 3 of 9 recorded transfers were not made" run_board --replay run.pcapng -- sv_updater --hw-version
expect 125 "*" "*transfer 10 is one more than was recorded?  program:  mcu read 1 bytes | 0f" \
  run_board --replay run.pcapng -- sv_updater --version --probe
expect 125 "*" "*transfer 1 is another one than was recorded?  recorded: mcu frame read-version | a6 00?  program:  mcu frame read-version2 | a6 05" \
  run_board --replay run.pcapng -- sh -c "i2ctransfer -y 0 w2@8 0xa6 5 || i2ctransfer -y 0 w1@8 0xa6 r1"
expect 125 "*" "*transfer 2 is another one than was recorded?  recorded: mcu read 1 bytes | a6?  program:  mcu read 2 bytes | a6" \
  run_board --replay run.pcapng -- sh -c "i2ctransfer -y 0 w2@8 0xa6 0 && i2ctransfer -y 0 w1@8 0xa6 r2"
head -c 410 run.pcapng >cut.pcapng
expect 125 "" "sv_board: cut.pcapng: cut off after 5 transfers*transfer 6 is one more*" \
  run_board --replay cut.pcapng -- sv_updater --version
expect 125 "" "sv_board: run.pcapng: no transfer on bus 3; choose with --bus: 0" run_board --bus 3 --replay run.pcapng -- true
expect 125 "" "sv_board: recorded_trace: not a pcapng file" run_board --replay recorded_trace -- true
expect 125 "" "sv_board: a capture has no bus above 127" run_board --bus 128 --capture x -- true
expect 125 "" "sv_board: run.pcapng: given for two options" run_board --replay run.pcapng --capture run.pcapng -- true
expect 108 "" "--fault excludes --replay*" run_board --replay run.pcapng --fault nack@1 -- true
expect 125 "*" "sv_board: /dev/full: not everything could be written" run_board --capture /dev/full -- sv_updater --version
expect 0 "     1 * mcu reset marker | 0f -> 00?1" "" sv_board run --fast --trace - -- sv_updater --probe
expect 0 "1?1 trace" "" run_board --unbuffered -- sh -c 'sv_updater --probe && wc -l trace'

# A board out of a recording, and the host's part of it on that board
run_board --set hwid=2 --capture read.pcapng -- sv_updater --version --read memory >out
expect 0 "" "" sv_capture state read.pcapng -o rebuilt
cmp -n $((0x42000)) rebuilt memory
expect 1 "transfers of the MCU: 25359*kinds of differences: 1?     2 times, first in transfer 3?*-> 02 00*-> 03 00*violations: 0" "" \
  sv_capture compare read.pcapng
run_board --capture bad.pcapng -- i2ctransfer -y 0 w3@8 0xa5 0x41 0x43 2>err
expect 1 "*kinds of differences: 0?violations: 1?  frame command 43 with a wrong form*" "" sv_capture compare bad.pcapng
expect 1 "" "sv_capture: rebuilt: File exists; --replace replaces it" sv_capture state read.pcapng -o rebuilt
expect 0 "" "" sv_capture state read.pcapng --replace -o rebuilt
expect 1 "" "sv_capture: a state file cannot be standard output" sv_capture state read.pcapng -o -

# Other sources, other targets
expect 0 "" "" sv_capture convert "$source/tests/capture/version.txt" -o version.pcapng
expect 0 "     1       0.000 mcu frame read-version | a6 00?*" "" sv_capture show version.pcapng
sv_capture convert "$source/tests/capture/long_and_failed.txt" -o long.pcapng
expect 125 "*" "*transfer 1 was not recorded with all its bytes?  program:  mcu read 1 bytes | 0f" \
  run_board --bus 3 --replay long.pcapng -- i2ctransfer -y 3 w1@8 0x0f r1
cat run.pcapng version.pcapng >both.pcapng
expect 2 "" "sv_capture: both.pcapng: more than one bus; choose with --bus: 0 3" sv_capture compare both.pcapng
expect 0 "" "sv_board: replay: 9 of 9 recorded transfers were not made" run_board --bus 3 --replay both.pcapng -- true
expect 1 "" "sv_capture: version.pcapng: File exists; --replace replaces it" sv_capture convert run.pcapng -o version.pcapng
expect 1 "*a6 -> c0" "sv_capture: cut.pcapng: cut off; 5 transfers were read" sv_capture show cut.pcapng
expect 2 "*" "sv_capture: cut.pcapng: cut off; 5 transfers were read" sv_capture compare cut.pcapng
head -c 48 run.pcapng >none.pcapng
expect 1 "" "sv_capture: .: Is a directory" sv_capture show .
expect 1 "" "sv_capture: none.pcapng: no transfer" sv_capture convert none.pcapng -o -
expect 2 "" "sv_capture: run.pcapng: no transfer of the MCU; --addr gives its address" sv_capture compare --addr 9 run.pcapng
expect 2 "" "sv_capture: standard output: No space left on device" sh -c 'exec sv_capture compare bad.pcapng >/dev/full'
expect 1 "" "sv_capture: trace: neither a pcapng file, nor I2C events of the kernel, nor annotations of sigrok" sv_capture vcd trace -o -
echo "1-1 i2c-1: Start
2-2 i2c-1: Address read: 33
3-3 i2c-1: ACK
4-4 i2c-1: Stop" >annotations
expect 1 "" "sv_capture: annotations: sigrok's annotations have no time: give --samplerate" sv_capture show annotations
expect 0 "     1       0.000 33 read 0 bytes | ->" "" sv_capture show --samplerate 1000000 --bus 5 annotations
# At 1 MHz a bit has ten steps of 100 ns: start, 0 1 1 0 0 1 1 1 for a read from 0x33, acknowledge, stop
expect_same "edges" "$(sv_capture vcd --samplerate 1000000 --speed 1000000 annotations -o - | sed '1,/^1"/d' | tr '\n' ' ')" \
  '#15 0" #20 0! #25 1! #30 0! #32 1" #35 1! #40 0! #45 1! #50 0! #52 0" #55 1! #60 0! #65 1! #70 0! #72 1" #75 1! #80 0! #85 1! '\
'#90 0! #95 1! #100 0! #102 0" #105 1! #110 0! #115 1! #120 1" #130 '

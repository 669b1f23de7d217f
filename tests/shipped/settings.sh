#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What --set-mode changes lives on in the board.
set -eu
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/lib.sh"

show() { sv_board show --state b | sed -n "s/^$1=//p"; }

expect 0 "" "*disabled XLR input*" run_board --state b --set teko_enable=0x1220 --set input_mode=0x3401 -- \
  sv_updater --set-mode pd1 disable --set w1validity normal --set prio high --set led1 rd --set led2 off --set xlr-off
expect_same "enable word" "$(show teko_enable)" 0x1201
expect_same "input mode" "$(show input_mode)" 0x3402
expect_same "LEDs" "$(show led1) $(show led2)" "0x0082 0x0080"
expect_same "XLR" "$(show xlr_off)" on
expect_same "nothing stored yet" "$(show stored)" 0xffff
expect 0 "" "" run_board --state b -- sv_updater --set store --set pd1 on
expect_same "stored" "$(show stored)" 0x2603
expect 255 "" "error : invalid parameter to --set-mode teko2-pse" run_board --state b -- sv_updater --set pse2 maybe
expect_same "a wrong value changes nothing" "$(show teko_enable)" 0x1200
expect 0 "*TEKO_ENABLE       = 0 (00 02)*Input_mode        = 2 high-priority*" "" run_board --state b -- sv_updater --dump

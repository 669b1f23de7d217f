#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The shipped tool under valgrind: no invalid access, no uninitialized value, no leak. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
! is_instrumented || { echo "skipped: built with instruments"; exit 77; }
valgrind --version >out 2>&1 || { echo "skipped: valgrind is not installed"; exit 77; }
pack_few
{ head -c 200000 few.svu; echo; } >half.svu

# umockdev sends whole structures, padding included.
cat >padding <<'EOS'
{
  padding
  Memcheck:Param
  socketcall.sendto(msg)
  fun:send
  obj:*libumockdev-preload.so*
}
EOS

# umockdev writes no byte that already has the right value, and valgrind then takes it for uninitialized. So no word that
# is read may be 0 or equal to the word read before it.
words="--set teko_enable=0x1220 --set input_mode=0x3401 --set vspare2_raw=0x00c0"

# check STATUS WORD...
check() {
  local want=$1
  shift
  # shellcheck disable=SC2086 # words on purpose
  expect "$want" "*" "*" run_board --state board $words -- valgrind --quiet --error-exitcode=99 --leak-check=full \
    --suppressions=padding sv_updater "$@"
}
check 0 --reset-delay 0 --update few.svu --version --upd few.svu --read-update half.svu --read-update few.svu
check 0 --probe --serial --date --status --dumps --status-poe --status-cable --status-pse-adc --no-dump-reset --dump \
  --debug-update --set-mode prio high --set psuled 1 --set store --set test-msg 0x11 --reset-now-sync --reset
check 0 --erase --bus 0 --addr 8 --read memory
check 255 --update half.svu
check 255 --bus 7
check 255 --set-mode
check 255 --help
check 255 nonsense

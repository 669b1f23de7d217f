#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Updates whose outputs and terminal are missing, full or go away: each comes to its end, with the same transfers as ever.
# See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack
pack_few
run_board --state fresh -- true

# update WORD...: the command updates a new board
update() {
  local status=0
  cp fresh board
  run_board --state board --syslog log -- "$@" >out 2>err || status=$?
  sed 's/^ *[0-9]* *[0-9.]* //' trace >transfers
  expect_same "status of $*" "$status" 0
}

# As `update`, and everything that is not shown on the way must be as it is without the disturbance.
disturbed() {
  update "$@"
  cmp log "$wanted/log" || fail "$*: the system log says: $(cat log)"
  cmp transfers "$wanted/transfers" || fail "$*: other transfers"
  cmp -n $((0x42000)) board "$wanted/board" || fail "$*: another flash"
  expect_same "violations of $*" "$(count err violation)" 0
}

# undisturbed FILE TRANSFERS: what the disturbed updates with this file are held against
undisturbed() {
  update sv_updater --update "$1"
  expect_same "transfers" "$(wc -l <transfers)" "$2"
  expect_same "verdict" "$(tail -n 1 log)" "<6> overall SV MCU update = okay"
  same_bytes board $((0x20000)) "$1" $((8 + 0x20000)) $((255 * 0x200))
  same_bytes board 0 fresh 0 $((0x20000))
  wanted=$1.wanted
  mkdir "$wanted"
  mv log transfers board "$wanted"
}

# Twelve pages; the descriptors 0 to 2 closed in every combination. What is printed must not reach the bus, whose
# descriptor would be one of them if nobody took care.
undisturbed few.svu $((8785 - 243 * 34))
trace_writes=""
if ! is_instrumented && strace -o calls true; then
  trace_writes="strace -y -o calls -e trace=write"
fi
for closed in "" "<&-" ">&-" "2>&-" "<&- >&-" "<&- 2>&-" ">&- 2>&-" "<&- >&- 2>&-"; do
  disturbed sh -c "exec $trace_writes sv_updater --update few.svu $closed"
  if [ -n "$trace_writes" ]; then
    # The node of the simulated bus is a terminal.
    expect_same "writes to the bus with $closed" "$(count calls '^write([0-9]*</dev/\(i2c\|pts\)')" 0
    [ "$closed" = "<&- >&- 2>&-" ] || continue
    expect_same "writes to nowhere" "$([ "$(count calls '^write(1</dev/null')" -gt 12 ] && echo many)" many
  fi
done

# No descriptor is left to fill the gap with: nothing is done at all. (A sanitizer would need one for itself.)
is_instrumented || expect 255 "" "" sh -c 'exec <&- >&-; ulimit -n 1; exec sv_updater --probe'

# Outputs that take nothing, or no more than so much.
for full in ">/dev/full" "2>/dev/full" ">/dev/full 2>&1"; do
  disturbed sh -c "exec sv_updater --update few.svu $full"
done
disturbed bash -c 'ulimit -f 1; exec sv_updater --update few.svu >some'
expect_same "what fits" "$(wc -c <some)" 1024

# A reader that goes away in the middle, of a complete update.
undisturbed new.svu 8785
# shellcheck disable=SC2016
for piped in "2>/dev/null | head -c 500 >some" "2>&1 >/dev/null | head -c 50 >some"; do
  disturbed bash -c "sv_updater --update new.svu $piped"'; exit "${PIPESTATUS[0]}"'
done

# hang_up COMMAND: on a terminal of its own, which is taken away after 500 bytes; then the command is waited for
hang_up() {
  rm -f screen alive
  mkfifo screen alive
  # The command holds the other end of "alive" until it ends.
  script -qfc "exec 9>alive; exec env --default-signal=HUP $1" /dev/null </dev/null >screen &
  exec 7<screen 8<alive
  head -c 500 <&7 >some
  kill -KILL $!
  cat <&7 >rest
  cat <&8
}
export -f hang_up
disturbed bash -c 'hang_up "sv_updater --update new.svu"'
expect_same "updates that were over when the terminal went" "$(count rest "done")" 0

# The same terminal ends a read-back, which may end half-way.
run_board -- bash -c 'hang_up "sv_updater --read memory"'
expect_same "size of the interrupted read-back" "$(wc -c <memory)" 0
[ "$(wc -l <trace)" -lt 25350 ] || fail "the hang-up did not reach the read-back"

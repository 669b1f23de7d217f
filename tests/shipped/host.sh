#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Outputs, disks and terminals that are missing, full or go away. Every update ends as if undisturbed, with the same
# transfers. Signals to sv_board, and its folder. See lib.sh for the arguments.
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

# undisturbed FILE TRANSFERS: keeps the results that disturbed updates with this file are compared with
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

disturbed() {
  update "$@"
  cmp log "$wanted/log" || fail "$*: the system log says: $(cat log)"
  cmp transfers "$wanted/transfers" || fail "$*: other transfers"
  cmp -n $((0x42000)) board "$wanted/board" || fail "$*: another flash"
  expect_same "violations of $*" "$(count err violation)" 0
}

# Descriptors 0 to 2 closed in every combination: the bus must get none of these numbers, or the output would go to it.
undisturbed few.svu $((8785 - 243 * 34))
traced=""
if ! is_instrumented && strace -o calls true; then
  traced="strace -y -o calls -e trace=write"
fi
for closed in "" "<&-" ">&-" "2>&-" "<&- >&-" "<&- 2>&-" ">&- 2>&-" "<&- >&- 2>&-"; do
  disturbed sh -c "exec $traced sv_updater --update few.svu $closed"
  [ -n "$traced" ] || continue
  # The node of the simulated bus is a terminal.
  expect_same "writes to the bus with $closed" "$(count calls '^write([0-9]*</dev/\(i2c\|pts\)')" 0
done
if [ -n "$traced" ]; then
  [ "$(count calls '^write(1</dev/null')" -gt 12 ] || fail "a closed output is not /dev/null"
  strace -o calls -e trace=write sv_updater --help 2>err || true
  expect_same "writes of the usage text" "$(count calls '^write(')" 1
  # Together they are larger than the C library's own buffer.
  run_board -- strace -o calls -e trace=write sv_updater --dump --dump >out 2>err
  expect_same "writes of two dumps" "$(count calls '^write(1, ')" 1
else
  echo "strace does not work here, or the tool has instruments: writes are not counted"
fi
# No descriptor is left for /dev/null: no command runs. (A sanitizer would need a descriptor itself.)
is_instrumented || expect 255 "" "" sh -c 'exec <&- >&-; ulimit -n 1; exec sv_updater --bom-version'

# Full outputs and disks
for full in ">/dev/full" "2>/dev/full" ">/dev/full 2>&1"; do
  disturbed sh -c "exec sv_updater --update few.svu $full"
done
disturbed bash -c 'ulimit -f 1; exec sv_updater --update few.svu >some'
expect_same "size of the output" "$(wc -c <some)" 1024
expect 255 "*99.8%* done " "error : could not write memory (File too large)" \
  run_board --fault dead@7 -- bash -c 'ulimit -f 64; exec sv_updater --read memory'
expect_same "size of the read-back" "$(wc -c <memory)" $((0x10000))

# The reader of the output goes away. That ends the status line and the reports, and no other command.
undisturbed new.svu 8785
# shellcheck disable=SC2016
for piped in "2>/dev/null | head -c 500 >some" "2>&1 >/dev/null | head -c 50 >some"; do
  disturbed bash -c "sv_updater --update new.svu $piped"'; exit "${PIPESTATUS[0]}"'
done
mkfifo pipe
# shellcheck disable=SC2094 # opened for reading first, so that opening it for writing does not wait
exec 3<>pipe 4>pipe 3>&-
for row in "--status 141" "--status-poetest-rebooted 141" "--status-cable 141" "--dump 0" "--dumps 0" "--bom-version 0"; do
  status=0
  run_board -- sv_updater "${row% *}" >&4 2>err || status=$?
  expect_same "status of ${row% *} without a reader" $status "${row#* }"
done
exec 4>&-

# hang_up COMMAND: runs it on a terminal of its own, which goes away after 500 bytes, and waits until it has ended
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
expect_same "updates that had ended when the terminal went" "$(count rest "done")" 0
# A read-back may be interrupted: the hang-up ends it.
run_board -- bash -c 'hang_up "sv_updater --read memory"'
expect_same "size of the interrupted read-back" "$(wc -c <memory)" 0
[ "$(wc -l <trace)" -lt 25350 ] || fail "the hang-up did not reach the read-back"

# A signal to sv_board is one to the program. The board is saved, and nothing else is left, even by SIGKILL.
mkdir tmp
export TMPDIR=$PWD/tmp
for row in "TERM 143" "HUP 129" "KILL 137"; do
  rm -f started signalled
  # shellcheck disable=SC2016 # for the inner shell
  sv_board run --state signalled -- sh -c 'sv_updater --set-mode led1 gn; echo $$ >started; exec sleep 60' &
  until [ -s started ]; do sleep 0.01; done
  kill -s "${row% *}" $!
  status=0
  wait $! 2>err || status=$?
  expect_same "status after ${row% *}" $status "${row#* }"
  while [ -n "$(ls tmp)" ] || kill -0 "$(cat started)"; do sleep 0.01; done 2>err
  expect 0 "*led1=0x0081*" "" sv_board show --state signalled
  [ ! -e signalled.shared ] || fail "${row% *} left the shared board"
done

# TMPDIR
expect 125 "" "sv_board: no folder could be made in none (TMPDIR): No such file or directory" \
  env TMPDIR=none sv_board run -- true
mkdir "$(printf '%080d' 0)"
expect 125 "" "sv_board: *: the name is too long for sockets; set TMPDIR to a shorter one" \
  env TMPDIR="$(printf '%080d' 0)" sv_board run -- true
# shellcheck disable=SC2016
expect 125 "sv_board: the bus could not be set up: *File too large" "" \
  bash -c '(ulimit -f 0; exec sv_board run -- true 2>&1) | cat; exit ${PIPESTATUS[0]}'
expect_same "what is left in TMPDIR" "$(ls tmp "$(printf '%080d' 0)")" "$(printf '%080d:\n\ntmp:' 0)"

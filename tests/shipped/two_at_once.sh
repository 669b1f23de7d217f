#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Processes that share the board's bus, with any timing. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack_few
run_board --state fresh -- true
: >probes
update="sv_updater --update few.svu"

# together SCRIPT: runs it with a new board
together() {
  cp fresh board
  expect 0 "*" "*" run_board --state board --syslog log -- sh -c "$1"
}
transfers() { sed 's/^ *[0-9]* *[0-9.]* //' trace; }

together "$update"
transfers >alone

# Every board has the lock of a board, which an update does not share with readers.
expect 75 "" "sv_ctl: somebody else holds the lock /run/sv_updater/lock" run_board -- flock /run/sv_updater/lock sv_ctl doctor
expect 0 "node     ok  *power    ok  *" "" run_board -- flock -s /run/sv_updater/lock sv_ctl doctor

# Probes do not disturb an update: without their transfers the trace is that of the update alone.
together "$update & u=\$!; while kill -0 \$u; do sv_updater --probe >>probes; done 2>/dev/null; wait \$u"
transfers | grep -v 'mcu reset marker |' >rest
cmp alone rest || fail "a probe changed the update"
expect_same "probes that found the MCU" "$(count probes '^1$')" "$(count trace 'mcu reset marker |')"

# Readers of the identity and the power state can cost an attempt, but never the running region.
together "$update & u=\$!; while kill -0 \$u; do sv_updater --version --status >>read; done 2>/dev/null; wait \$u || true"
same_bytes board 0 fresh 0 $((0x20000))
case $(grep "overall SV" log) in
  *"update = okay") same_bytes board $((0x20000)) few.svu $((8 + 0x20000)) $((255 * 0x200)) ;;
  *"update = ERROR") expect 0 "*running=0*region0.enabled=1*" "" sv_board show --state board ;;
  *) fail "no verdict: $(cat log)" ;;
esac

# Two updates may harm each other, but each ends with a verdict.
cp fresh board
run_board --state board --syslog log -- sh -c "$update & $update; echo \$? >second; wait \$!; echo \$? >first" >out 2>err
expect_same "verdicts" "$(count log 'overall SV MCU update = ')" 2
expect_same "failures by log and by status" "$(count log 'update = ERROR')" "$(cat first second | grep -c 255 || true)"
awk '{ print $1 }' trace | cmp - <(seq "$(wc -l <trace)") || fail "the trace has gaps"

# With one lock around both, the second starts after the first, and both succeed.
# shellcheck disable=SC2086 # words on purpose
locked="flock lock sv_updater --reset-delay 0 --update few.svu --version"
together "$locked & $locked >second; s=\$?; wait \$! && exit \$s"
expect_same "verdicts of locked updates" "$(count log 'update = okay')" 2
expect 0 "*running=0*region0.swid=0x0101?region0.enabled=1*" "" sv_board show --state board
same_bytes board 0 few.svu 8 $((255 * 0x200))
same_bytes board $((0x20000)) few.svu $((8 + 0x20000)) $((255 * 0x200))

# A run within a run: they share settings, flash and time, and each polls in its own way.
cp fresh board
# shellcheck disable=SC2016 # for the inner shell
expect 0 "*active = 1?*" "*" run_board --state board --set polls=2 -- sh -c '
  inner() { sv_board run --fast --trace inner --state board -- sv_updater "$@"; }
  sv_updater --set-mode led1 gn --erase && inner --set-mode led2 gn && sv_updater --update few.svu && sleep 6 && inner --version'
expect_same "polls of the inner run that find the MCU busy" "$(count inner busy)" 0
[ "$(count trace busy)" -gt 0 ] || fail "the outer run polls as the inner one"
expect 0 "*led1=0x0081?led2=0x0081*" "" sv_board show --state board

# Runs of their own share the board of a state file, as if one shell had started all. Some of them are killed.
mkdir tmp
export TMPDIR=$PWD/tmp
cp fresh board
: >probes
run_board --state board --syslog log -- sh -c "$update" >out 2>err &
runs=($!)
for i in $(seq 60); do
  sv_board run --fast --state board -- sv_updater --probe >>probes 2>>err &
  if [ $((i % 4)) -eq 0 ]; then killed+=($!); else runs+=($!); fi
done
kill -KILL "${killed[@]}"
wait "${killed[@]}" 2>>err || true
for run in "${runs[@]}"; do
  wait "$run" || fail "a run on the shared board ended with status $?: $(cat err)"
done
transfers | cmp alone - || fail "another run changed the update"
[ "$(count probes '^1$')" -ge 45 ] || fail "a probe did not find the MCU"
expect 0 "*region0.enabled=0*region1.swid=0x0101?region1.enabled=1*" "" sv_board show --state board
same_bytes board $((0x20000)) few.svu $((8 + 0x20000)) $((255 * 0x200))
while [ -n "$(ls tmp)" ]; do sleep 0.01; done
# A killed run may leave its file before it has joined; the next run removes it.
run_board --state board -- true
[ ! -e board.shared ] || fail "the shared board is left"

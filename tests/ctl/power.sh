#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What sv_ctl status, watch and metrics do to files, pipes and each other. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$(dirname "$0")/../shipped/lib.sh"
touch lock

# The reader goes away, the disk is full
# shellcheck disable=SC2016
run_board -- bash -c 'sv_ctl watch --lock lock --csv --interval 0.1 | head -n 3 >rows; exit "${PIPESTATUS[0]}"'
expect_same "rows before the reader went" "$(wc -l <rows)" 3
for command in status metrics "watch --csv" "watch --count 1"; do
  # shellcheck disable=SC2016,SC2086
  expect 4 "" "sv_ctl: could not write *" run_board -- sh -c 'exec sv_ctl "$@" --lock lock >/dev/full' sh $command
done

# An update holds the lock; between two readings a watch does not
expect 0 "time,reason,source*Z,locked,,*" "" \
  flock lock sv_board run --fast -- sv_ctl watch --lock lock --lock-wait 0.1 --csv --count 1
mkfifo pipe
# terminate WHEN: the watch that writes into the pipe
terminate() {
  local status=0
  kill -TERM "$(pgrep -xP $! sv_ctl)"
  wait $! || status=$?
  expect_same "status after SIGTERM $1" $status 0
  exec 7<&-
}
sv_board run -- sv_ctl watch --lock lock --interval 60 >pipe &
exec 7<pipe
read -r row <&7
[[ $row == *'"reason":null,"source":"link1",'* ]] || fail "the first row: $row"
flock -n lock true || fail "the lock is held between two readings"
terminate "between two readings"

# What is no lock is refused at once.
ln -s lock lock_link
for name in pipe lock_link . /proc/self/status/lock; do
  expect 4 "" "sv_ctl: *the lock $name*" timeout 10 sv_board run -- sv_ctl status --lock $name
done

# A reader that does not read
sv_board run --fast -- sv_ctl watch --lock lock >pipe &
exec 7<pipe
read -r row <&7
until grep -q pipe_write "/proc/$(pgrep -xP $! sv_ctl)/wchan"; do :; done
terminate "waiting for the reader"

# Two readings at once would mix up their values
# shellcheck disable=SC2016
expect 75 "" "sv_ctl: somebody else reads /dev/i2c-0" \
  run_board -- sh -c 'exec 8<>/dev/i2c-0; flock 8; sv_ctl status --lock lock --lock-wait 0.1 8>&-'

# metrics --output replaces a regular file, as a whole and through no link
metrics() { run_board "${board[@]}" -- sv_ctl metrics --lock lock --output "$@"; }
board=()
expect 0 "" "" metrics new.prom
expect_same "sorvan_up" "$(count new.prom '^sorvan_up 1$')" 1
cp new.prom copy
ln new.prom other_name
board=(--preset no-mcu)
expect 4 "" "sv_ctl: no answer from the MCU at 0x08 on /dev/i2c-0" metrics new.prom
expect_same "sorvan_up without an MCU" "$(count new.prom '^sorvan_up 0$')" 1
expect_same "values of the MCU without an MCU" "$(count new.prom -e powerrail -e sorvan_info)" 0
cmp copy other_name || fail "the old file was written to"
board=()
ln -s copy link
expect 4 '{"result":"refused","reason":"output-failed",*' "sv_ctl: cannot replace link: *" metrics link --json
cmp copy other_name || fail "a file was replaced through a link"
expect 4 "" "sv_ctl: cannot replace copy: *" bash -c 'ulimit -f 1; exec "$@"' sh \
  sv_board run --fast -- sv_ctl metrics --lock lock --output copy
cmp copy other_name || fail "a file was lost on a full disk"
expect_same "leftovers" "$(find . -name '.sv-new*' | wc -l)" 0

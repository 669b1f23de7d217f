#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# 200 boards over ssh through the role rollout: what one board costs the control node, and from that the time for 10,000.
# Boards and their sshd are no children that ssh waits for, so their processor time does not count. ssh shares no connections
# here, as it would by default: an upper bound.
set -eu
source_folder=$(realpath "$2")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"
. "$source_folder/tests/fleet/control_node.sh"
export ANSIBLE_FORKS=20
boards=200

pack_few
cat >rollout.yml <<END
- import_playbook: sorvan.mcu.rollout
  vars:
    rollout_firmware: {stage: {src: "{{ inventory_dir }}/few.svu", sha256: $(sha256sum few.svu | cut -d' ' -f1)}}
END
for ((i = 0; i < boards; i++)); do
  board b$i
  echo "b$i rollout_class=stage rollout_command=$work/b$i/bin/sv_ctl"
done >inventory

: >memory
TIMEFORMAT="%R %U %S"
{ time ansible-playbook -i inventory -e '{rollout_batches: [1, 10, 100, "100%"]}' rollout.yml >out 2>&1 </dev/null || cat out; } \
  2>all.time &
while kill -0 $! 2>/dev/null; do
  pgrep -f 'ansible-playbook -i inventory' | sed 's#.*#/proc/&/smaps_rollup#' | xargs cat 2>/dev/null |
    awk '/^Pss:/ { n += $2 } END { print n / 1024 }' >>memory || :
  sleep 1
done
row scale "$boards boards over ssh" "$(cut -d' ' -f2 mcu-rollout.txt | sort | uniq -c | xargs)" "$boards done"

awk -v boards=$boards -v forks=$ANSIBLE_FORKS -v memory="$(sort -g memory | tail -n 1)" '
  function took(per_board, cores, forks,   total, n, i, batches, waits, works) { # in minutes
    n = split("1 10 100 1000 8889", batches, " ")
    for (i = 1; i <= n; i++) {
      waits = int((batches[i] + forks - 1) / forks) * per_board
      works = batches[i] * control / cores
      total += waits > works ? waits : works
    }
    return total / 60
  }
  {
    control = ($2 + $3) / boards
    printf "%d s; control node: %.2f s of processor time for a board, %.1f MB per fork\n", $1, control, memory / forks
    print "minutes for 10000 boards with 50, 100, 500 forks"
    for (cores = 2; cores <= 8; cores *= 4)
      for (per_board = 12; per_board <= 30; per_board += 18)
        printf "%2d s each, %d cores: %d %d %d\n", per_board, cores,
          took(per_board, cores, 50), took(per_board, cores, 100), took(per_board, cores, 500)
  }' all.time
exit "$wrong"

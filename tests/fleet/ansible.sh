#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The collection of fleet/ansible: its checks, and 20 boards without Python, 5 of them over ssh: audit, roll-out, faults,
# gate, bad input. An outcome is the account's, followed by the boards whose flash holds something else.
set -eu
source_folder=$(realpath "$2")
# shellcheck source=tests/shipped/lib.sh
. "$source_folder/tests/shipped/lib.sh"
# shellcheck source=tests/fleet/boards.sh
. "$source_folder/tests/fleet/boards.sh"
# shellcheck source=tests/fleet/control_node.sh
. "$source_folder/tests/fleet/control_node.sh"

pack
pack_few
sv_image pack --region0 "$firmware/v1-region0.bin" --region1 "$firmware/v1-region1.bin" --swid 0x0102 -o other.svu >/dev/null
sha() { sha256sum "$1" | cut -d' ' -f1; }
for play in rollout audit; do
  cat >$play.yml <<END
- import_playbook: sorvan.mcu.$play
  vars:
    rollout_firmware:
      stage: {src: "{{ inventory_dir }}/few.svu", sha256: $(sha few.svu)}
      full: {src: "{{ inventory_dir }}/new.svu", sha256: $(sha new.svu)}
END
done

# --- The boards

# fresh NAME...: new boards, whose file "calls" gets a line per run of sv_ctl. Those named s… are reached over ssh.
fresh() {
  local name
  for name; do
    rm -rf "$name"
    board "$name"
    : >"$name/calls"
    sed -i "2i echo \"\$*\" >>$work/$name/calls" "$name/bin/sv_ctl"
    echo "ansible_connection=$([[ $name = s* ]] && echo ssh || echo local)" >"$name/vars"
  done
}
fault() { echo "${*:2}" >"$1/options"; }
# Updated before, so that it cannot lose what runs
worn() { "$1/bin/sv_ctl" update other.svu 2>/dev/null >&2 && : >"$1/calls" && fault "$1" --fault 'fail@commit/2x*'; }
away() { echo "ansible_connection=ssh ansible_ssh_extra_args='-o ProxyCommand=false'" >"$1/vars"; }
locks=()
hold() { exec {held}>"$1/lock" && flock "$held" && locks+=("$held"); }
release() {
  for held in "${locks[@]}"; do exec {held}>&-; done
  locks=()
}

# play BATCHES PLAYBOOK BOARDS [OPTION...]
play() {
  local name
  for name in $3; do
    echo "$name rollout_command=$work/$name/bin/sv_ctl rollout_class=stage $(tr '\n' ' ' <"$name/vars")"
  done >inventory
  echo "[all:vars]
    ansible_python_interpreter=/none" >>inventory
  rm -f mcu-*.txt
  timeout 300 ansible-playbook -i inventory "$2" -e "{rollout_batches: [$1], rollout_delay: 1, rollout_retries: 2, \
    rollout_lock_wait: 0}" "${@:4}" >out 2>&1 </dev/null && status=0 || status=$?
}
# The outcomes with their counts, and every line that is not what the flash holds
account() {
  cut -d' ' -f2 mcu-*.txt | sort | uniq -c | awk '{ printf "%s%s %d", sep, $2, $1; sep = ", "; n += $1 } END { printf " = %d", n }'
  local name outcome swid holds
  while read -r name outcome swid _; do
    holds=$(runs "$name")
    case $outcome:$holds in
      done:0x0101 | current:0x0101 | unconfirmed:* | failed:0x0102) ;;
      would-update:0x0100 | refused:0x0100 | locked:0x0100 | unreachable:0x0100 | untouched:0x0100) ;;
      *) swid=wrong ;;
    esac
    [ "$outcome" != untouched ] || [ ! -s "$name/calls" ] || swid=touched
    [ "$swid" = - ] || [ "0x$swid" = "$holds" ] || echo "; $name is $outcome and runs $holds"
  done < <(cat mcu-*.txt)
}
changed() { sed -n 's/.*changed=\([0-9]*\).*/\1/p' out | awk '{ n += $1 } END { print n + 0 }'; }
calls() { cat -- */calls | wc -l; }

all="b01 s1 b02 b03 b04 b05 b06 b07 b08 b09 s2 b10 b11 b12 s3 s4 b13 b14 b15 s5"
# shellcheck disable=SC2086 # words on purpose
fresh $all

play 20 audit.yml "$all"
row ansible "audit, with diff" "$(account); $(grep -c '^-swid: 0100' out) to $(grep -c '^+swid: 0101' out); calls $(calls)" \
  "would-update 20 = 20; 20 to 20; calls 20"
play "1, 4, 15" rollout.yml "$all"
row ansible "first run" "$(account); changed $(changed); calls $(calls)" "done 20 = 20; changed 20; calls 40"
play "1, 19" rollout.yml "$all"
row ansible "second run" "$(account); changed $(changed); calls $(calls)" "current 20 = 20; changed 0; calls 60"

# --- Faults: batch 3 has as many as the limits allow; batch 4 has three boards whose end nobody knows

# shellcheck disable=SC2086 # words on purpose
fresh $all
# Held during the first try
sed -i "3i [ \$(wc -l <$work/b02/calls) -gt 1 ] || { exec 9>$work/b02/lock; flock 9; }" b02/bin/sv_ctl
fault b03 --preset no-mcu
fault b04 --preset charger-backup
hold b05
worn b06
worn b07
away b08
away b09
away s2
fault b12 --fault kill@commit/258
# The large file takes 3 s. The connection breaks after the first page.
echo rollout_class=full >>s3/vars
fault s3 "--trace $work/s3/trace --unbuffered"
sed -i "2i (timeout 60 sh -c 'until grep -q commit $work/s3/trace; do sleep 0.1; done'; kill -9 \$(cat $work/s3/sshd)) 2>/dev/null &" s3/bin/sv_ctl
sed -i 's/^exec //; s/"\$@"$/"$@" >\/dev\/null 2>\&1; exit 255/' s4/bin/sv_ctl
play "1, 2, 10, 4, 3" rollout.yml "$all"
row ansible "all faults at once; stops after batch 4" "$(account); status $status" \
  "done 6, failed 2, locked 1, refused 2, unconfirmed 3, unreachable 3, untouched 3 = 20; status 2"
row ansible "tries of: busy for a while, cut ssh, status 255" "$(wc -l <b02/calls) $(wc -l <s3/calls) $(wc -l <s4/calls)" "2 1 1"

# --- The same playbook again, when all is repaired. The update of s3 ended without its connection.

release
fresh b06 b07
for name in b03 b04 b08 b09 b12; do fault $name; done
for name in b08 b09; do echo ansible_connection=local >$name/vars; done
echo ansible_connection=ssh >s2/vars
fault s3
sed -i '2d' s3/bin/sv_ctl
sed -i 's/ >\/dev\/null.*//' s4/bin/sv_ctl
play "1, 2, 10, 4, 3" rollout.yml "$all"
row ansible "the same playbook, all repaired" "$(account); changed $(changed); status $status" \
  "current 8, done 12 = 20; changed 12; status 0"

# --- The gate: one board more than the limit allows, in a batch of five before a batch of one

while IFS='|' read -r case bad expected; do
  fresh g1 g2 g3 g4 g5 g6
  eval "$bad"
  play "5, 1" rollout.yml "g1 g2 g3 g4 g5 g6"
  release
  row ansible "gate: $case" "$(account); status $status" "$expected, untouched 1 = 6; status 2"
done <<'END'
2 of 5 refused|fault g1 --preset no-mcu; fault g3 --preset charger-backup|done 3, refused 2
2 of 5 failed|worn g1; worn g2|done 3, failed 2
2 of 5 locked|hold g4; hold g5|done 3, locked 2
3 of 5 out of reach|away g1; away g2; away g5|done 2, unreachable 3
1 of 5 unconfirmed|fault g2 --fault kill@commit/258|done 4, unconfirmed 1
END

# --- Bad input: an error before any board is called, or even connected to

: >empty.svu
while IFS='|' read -r case edit text; do
  fresh s1 s2
  sed "$edit" rollout.yml >bad.yml
  play "1, 1" bad.yml "s1 s2"
  grep -qF -e "$text" out || text="no such text"
  row ansible "$case" "status $status; calls $(cat s1/calls s2/calls | wc -l); connections $(cat s[12]/sshd 2>/dev/null | wc -l); $text" \
    "status 2; calls 0; connections 0; ${text/no such text/the text of the error}"
done <<'END'
no SHA-256|s/stage:.*/stage: {src: few.svu}/|missing required arguments: sha256
other SHA-256|s/\(stage.*sha256: \).*}/\10000}/|few.svu has the SHA-256
unknown class|s/stage:/other:/|rollout_class is none of other, full on: s1, s2
no update file|s/few.svu/empty.svu/; s/\(stage.*sha256: \).*}/\1e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855}/|is no update file
no file|s/few.svu/none.svu/|none.svu
END

# --- The collection itself; the checks of ansible-test that are left out want pip, and with it a network

cd "$collection"
checks() {
  ansible-lint --nocolor --offline --strict --profile production 2>&1 | grep Passed
  yamllint --strict . && echo yamllint
  ansible-doc -t module sorvan.mcu.firmware | grep -o '> SORVAN.MCU.FIRMWARE'
  ansible-galaxy collection build --output-path "$work" 2>&1 | grep -o 'sorvan-mcu-[0-9.]*.tar.gz'
  # shellcheck disable=SC2046 # words on purpose
  ansible-test sanity --python "$(/usr/bin/python3 -c 'import sys; print("%d.%d" % sys.version_info[:2])')" $(printf -- \
    '--skip-test %s ' ansible-doc import pep8 pylint runtime-metadata validate-modules yamllint) >"$work/sanity" 2>&1 ||
    cat "$work/sanity"
  echo "sanity $(grep -c 'Running sanity test' "$work/sanity")"
}
checks >"$work/checks" || : # compared below
row ansible "lint, documentation, build, sanity" "$(paste -sd ';' "$work/checks")" "Passed with production profile: 0\
 failure(s), 0 warning(s) on 13 files.;yamllint;> SORVAN.MCU.FIRMWARE;sorvan-mcu-1.0.0.tar.gz;sanity 25"
exit "$wrong"

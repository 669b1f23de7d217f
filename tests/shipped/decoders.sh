#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Wireshark's dissector or sigrok's decoder says of a capture what --trace says of the same transfers, line by line.
# Usage: decoders.sh FOLDER_OF_PROGRAMS SOURCE_FOLDER wireshark|sigrok
set -eu
decoders=$(realpath "$2")/decoders
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"

# check_block FILE LANGUAGE: the generated block of the file is current
check_block() {
  decoder_tables | diff - <(sed -n '/^BEGIN: generated/,/^END: generated/p' "$1") ||
    fail "$1: replace its generated block by the output of decoder_tables"
}

case $3 in
  wireshark)
    check_block "$decoders/wireshark/sorvan.lua" lua
    for compiler in luac5.3 luac5.4; do # of newer Wiresharks
      ! command -v $compiler >/dev/null || $compiler -p "$decoders/wireshark/sorvan.lua" || fail "not for $compiler"
    done
    needed=tshark
    ;;
  sigrok)
    check_block "$decoders/sigrok/sorvan_mcu/pd.py" python
    needed=sigrok-cli
    ;;
esac
command -v "$needed" >/dev/null || { echo "$needed is not installed"; exit 77; }

# session NAME OPTION...: runs a program on the board, into NAME.pcapng and NAME.words
session() {
  local name=$1 status=0
  shift
  sv_board run --fast --trace trace --capture "$name.pcapng" "$@" >out 2>&1 || status=$?
  { [ $status -ne 125 ] && [ -s trace ]; } || fail "$*: $(cat out)"
  cut -c20- trace >"$name.words"
}
# update NAME FAULT...: of twelve pages
update() {
  local name=$1 faults=() fault
  shift
  for fault in "$@"; do faults+=(--fault "$fault"); done
  session "$name" "${faults[@]}" -- sv_updater --reset-delay 0 --update few.svu
}
# tshark's output
dissect() {
  tshark -X "lua_script:$decoders/wireshark/sorvan.lua" "$@" 2>err || fail "tshark $*: $(cat err)"
  ! grep -i 'lua' err || fail "tshark $*"
}
# decode CLASSES FILE: the decoder's annotations
decode() {
  sv_capture vcd "$2" --replace -o vcd
  sigrok-cli -i vcd -P i2c:scl=SCL:sda=SDA,sorvan_mcu -A "sorvan_mcu=$1" | sed 's/^sorvan_mcu-1: //'
}
if [ "$3" = sigrok ]; then # a copy, for Python leaves its own files beside it
  cp -r "$decoders/sigrok" sigrok
  export SIGROKDECODE_DIR=$PWD/sigrok
fi

pack_few
for preset in $(sv_board presets | sed -n 's/^\([^ :]*\): .*/\1/p'); do
  session "preset_$preset" --preset "$preset" -- sv_updater --version --status --dump --status-cable
done
update faults nack@2 slow=3@read-version#2 fail=0xbf@erase nack@segment/256#3 lost@commit/256 flip@commit/257+1ms \
  skip@commit/258 slow=4@segment/259 fail=0x81@commit/260x2 nack@reset-delayed
session read --fault kill@400 -- sv_updater --read flash
session hang --fault hang@read-version --fault kill@40 -- sv_updater --version
session modes -- sv_updater --set-mode led1 gn --reset --reset-now-sync --probe
cat >odd.sh <<'EOF'
for code in 0x01 0x05 0x40 0x55; do
  i2ctransfer -y 0 w2@8 0x0e $code
  i2ctransfer -y 0 w1@8 0x0e r1
  i2ctransfer -y 0 w2@8 0xa6 $code w1@8 0xa6 r1
done
i2ctransfer -y 0 w1@8 0xa6
i2ctransfer -y 0 r3@8
i2ctransfer -y 0 w1@8 0xa5 r200
i2ctransfer -y 0 w2@8 0x0f 0x11 w2@8 0x0f 0x12
i2ctransfer -y 0 w4@8 0x0c 1 2 0x8b
i2ctransfer -y 0 w8@8 0xa0 1 1 1 1 1 0xda 0x41
i2ctransfer -y 0 w3@8 0xa5 0x41 0x43
i2ctransfer -y 0 w3@8 0xfe 1 1
i2ctransfer -y 0 w1@8 0x00 r19
i2ctransfer -y 0 w1@9 0x1b r2 w1@8 0 r20
i2ctransfer -y 0 w2@0x50 0 4
i2ctransfer -y 0 w1@0x33 0 r3
i2cdetect -y 0
EOF
session odd -- sh odd.sh
if [ "$3" = wireshark ]; then
  for fault in lost@5 dead@150 restart@200 cut@200 tear=10@erase tear=1@segment/257 tear=100@commit/257 tear=0@enable \
    tear=1@disable tear=1@reset-delayed fail@reset-delayed skip@enable; do
    update "${fault/\//-}" "$fault" kill@700 # after a restart the tool reads 5001 times that nothing is finished
  done
fi

cat ./*.pcapng >all.pcapng
cat ./*.words >words
for pattern in 'not acknowledged' 'finished, failed' busy 'frame reset-now' 'parameter 0081' 'status block' \
  'charger register' '^33 read' 'address only' 'status of command-55' 'response of read-segment'; do
  grep -q -e "$pattern" words || fail "no session holds '$pattern'"
done

# Four erases: done at the third poll, refused, not acknowledged, and one whose end nobody reads
session erases --fault slow=3@erase --fault fail=0x81@erase#2 --fault nack@erase#3 -- sh -c \
  "sv_updater --erase; sv_updater --erase; sv_updater --erase; i2ctransfer -y 0 w3@8 0xa5 0x42 0x43; sv_updater --probe"

if [ "$3" = sigrok ]; then
  decode command:answer all.pcapng >decoded
  diff words decoded || fail "sigrok has other words than --trace"
  expect_same warnings "$(decode warning erases.pcapng)" "erase failed, status 81
not acknowledged"
  exit
fi

dissect -r all.pcapng -T fields -e sorvan.info >dissected
grep . dissected | diff words - || fail "tshark has other words than --trace"

# fields FILE FILTER FIELD...: of the packets that pass
fields() {
  local file=$1 filter=$2
  shift 2
  dissect -2 -r "$file" -Y "$filter" -T fields -E separator='|' "${@/#/-e}"
}
expect_same erases "$(fields erases.pcapng 'sorvan.command == erase' frame.number \
  sorvan.{code,status,request_in,response_in,polls})" "1|0x43|||7|
3||0x00|1||
5||0x00|1||
7||0xc0|1||3
8|0x43|||10|
10||0x81|8||1
11|0x43||||
12|0x43||||"
changes="Changes flash, page buffer, regions or the running program"
expect_same "expert information" "$(fields erases.pcapng 'sorvan.failed || sorvan.unanswered' frame.number \
  _ws.expert.message)" "10|erase failed, status 81
11|not acknowledged,Not acknowledged,$changes
12|The end of this command was never read,$changes"
expect_same "changes and times" \
  "$(fields erases.pcapng 'sorvan.changes || sorvan.time > 0' frame.number | tr '\n' ' ')" "1 7 8 10 11 12 "
expect_same "fields" "$(fields preset_healthy.pcapng \
  'sorvan.hwid || sorvan.region_size || sorvan.source || sorvan.result == 0x352' \
  sorvan.{swid,serial,production_minutes,region_size,source,teko1_imp_max,marker,command} | sort -u)" \
  "0x0100|202611220000000000000000000000000001|29500000|||||read-version
|||131072||||read-flash-status
||||2|15|0x00|
||||2|15|0x11|
|||||||read-vcc"

# A capture without its first packet, and of at most one byte after the address
editcap -s 2 erases.pcapng cut.pcapng 1
expect_same "words of a cut capture" "$(dissect -r cut.pcapng -T fields -e sorvan.info | grep .)" \
  "mcu status of nothing: busy | a6 -> 00
mcu status of nothing: busy | a6 -> 00
mcu status of nothing: finished, succeeded | a6 -> c0
mcu select register a5 | a5 …
mcu status of nothing: finished, failed | a6 -> 81
mcu select register a5 - not acknowledged | a5 …
mcu select register a5 | a5 …
mcu reset marker | 0f -> 00"

command -v dumpcap >/dev/null || { echo "no live capture: dumpcap is not for this user"; exit; }
mkfifo live
dissect -i live -T fields -e sorvan.info >followed &
timeout 60 sv_board run --capture live -- sv_updater --version >out
wait $! || fail "tshark did not follow a capture"
grep . followed | diff - <(head -n 9 preset_healthy.words) || fail "tshark has other words in a capture that it follows"

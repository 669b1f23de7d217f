#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Wireshark's dissector or sigrok's decoder says of a capture what --trace says of the same transfers, line by line.
# Usage: decoders.sh FOLDER_OF_PROGRAMS SOURCE_FOLDER wireshark|sigrok
set -eu
decoders=$(realpath "$2")/decoders
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"

case $3 in
  wireshark) decoder=$decoders/wireshark/sorvan.lua needed=tshark ;;
  sigrok) decoder=$decoders/sigrok/sorvan_mcu/pd.py needed=sigrok-cli ;;
esac
decoder_tables | diff - <(sed -n '/^BEGIN: generated/,/^END: generated/p' "$decoder") ||
  fail "$decoder: replace its generated text by the output of decoder_tables"
# Newer Wiresharks have newer Luas: the file must load there, where numbers can become 16.0
any='setmetatable(_G, {__index = function() return any end})
  function index(_, name) assert(not name:find("%.0"), name) return any end
  any = setmetatable({}, {__index = index, __call = function() return any end})'
for lua in lua5.3 lua5.4; do
  [ "$3" = sigrok ] || ! command -v $lua >/dev/null || $lua -e "$any" "$decoder" || fail "not for $lua"
done
command -v "$needed" >/dev/null || { echo "$needed is not installed"; exit 77; }

# session NAME OPTION...: runs a program on the board, into NAME.pcapng and NAME.words
session() {
  local name=$1 status=0
  shift
  sv_board run --fast --trace trace --capture "$name.pcapng" "$@" >out 2>&1 || status=$?
  { [ $status -ne 125 ] && [ -s trace ]; } || fail "$*: $(cat out)"
  cut -c20- trace >"$name.words"
}
# update NAME OPTION...: of twelve pages
update() {
  session "$@" -- sv_updater --reset-delay 0 --update few.svu
}
# tshark's output
dissect() {
  tshark -X "lua_script:$decoder" "$@" 2>err || fail "tshark $*: $(cat err)"
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
update faults --fault nack@2 --fault slow=3@read-version#2 --fault fail=0xbf@erase --fault nack@segment/256#3 \
  --fault lost@commit/256 --fault flip@commit/257+1ms --fault skip@commit/258 --fault slow=4@segment/259 \
  --fault fail=0x81@commit/260x2 --fault nack@reset-delayed
session read --fault kill@400 -- sv_updater --read flash
session hang --fault hang@read-version --fault kill@40 -- sv_updater --version
session modes -- sv_updater --set-mode led1 gn --reset --reset-now-sync --probe
{
  for code in 0x01 0x05 0x40 0x55; do
    printf '%s\n' "w2@8 0x0e $code" "w1@8 0x0e r1" "w2@8 0xa6 $code w1@8 0xa6 r1"
  done
  printf '%s\n' "w1@8 0xa6" r3@8 "w1@8 0xa5 r200" "w2@8 0x0f 0x11 w2@8 0x0f 0x12" "w4@8 0x0c 1 2 0x8b" \
    "w8@8 0xa0 1 1 1 1 1 0xda 0x41" "w3@8 0xa5 0x41 0x43" "w4@8 0xa4 1 0x42 0x43" "w3@8 0xfe 1 1" "w1@8 0x00 r19" \
    "w1@9 0x1b r2 w1@8 0 r20" "w2@0x50 0 4" "w1@0x33 0 r3"
} >odd
session odd -- sh -c "xargs -L1 i2ctransfer -y 0 <odd; i2cdetect -y 0"
if [ "$3" = wireshark ]; then
  for fault in lost@5 dead@150 restart@200 cut@200 tear=10@erase tear=1@segment/257 tear=100@commit/257 tear=0@enable \
    tear=1@disable tear=1@reset-delayed fail@reset-delayed skip@enable; do
    update "${fault/\//-}" --fault "$fault" --fault kill@700 # or 5001 reads find nothing finished after a restart
  done
fi

cat ./*.pcapng >all.pcapng
cat ./*.words >words
for pattern in 'not acknowledged' 'finished, failed' busy 'frame reset-now' 'parameter 0081' 'status block' \
  'charger register' '^33 read' 'address only' 'status of command-55' 'response of read-segment'; do
  grep -q -e "$pattern" words || fail "no session holds '$pattern'"
done

# Four erases: one whose end nobody reads, one done at the third poll, one refused, one not acknowledged; then
# read-version and reset-now, without a read of their status
session erases --fault slow=3@erase#2 --fault fail=0x81@erase#3 --fault nack@erase#4 -- sh -c \
  "i2ctransfer -y 0 w3@8 0xa5 0x42 0x43; sv_updater --erase; sv_updater --erase; sv_updater --erase
   i2ctransfer -y 0 w2@8 0xa6 0; i2ctransfer -y 0 w3@8 0xa5 0x42 0x47"

if [ "$3" = sigrok ]; then
  decode command:answer all.pcapng | diff words - || fail "sigrok has other words than --trace"
  expect_same warnings "$(decode warning erases.pcapng)" "the end of erase was never read
erase failed, status 81
not acknowledged
the end of read-version was never read"
  exit
fi

dissect -r all.pcapng -T fields -e sorvan.info | grep . | diff words - || fail "tshark has other words than --trace"

# fields FILE FILTER FIELD...: of the packets that pass
fields() {
  local file=$1 filter=$2
  shift 2
  dissect -2 -r "$file" -Y "$filter" -T fields -E separator='|' "${@/#/-e}"
}
changes="Changes flash, page buffer, regions or the running program"
expect_same erases "$(fields erases.pcapng 'sorvan.command == erase' frame.number \
  sorvan.{code,status,request_in,response_in,polls} _ws.expert.message)" \
  "1|0x43|||||The end of this command was never read,$changes
2|0x43|||8||$changes
4||0x00|2|||
6||0x00|2|||
8||0xc0|2||3|
9|0x43|||11||$changes
11||0x81|9||1|erase failed, status 81
12|0x43|||||not acknowledged,Not acknowledged,$changes"
filter='sorvan.failed || sorvan.unanswered || sorvan.time > 0'
expect_same "what went wrong, and times" "$(fields erases.pcapng "$filter" frame.number | xargs)" "1 8 11 12 13"
expect_same "changes" "$(fields erases.pcapng sorvan.changes frame.number | xargs)" "1 2 9 12 14"
expect_same "another address" "$(dissect -o sorvan.address:9 -r odd.pcapng -T fields -e sorvan.info | grep '^mcu')" \
  "$(sed -n 's/^charger register\(.*-> .*\)/mcu read 20 bytes at\1/p; s/^charger address/mcu address/p' odd.words)"
expect_same "fields" "$(fields preset_healthy.pcapng \
  'sorvan.hwid || sorvan.region_size || sorvan.source || sorvan.result == 0x352 || sorvan.w1_status' \
  sorvan.{swid,serial,production_minutes,region_size,source,teko1_imp_max,marker,command} | sort -u)" \
  "0x0100|202611220000000000000000000000000001|29500000|||||read-version
|||131072||||read-flash-status
||||2|15|0x00|
||||2|15|0x11|
|||||||read-eeprom
|||||||read-rom
|||||||read-vcc"

# Many packets of nothing, then a capture without its first packets, and of at most one byte after the address
editcap -C 9999 preset_healthy.pcapng cut.pcapng
editcap -s 2 erases.pcapng - 1-2 >>cut.pcapng
expect_same "words of a cut capture" "$(dissect -r cut.pcapng -T fields -e sorvan.info | grep . | tail -n 4)" \
  "mcu status of nothing: finished, failed | a6 -> 81
mcu select register a5 - not acknowledged | a5 …
mcu select register a6 | a6 …
mcu select register a5 | a5 …"

command -v dumpcap >/dev/null || { echo "no live capture: dumpcap is not for this user"; exit; }
mkfifo live
dissect -i live -T fields -e sorvan.info >followed &
timeout 60 sv_board run --capture live -- sv_updater --version >out
wait $! || fail "tshark did not follow a capture"
grep . followed | diff - <(head -n 9 preset_healthy.words) || fail "tshark has other words in a capture that it follows"

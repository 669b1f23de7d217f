#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# sv_safe_update through every one of its exit statuses. See ../shipped/lib.sh for the first two arguments; the third is
# the shell: dash or busybox.
set -eu
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$(dirname "$0")/../shipped/lib.sh"
safe=$(command -v sv_safe_update)
shell=$3
[ "$shell" != busybox ] || shell="busybox ash"
pack_few
run_board --state fresh -- true
cp few.svu ./-few.svu
mkfifo pipe
: >there
printf 'hwid: 0001\nhwid: 0003 0005\n' | cat - few.svu >for_three.svu
printf 'version: 2\nhwid: 0004 0005\n' | cat - few.svu >for_others.svu
printf 'sha256: %064d\nsha256: \n' 0 | cat - few.svu >wrong_sum.svu
printf 'sha256: %s\n' "$(sha256sum <few.svu | cut -d' ' -f1)" | cat - few.svu >right_sum.svu

# Nothing for region 1, and all checksums right
cp few.svu hollow.svu
poke hollow.svu $((8 + 0x42000 + 256)) '\0\0\0\0\0\0\0\0\0\0\0\0'
poke hollow.svu $((270902 - 24 + 8)) '\xc1\x1c'
poke hollow.svu $((270902 - 2)) '\xf1\xf4'

# A tool that takes part in the plot: $plot runs before the command $at, and $cut is the last line that is seen of it.
cat >plotter <<'END'
#!/bin/sh
case " $* " in
    *" $at "*)
        eval "$plot"
        [ -z "${cut:-}" ] || { sv_updater "$@" 2>all; sed "/$cut/q" all >&2; exit 137; }
        ;;
esac
exec sv_updater "$@"
END
chmod +x plotter
# shellcheck disable=SC2016 # of the tool that runs it
interrupt='kill -TERM $PPID; kill -INT $PPID; kill -HUP $PPID; kill -QUIT $PPID'

old="region 0 runs software id 0100, checksum 4de3"
new="region 1 runs software id 0101, checksum 7d2b"
begin="file:   few.svu, software id 0101, checksums ff1b 7d2b"$'\n'"MCU:    hardware id 0003, $old"$'\n'"power:  Ln1/1"$'\n'
okay="*info  : overall SV MCU update = okay"
error="*error : overall SV MCU update = ERROR"
todo="sv_safe_update: what to do"
unconfirmed="sv_safe_update: unconfirmed"

# try STATUS STDOUT STDERR [BOARD OPTIONS] -- [OPTIONS]: with a copy of $board and with $file
board=fresh file=few.svu
try() {
  local status=$1 out=$2 err=$3 options=()
  shift 3
  while [ "$1" != -- ]; do
    options+=("$1")
    shift
  done
  cp "$board" board
  # shellcheck disable=SC2086 # two words at times
  expect "$status" "$out" "$err" run_board --state board "${options[@]}" -- $shell "$safe" --lock lock "${@:2}" -- "$file"
}

board_has() {
  local shown
  shown=$(sv_board show --state board | tr '\n' ' ')
  # shellcheck disable=SC2053
  [[ $shown == *$1* ]] || fail "the board: $shown"
}

# What changes the flash, the regions or what runs; the reset marker; the counters
unchanged() {
  ! grep -E 'frame (erase|segment|commit|enable|disable|reset)|reset marker :=|reset-diagnostics' trace || fail "written"
}

done_or_current() {
  try 0 "${begin}update: into region 1"$'\n'"waiting for the MCU to restart"$'\n'"done: $new" "$okay" --
  board_has "running=1 *region0.enabled=0 *region1.enabled=1"
  cp board updated
  board=updated try 3 "*current: $new" "" --
  unchanged
  board=updated try 0 "*done: region 0 runs software id 0101, checksum ff1b" "$okay" -- --force
  same_bytes board 0 few.svu 8 $((255 * 0x200))
  try 0 "*backup: kept"$'\n'"*done: $new" "$okay" -- --backup kept --wait=20 --bus 0 -a 0x08
  same_bytes kept 0 fresh 0 $((0x42000))
  try 0 "*power:  PoE*done: $new" "$okay" --preset poe-only --
  try 0 "*power:  unknown*done: $new" "$okay" --preset old-firmware --
  try 0 "*power:  none*done: $new" "$okay" --preset charger-backup -- -p
  try 0 "*done: $new" "$okay" --fault nack@1 --fault fail@commit/257 --
  try 0 "*waiting for the MCU to restart"$'\n'"done: region 0 runs software id 0101, checksum ff1b" "*$okay" --fault cut@enable --
  board_has "running=0 *region0.enabled=1 *region1.enabled=0"
  try 0 "*asking once more for the reset*done: $new" "$okay" --fault skip@reset-delayed --
  file=-few.svu try 0 "*done: $new" "$okay" --
  file=for_three.svu try 0 "*done: $new" "$okay" --
  file=right_sum.svu try 0 "*done: $new" "$okay" --
  at=--update plot=$interrupt SV_UPDATER=./plotter try 0 "*done: $new" "$okay" --
}

checked_only() {
  try 0 "${begin}would-update: region 1 would be programmed with software id 0101" "" -- --check --backup unmade
  unchanged
  [ ! -e unmade ] || fail "a backup was made"
  board=updated try 3 "*\"current\"*" "*current: $new" -- -cj
}

# refused REASON [BOARD OPTIONS] -- [OPTIONS]: and nothing was written
refused() {
  try 4 "*" "sv_safe_update: refused: $1" "${@:2}"
  unchanged
}

refusals() {
  refused "the MCU does not answer: could not read version *" --preset no-mcu --
  refused "no source feeds the board: *" --preset charger-backup -- --check
  refused "the MCU does not tell its power state" --fault 'nack@reg-00x*' --
  refused "there exists already" -- --backup there
  refused "cannot write nowhere/kept" -- --backup nowhere/kept
  refused "cannot open the lock nowhere/lock" -- --lock nowhere/lock
  refused "segments of the flash that could not be read: 2" --fault fail@read-segment/5x2 -- --backup half
  [ "$(echo half*)" = "half*" ] || fail "half a backup is left"
  refused "the MCU does not answer: opening bus failed" -- --bus 7
  SV_UPDATER=./nothing refused "cannot run ./nothing" --
  at=--debug-update plot=$interrupt SV_UPDATER=./plotter refused "interrupted" --
  file=absent.svu refused "cannot read absent.svu" --
  file=fresh refused "fresh is no update file for this MCU: invalid file (could not find header)" --
  file=wrong_sum.svu refused "wrong_sum.svu does not have the SHA-256 that it names" --
  file=for_others.svu refused "for_others.svu is for hardware 0004 0005, and this is 0003" --
  file=hollow.svu refused "hollow.svu holds nothing for region 1" --
  cp few.svu gone.svu
  at=--update plot="rm gone.svu" SV_UPDATER=./plotter file=gone.svu try 4 "*" \
    "*error : could not open file"$'\n'"sv_safe_update: refused: the update did not begin: could not open file" --
  unchanged
}

# The region that ran before is intact and enabled, and runs.
failures() {
  local fault
  for fault in fail@erasex* lost@erasex* fail@segment/258x* fail@commit/260x* skip@commit/261x* fail@enablex* lost@enablex*; do
    try 5 "${begin}update: into region 1" "*$error"$'\n'"sv_safe_update: failed: $old, as before: could not *"$'\n'"$todo: keep the power on, *" \
      --fault "$fault" --
    board_has "running=0 *region0.enabled=1"
    same_bytes board 0 fresh 0 $((0x20000))
  done
}

# not_confirmed MESSAGE ADVICE RUNNING,ENABLED0,ENABLED1 [BOARD OPTIONS]
not_confirmed() {
  try 6 "*update: into region *" "*$unconfirmed: $1"$'\n'"$todo: $2" "${@:4}" --
  board_has "running=${3%%,*} *region0.enabled=${3:2:1} *region1.enabled=${3##*,}"
}

open_ends() {
  run_board --state waiting -- sv_updater --update-without-reset --update few.svu >out 2>err
  not_confirmed "the new firmware is complete and enabled, and may not run: could not disable *" \
    "sv_updater --reset-now --update few.svu" 0,1,1 --fault 'fail@disablex*'
  not_confirmed "the new firmware is complete and enabled, and may not run: could not disable *" \
    "sv_updater --reset-now --update few.svu" 0,0,1 --fault 'lost@disablex*'
  not_confirmed "it may be that neither region can start now: could not write page 100 *" "keep the power on*" 0,0,0 \
    --fault lost@disable --fault 'fail@commit#13x*'
  board=waiting not_confirmed "it may be that neither region can start now: could not write page 100 *" \
    "keep the power on*" 0,0,0 --fault 'fail@commitx*'
  not_confirmed "the update failed and the MCU does not answer: *" "*a power cycle*" 0,1,0 --fault dead@segment/257
  not_confirmed "the update was programmed, and the MCU has not answered since: *" "*a power cycle" 0,0,1 \
    --fault dead@reset-delayed
  not_confirmed "the update was programmed, but $old" "sv_updater --reset-now; *" 0,0,1 --fault 'skip@reset-delayedx*'
  export at=--update SV_UPDATER=./plotter
  plot="sv_updater --upd few.svu --version >/dev/null 2>&1" not_confirmed \
    "the update failed, and now $new: could not write page 000 *" "sv_updater --version" 1,0,1 --fault 'fail@commit#13x*'
  cut="doing update" plot="" not_confirmed "the tool ended with 137 in the middle of the update" "keep the power on*" 1,0,1
  cut="disabled current" plot="" not_confirmed "the tool ended with 137 after the new region was enabled *" \
    "sv_updater --reset-now, and no other update before" 1,0,1
  unset at SV_UPDATER
}

# The reset of an update before this one comes due, or it does not.
resets_of_before() {
  run_board --state due -- sv_updater --update few.svu >out 2>err
  board=due try 3 "*current: $new, after a reset that was due" "" --
  board=waiting try 0 "*waiting for a reset that may be due"$'\n'"update: into region 1*done: $new" "$okay" --
}

others() {
  # shellcheck disable=SC2086
  expect 75 "" "sv_safe_update: busy: somebody else holds lock" flock lock $shell "$safe" -l lock few.svu
  local words
  for words in "" "a b" "-x a" "--wait a" "--wait=1s a" "--wait 08 a" "--wait 10000 a" "--bus -1 a" "--addr 0xg a" "--backup= a" "a --lock"; do
    # shellcheck disable=SC2086
    expect 64 "" "sv_safe_update: *Try 'sv_safe_update --help'." $shell "$safe" $words
  done
  # shellcheck disable=SC2086
  expect 0 "usage: sv_safe_update *  75  busy: *" "" $shell "$safe" --help
  # shellcheck disable=SC2086
  expect 0 "sv_safe_update [0-9]*" "" $shell "$safe" -V
  # shellcheck disable=SC2086
  expect 64 '*"result": "usage", "exit": 64*' "sv_safe_update: the name of *" $shell "$safe" "" -cj
  # shellcheck disable=SC2086
  expect 4 "" 'sv_safe_update: refused: cannot open the lock a\\c/lock' $shell -e "$safe" --lock 'a\c/lock' few.svu
  # shellcheck disable=SC2086
  expect 4 "" "sv_safe_update: refused: cannot open the lock pipe" $shell "$safe" --lock pipe few.svu
  # shellcheck disable=SC2086
  expect 4 "" "sv_safe_update: refused: cannot read few.svu" $shell "$safe" --lock lock few.svu$'\n'
  # shellcheck disable=SC2016,SC2086
  expect 0 "" "cat: *" run_board --state untouched -- sh -c '"$@" >/dev/full' closed $shell "$safe" --lock lock --help few.svu
  unchanged
  # shellcheck disable=SC2016,SC2086
  expect 0 "" "" run_board --state shut -- sh -c '"$@" <&- >&- 2>&-' closed $shell "$safe" --lock lock few.svu
}

# as_json STATUS EXPRESSION [BOARD OPTIONS] -- [OPTIONS]
as_json() {
  try "$1" "*" "*" "${@:3}" --json
  jq -e "$2" out >/dev/null || fail "not so: $2: $(cat out)"
}

objects() {
  local was='{active: 0, swid: "0100", crc: "4de3"}' is='{active: 1, swid: "0101", crc: "7d2b"}'
  as_json 0 ". == {result: \"done\", exit: 0, check: false, written: true, changed: true, message: \"$new\", advice: null,
      file: {name: \"few.svu\", version: null, swid: \"0101\", crc: [\"ff1b\", \"7d2b\"]}, backup: null, power: \"Ln1/1\",
      hwid: \"0003\", before: $was, after: $is}" --
  as_json 0 ".result == \"would-update\" and .check and .written == false and .changed == false" -- --check
  board=updated as_json 3 ".result == \"current\" and .written == false and .changed == false and .after == $is" --
  file=for_others.svu as_json 4 ".result == \"refused\" and .exit == 4 and .written == false and .file.version == \"2\"" --
  as_json 4 ".before == null and .changed == null and (.message | length > 0)" --preset no-mcu --
  as_json 5 ".result == \"failed\" and .written and .changed == false and .after == $was" --fault 'fail@enablex*' --
  as_json 6 ".result == \"unconfirmed\" and .changed == null and .after == null and (.advice | length > 0)" --fault dead@enable --
  cp few.svu $'a"\\\n\xff.svu'
  file=$'a"\\\n\xff.svu' as_json 0 '.file.name == "a\"\\??.svu"' --
}

done_or_current
checked_only
refusals
failures
open_ends
resets_of_before
others
objects

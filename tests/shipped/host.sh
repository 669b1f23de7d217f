#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The tool on hosts that lack something: the bus, words of the command line, space on the disk. See lib.sh for the arguments.
set -eu
[ ! -e /dev/i2c-0 ] || { echo "skipped: this machine has a bus 0"; exit 77; }
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
pack

# No bus. Where the tool waits, it runs beside a board on another one, so that the waiting takes no time.
bus7() { run_board --bus 7 -- sv_updater "$@"; }
unread="could not read version (I2C write error, start a6, size 01)"
for word in --version --hw-version --sw-version --serial --date; do
  expect 255 "" "error : *$unread*" sv_updater "$word"
done
for word in --update --upd; do
  expect 255 "" "*okay (new.svu)*error : $unread*error : $unread*error : $unread*error : overall SV MCU update = ERROR" \
    bus7 "$word" new.svu
done
expect 255 "0" "" sv_updater --probe
expect 255 "" "error : could not erase other region (1, I2C write error, start a5, size 02)" bus7 --erase
expect 255 "reading memory" "error : could not read data (version info not available)" sv_updater --read memory
off=" DISP=off POE=*SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=* OUT=--- CAP=----/----V/---W USB=off TEMP=*degC"
expect 0 "20*$off" "" sv_updater --status
expect 0 "20*$off" "" sv_updater --status-poetest
expect 0 "20*$off REBOOTED" "" sv_updater --status-poetest-rebooted
expect 0 "" "info  : status SVMCU=off, OK=0, DATA=00 00 00" sv_updater --debug-update
expect 0 "-todo-" "" sv_updater --bom-version
expect 0 "reading file = okay (new.svu)?message = *" "info  : update file swid 0101 *" sv_updater --read-update new.svu
expect 0 ".(1*).(3[0-9][0-9][0-9])?.(1*)" "info  : MCU could not be reached within 4.*s - but it may has been reset (00)" bus7 --reset
expect 0 ".(1*).(3[0-9][0-9][0-9])?.(1*)" "info  : MCU could not be reached within 4.*s - but it may has been reset (00)" bus7 --reset-now
expect 0 ".(1*).(1[0-9][0-9][0-9])" "info  : MCU could not be reached within 1.*s - but it may has been reset (ff)" bus7 --reset-now-sync
expect 0 "" "" sv_updater --force-update --without-force-update --update-without-reset --update-with-reset \
  --update-without-disable --reset-delay 1

# A reader of the output that has gone away ends the status line and the reports, and no other command.
mkfifo pipe
exec 3<>pipe 4>pipe 3>&-
for row in "--status 141" "--status-poetest-rebooted 141" "--status-cable 141" "--dump 0" "--dumps 0" "--bom-version 0"; do
  status=0
  sv_updater ${row% *} >&4 2>err || status=$?
  expect_same "status of ${row% *} without a reader" $status ${row#* }
done
exec 4>&-

# The command line.
for word in --bus --addr --reset-delay --read --update --upd --read-update; do
  expect 255 "ERROR: missing argument(s) to '$word'" "" sv_updater "$word"
done
expect 255 "" "error : unknown command --nope" sv_updater --nope --help-me
usage=$'\n'"Sorvan updater usage:"$'\n'"sv_updater <commands>+"$'\n\n'"*"$'\n'" --addr <i2caddr>        set I2C address (default 0x08)"
expect 255 "" "error : too few arguments"$'\n'"$usage" sv_updater
for word in -h --help "-?"; do
  expect 255 "" "$usage" sv_updater --probe "$word"
done
if is_instrumented; then
  echo "built with instruments: neither writes nor libraries are counted"
elif ! strace -o calls true; then
  echo "strace does not work here: neither writes nor libraries are counted"
else
  strace -o calls -e trace=write sv_updater --help 2>err || true
  expect_same "writes of the usage text" "$(count calls '^write(')" 1
  strace -f -o calls -e trace=write sv_board run -- sv_updater --dump >dump 2>err
  expect_same "writes of a dump" "$(count calls 'write(1, ')" 1
  libraries=$(readelf -d "$(command -v sv_updater)" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -v '^ld-linux' | xargs)
  expect_same "libraries" "$libraries" libc.so.6
fi

# A full disk, under a board that falls silent once it is identified: the quickest way to the end of a read-back.
read_to="sv_board run --fast --fault dead@7 -- sv_updater --read"
mkdir disk
if unshare -m mount -t tmpfs -o size=64k none disk 2>/dev/null; then
  expect 255 "*99.8%* done " "error : could not write disk/memory (No space left on device)" \
    unshare -m sh -c "mount -t tmpfs -o size=64k none disk && exec $read_to disk/memory"
else
  echo "no file system may be mounted here: /dev/full stands for the full disk"
  expect 255 "*99.8%* done " "error : could not write /dev/full (No space left on device)" sh -c "$read_to /dev/full"
fi

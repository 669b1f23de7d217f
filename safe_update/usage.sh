#!/bin/sh
# SPDX-License-Identifier: MIT
# Updates the firmware of the power MCU and proves that the new one runs: sv_safe_update(8).
# For any POSIX shell; from outside come sv_updater, flock, mktemp and, for files that name their SHA-256, sha256sum.
set -u +e
LC_ALL=C
export LC_ALL

usage() {
    cat <<'END'
usage: sv_safe_update [OPTION]... FILE

Updates the firmware of the power MCU with the update file FILE, and proves that it runs.

  -c, --check           tell what would happen; nothing on the board is changed
  -f, --force           program the file even if its firmware runs already
  -k, --backup FILE     read the whole flash back into FILE first
  -p, --any-power       go on without a source of power
  -w, --wait SECONDS    how long the MCU may take to restart (default 15)
  -b, --bus N           I2C bus (default 0)
  -a, --addr ADDRESS    I2C address of the MCU (default 0x08)
  -l, --lock FILE       lock that keeps others away (default /run/lock/sv_updater)
  -j, --json            print one JSON object on standard output, and all else on standard error
  -h, --help            print this text
  -V, --version         print the version

exit status:
   0  done: the new firmware runs (with --check: would be programmed)
   3  already current: nothing to do
   4  refused: nothing was written
   5  failed: the firmware that ran before is intact and runs
   6  written, but not confirmed: the message says what to do
  64  wrong usage
  75  busy: somebody else holds the lock
END
}

# --- What is known, for the report -------------------------------------------------------------------------------------

tool=${SV_UPDATER:-sv_updater}
bus='' address='' wait_seconds=15 lock=/run/lock/sv_updater
check=false force=false any_power=false json=false json_asked=false backup='' file=''
work='' partial='' kept='' power='' written=false advice=''
file_swid='' file_crc0='' file_crc1='' file_version=''
hwid='' active='' swid='' crc='' other_swid='' other_crc='' # of the last identity that was read
before='' after=''                                         # what ran, and what runs, as JSON; empty: not known

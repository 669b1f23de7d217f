#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What a release is armoured with, read off the built files. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
! is_instrumented || { echo "skipped: built with instruments"; exit 77; }

# has WHAT FILE PATTERN
has() {
  grep -qE -e "$3" "$2" || fail "$program: no $1"
}
lacks() {
  ! grep -E -e "$3" "$2" || fail "$program: $1"
}

for program in sv_updater sv_image sv_board; do
  file=$(command -v "$program")
  readelf -hldW "$file" >elf
  nm -D "$file" >imports
  has "position independence" elf 'Type: +DYN'
  has "mark of a position-independent executable" elf 'FLAGS_1.* PIE'
  has "immediate binding" elf 'FLAGS_1.* NOW'
  has "read-only relocations" elf 'GNU_RELRO'
  has "plain stack" elf 'GNU_STACK.* RW '
  lacks "segment that can be written and executed" elf 'LOAD.* RWE '
  lacks "relocation in its text" elf 'TEXTREL'
  lacks "search path" elf 'RPATH|RUNPATH'
  has "stack protector" imports '__stack_chk_fail'
done

program=sv_updater
file=$(command -v sv_updater)
nm -D "$file" >imports
for call in printf fprintf snprintf vsnprintf syslog; do
  has "checked $call" imports " U __${call}_chk"
  lacks "unchecked $call" imports " U ${call}(@|$)"
done

# Every place that a pointer may lead to, the handlers of all commands among them, begins with a landing mark.
objdump --disassemble --no-show-raw-insn "$file" >code
case $(uname -m) in
  x86_64) mark=endbr64 ;;
  aarch64) mark='bti|paciasp' ;;
  *) exit 0 ;;
esac
[ "$(grep -cE "$mark" code)" -gt 40 ] || fail "no control-flow protection"

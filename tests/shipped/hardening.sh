#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The hardening of a release, read from the built files. See lib.sh for the arguments.
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

for program in sv_image sv_board sv_updater; do
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

# From here on: sv_updater alone
for call in printf fprintf snprintf vsnprintf syslog; do
  has "checked $call" imports " U __${call}_chk"
  lacks "unchecked $call" imports " U ${call}(@|$)"
done
expect_same "libraries" "$(sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' elf | grep -v '^ld-linux' | xargs)" libc.so.6

# Every target of an indirect jump, the handlers of all commands included, begins with a landing mark.
case $(uname -m) in
  x86_64) mark=endbr64 ;;
  aarch64) mark='bti|paciasp' ;;
  *) exit 0 ;;
esac
[ "$(objdump --disassemble --no-show-raw-insn "$file" | grep -cE "$mark")" -gt 40 ] || fail "no control-flow protection"

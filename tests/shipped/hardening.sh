#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The hardening of a release, read from the built files. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
! is_instrumented || { echo "skipped: built with instruments"; exit 77; }

has() { grep -qE -e "$1" "$2" || fail "$program: no $1"; }
lacks() { ! grep -E -e "$1" "$2" || fail "$program: $1"; }

for program in sv_image sv_board sv_ctl sv_updater; do
  file=$(command -v "$program")
  readelf -hldW "$file" >elf
  nm -D "$file" >imports
  # Position independence, immediate binding, read-only relocations, a stack that is not executable
  for pattern in 'Type: +DYN' 'FLAGS_1.* PIE' 'FLAGS_1.* NOW' 'GNU_RELRO' 'GNU_STACK.* RW '; do has "$pattern" elf; done
  # Writable and executable segments, relocations in the text, search paths for libraries
  for pattern in 'LOAD.* RWE ' 'TEXTREL' 'RPATH|RUNPATH'; do lacks "$pattern" elf; done
  has '__stack_chk_fail' imports
done

# sv_ctl brings the C++ library along.
program=sv_ctl
readelf -dW "$(command -v sv_ctl)" >elf
lacks 'NEEDED.*libstdc\+\+' elf
strip -o stripped "$(command -v sv_ctl)"
[ "$(stat -c %s stripped)" -le 1200000 ] || fail "sv_ctl is larger than 1.2 MB"

# From here on: sv_updater alone
program=sv_updater
readelf -dW "$file" >elf
for call in printf fprintf snprintf vsnprintf syslog; do
  has " U __${call}_chk" imports
  lacks " U ${call}(@|$)" imports
done
expect_same "libraries" "$(sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' elf | grep -v '^ld-linux' | xargs)" libc.so.6

# Every target of an indirect jump, the handlers of all commands included, begins with a landing mark.
case $(uname -m) in
  x86_64) mark=endbr64 ;;
  aarch64) mark='bti|paciasp' ;;
  *) exit 0 ;;
esac
[ "$(objdump --disassemble --no-show-raw-insn "$file" | grep -cE "$mark")" -gt 40 ] || fail "no control-flow protection"

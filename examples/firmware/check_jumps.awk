# SPDX-License-Identifier: MIT
# Reads a disassembly (avr-objdump -d) and fails when a jump, call or branch leaves the flash region given as
# "-v region=0" or "-v region=1", or when there is an indirect one, whose target cannot be seen.

function hex(text,    i, value) {
    for (i = 1; i <= length(text); i++) {
        value = 16 * value + index("0123456789abcdef", substr(text, i, 1)) - 1
    }
    return value
}

function complain(what) {
    print what ": " $0
    failed = 1
}

BEGIN {
    FS = "\t"
    first = region * 131072
    end = first + 130560
}

$3 ~ /^e?i(jmp|call)/ { complain("indirect") }

$3 ~ /^(jmp|call|rjmp|rcall|br[a-z][a-z])$/ {
    jumps++
    if (!match($0, /; 0x[0-9a-f]+/)) {
        complain("no target")
    } else {
        target = hex(substr($0, RSTART + 4, RLENGTH - 4))
        if (target < first || target >= end) {
            complain("outside region " region)
        }
    }
}

END {
    if (jumps < 122) {
        print "only " jumps + 0 " jumps: the vector table alone has 122, so this is no disassembly of the firmware"
        failed = 1
    }
    exit failed
}

# SPDX-License-Identifier: MIT
# --- The tool ----------------------------------------------------------------------------------------------------------

run_tool() {
    "$tool" ${bus:+--bus "$bus"} ${address:+--addr "$address"} "$@"
}

# What the tool complained of last, without the time
complaint() {
    sed -n '$s/^\[[0-9:]*\] [a-z]* *: //p' "$work/log"
}

version_field() {
    printf '%s\n' "$version" | sed -n "s/^$1 *= \([0-9a-f]*\).*/\1/p"
}

# Who the MCU is and what it runs; false leaves the last known identity as it was.
read_identity() {
    version=$(run_tool --version 2>"$work/log") || return 1
    active=$(version_field active)
    case $active in 0 | 1) ;; *) return 1 ;; esac
    hwid=$(version_field hwid)
    swid=$(version_field swid)
    crc=$(version_field "crc$active")
    other_swid=$(version_field "swid$((1 - active))")
    other_crc=$(version_field "crc$((1 - active))")
}

# Another user of the bus who takes no lock can spoil a read, so one failure counts for nothing.
read_identity_patiently() {
    read_identity || { sleep 1 && read_identity; } || { sleep 1 && read_identity; }
}

describe_running() {
    printf 'region %s runs software id %s, checksum %s' "$active" "$swid" "$crc"
}

# The checksum that the file has for region $1
file_crc() {
    if [ "$1" = 0 ]; then
        printf '%s' "$file_crc0"
    else
        printf '%s' "$file_crc1"
    fi
}

runs_the_file() {
    [ "$swid" = "$file_swid" ] && [ "$crc" = "$(file_crc "$active")" ]
}

other_region_holds_the_file() {
    [ "$other_swid" = "$file_swid" ] && [ "$other_crc" = "$(file_crc $((1 - active)))" ]
}

#!/bin/sh
# SPDX-License-Identifier: MIT
# RAUC hook for a slot of class mcu: checks and installs the bundle's update file for the power MCU with sv_ctl.

# RAUC takes status 10 and above as a rejection, and the only line on standard error as the reason.
reject() {
    echo "$1" >&2
    exit 10
}

case $1 in
    install-check) # before any slot is written, also those of other classes
        # With this hook RAUC makes no comparison of its own.
        [ "$RAUC_MF_COMPATIBLE" = "$RAUC_SYSTEM_COMPATIBLE" ] ||
            reject "the bundle is for $RAUC_MF_COMPATIBLE, and this is $RAUC_SYSTEM_COMPATIBLE"
        status=0
        output=$(sv_ctl update --check --lock-wait 60 -- "$(dirname -- "$0")/mcu.svu" 2>&1) || status=$?
        printf '%s\n' "$output"
        case $status in
            0 | 3) ;; # 3: the firmware runs already
            *) reject "$(printf '%s\n' "$output" | grep '^sv_ctl: ' || echo sv_ctl:) (status $status)" ;;
        esac
        ;;
    slot-install)
        sv_ctl update --lock-wait 60 -- "$RAUC_IMAGE_NAME" 2>&1
        status=$?
        echo "sv_ctl exited with status $status"
        [ "$status" -eq 3 ] || exit "$status"
        ;;
    *) exit 1 ;;
esac

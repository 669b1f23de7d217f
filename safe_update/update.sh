# SPDX-License-Identifier: MIT
# --- The update --------------------------------------------------------------------------------------------------------

update() {
    say "update: into region $((1 - active))"
    # From here on nobody interrupts: the tool inherits this too.
    trap '' INT TERM HUP QUIT
    written=true after=''
    run_tool --force-update --update-with-reset --reset-delay 0 --update "$file" >&4 2>"$work/update"
    tool_status=$?
    cat "$work/update" >&2
}

was_logged() {
    grep -q "$1" "$work/update"
}

# Waits until the MCU runs the file in region $1.
await_firmware() {
    seconds=$wait_seconds
    while [ "$seconds" -gt 0 ]; do
        sleep 1
        after=''
        if read_identity; then
            after=$(running_json)
            [ "$active" != "$1" ] || ! runs_the_file || return 0
        fi
        seconds=$((seconds - 1))
    done
    return 1
}

confirm() {
    # An MCU that restarts in the middle runs the new region, and the tool turns to the other one.
    target=$(sed -n 's/^.*: update done in region \([01]\) .*$/\1/p' "$work/update" | tail -n 1)
    say "waiting for the MCU to restart"
    if ! await_firmware "$target" && [ -n "$after" ]; then
        # A reset can get lost. The new region is enabled and the old one is not, so one more does no harm.
        say "asking once more for the reset"
        run_tool --reset-now >&4 2>"$work/log"
        await_firmware "$target" || true
    fi
    if [ -z "$after" ]; then
        advice="sv_updater --version; if the MCU stays silent, sv_updater --reset-now or a power cycle"
        unconfirmed "the update was programmed, and the MCU has not answered since: $(complaint)"
    elif [ "$active" = "$target" ] && runs_the_file; then
        finish "done" 0 "$(describe_running)"
    fi
    advice="sv_updater --reset-now; if sv_updater --version shows region $active after it, repeat sv_safe_update"
    unconfirmed "the update was programmed, but $(describe_running)"
}

# The update has failed, or its end is not known. Nothing that the MCU reports tells whether a region is enabled, so the
# tool's log decides, and what the MCU runs now must agree.
judge_failure() {
    last=$(sed -n '/overall SV MCU update = /d; s/^\[[0-9:]*\] error *: //p' "$work/update" | tail -n 1)
    ! read_identity_patiently || after=$(running_json)
    # Without a single line the log itself is lost, and proves nothing.
    if [ $tool_status -eq 255 ] && [ -n "$last" ] && ! was_logged ': doing update in region '; then
        written=false
        refuse "the update did not begin: $last"
    fi
    case $last in
        "could not disable current region"*)
            advice="sv_updater --reset-now --update $file"
            unconfirmed "the new firmware is complete and enabled, and may not run: $last"
            ;;
    esac
    if was_logged ': disabled current region '; then
        advice="sv_updater --reset-now, and no other update before"
        unconfirmed "the tool ended with $tool_status after the new region was enabled and the old one disabled"
    elif was_logged ': could not disable current region ' || $other_held_the_file; then
        advice="keep the power on, do not reset the MCU, repeat sv_safe_update --force until it is done"
        unconfirmed "it may be that neither region can start now: ${last:-the tool ended with $tool_status}"
    elif ! was_logged ': overall SV MCU update = ERROR'; then
        advice="keep the power on, repeat sv_safe_update --force until it is done"
        unconfirmed "the tool ended with $tool_status in the middle of the update"
    elif [ -z "$after" ]; then
        advice="sv_updater --version; if the MCU stays silent, a power cycle; then repeat sv_safe_update"
        unconfirmed "the update failed and the MCU does not answer: $last"
    elif [ "$(changed)" = true ]; then
        advice="sv_updater --version"
        unconfirmed "the update failed, and now $(describe_running): $last"
    fi
    # An update before this one, whose reset never came, may have disabled the region that runs.
    advice="keep the power on, repeat sv_safe_update until it is done"
    finish failed 5 "$(describe_running), as before: $last"
}

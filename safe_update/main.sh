# SPDX-License-Identifier: MIT
# --- The course --------------------------------------------------------------------------------------------------------

main() {
    # Options behind a wrong one are not parsed any more, but who asks for an object gets one.
    for word in "$@"; do
        case $word in --) break ;; -j | --json | -[cfp]*j*) json_asked=true ;; esac
    done
    parse_options "$@"
    # An output that nobody reads must not stop an update.
    trap '' PIPE
    # A closed one neither: the tool would open the bus in its place, and print there.
    (: 7>&2) || exec 2>/dev/null
    (: 7>&1) 2>/dev/null || exec >/dev/null
    exec </dev/null
    # 3: for people; 4: the tool's progress, which overwrites itself and is for a terminal only
    exec 3>&1 4>/dev/null 5>&1 6>&2
    ! $json || exec 3>&2
    [ ! -t 3 ] || exec 4>&3
    trap 'refuse interrupted' INT TERM HUP QUIT
    work=$(mktemp -d) || refuse "cannot make a temporary folder"
    command -v "$tool" >/dev/null || refuse "cannot run $tool"
    take_lock
    check_file
    check_backup
    check_mcu
    $force || ! runs_the_file || current "$(describe_running)"
    check_region
    check_power
    other_held_the_file=false
    ! other_region_holds_the_file || other_held_the_file=true
    if $check; then
        finish would-update 0 "region $((1 - active)) would be programmed with software id $file_swid"
    fi
    if $other_held_the_file; then
        await_pending_reset
    fi
    keep_backup
    update
    ! was_logged ': overall SV MCU update = okay' || confirm
    judge_failure
}

main "$@"

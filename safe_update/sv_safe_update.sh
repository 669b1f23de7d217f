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

# --- The report --------------------------------------------------------------------------------------------------------

json_text() {
    if [ -z "$1" ]; then
        printf null
    else
        # Always valid JSON, whatever a file name holds.
        printf '"%s"' "$(printf '%s' "$1" | tr '\001-\037\177-\377' '?' | sed 's/[\\"]/\\&/g')"
    fi
}

running_json() {
    printf '{"active": %s, "swid": "%s", "crc": "%s"}' "$active" "$swid" "$crc"
}

changed() {
    if [ -z "$before" ] || [ -z "$after" ]; then
        printf null
    elif [ "$before" = "$after" ]; then
        printf false
    else
        printf true
    fi
}

print_json() {
    printf '{"result": "%s", "exit": %d, "check": %s, "written": %s, "changed": %s,\n' \
        "$1" "$2" "$check" "$written" "$(changed)"
    printf ' "message": %s,\n "advice": %s,\n' "$(json_text "$3")" "$(json_text "$advice")"
    printf ' "file": {"name": %s, "version": %s, "swid": %s, "crc": [%s, %s]},\n' "$(json_text "$file")" \
        "$(json_text "$file_version")" "$(json_text "$file_swid")" "$(json_text "$file_crc0")" "$(json_text "$file_crc1")"
    printf ' "backup": %s,\n "power": %s,\n "hwid": %s,\n' "$(json_text "$kept")" "$(json_text "$power")" "$(json_text "$hwid")"
    printf ' "before": %s,\n "after": %s}\n' "${before:-null}" "${after:-null}"
}

# finish RESULT STATUS MESSAGE: the only way out
finish() {
    # The report is printed once, whoever interrupts; and an interruption may come where the outputs lead elsewhere.
    trap '' INT TERM HUP QUIT
    exec 1>&5 2>&6
    if $json; then
        print_json "$1" "$2" "$3"
    fi
    if [ "$2" -eq 0 ] || [ "$2" -eq 3 ]; then
        say "$1: $3"
    else
        complain "$1: $3"
        [ -z "$advice" ] || complain "what to do: $advice"
    fi
    [ -z "$partial" ] || rm -f "$partial"
    [ -z "$work" ] || rm -rf "$work"
    exit "$2"
}

say() {
    printf '%s\n' "$*" >&3
}

# Not with echo, which may take a backslash in a name for a command.
complain() {
    printf 'sv_safe_update: %s\n' "$1" >&2
}

current() { finish current 3 "$1"; }
refuse() { finish refused 4 "$1"; }
unconfirmed() { finish unconfirmed 6 "$1"; }

wrong_usage() {
    ! $json_asked || print_json usage 64 "$1"
    complain "$1"
    echo "Try 'sv_safe_update --help'." >&2
    exit 64
}

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

# --- Before anything is written ----------------------------------------------------------------------------------------

parse_options() {
    while [ $# -gt 0 ]; do
        case $1 in
            -c | --check) check=true ;;
            -f | --force) force=true ;;
            -p | --any-power) any_power=true ;;
            -j | --json) json=true ;;
            -h | --help) usage; exit 0 ;;
            -V | --version) echo "sv_safe_update @PROJECT_VERSION@"; exit 0 ;;
            --backup=* | --wait=* | --bus=* | --addr=* | --lock=*) set_option "${1%%=*}" "${1#*=}" ;;
            -k | --backup | -w | --wait | -b | --bus | -a | --addr | -l | --lock)
                [ $# -gt 1 ] || wrong_usage "$1 needs a value"
                set_option "$1" "$2"
                shift
                ;;
            --)
                shift
                break
                ;;
            -[cfpj][!-]*)
                rest=${1#??}
                flag=${1%"$rest"}
                shift
                set -- "$flag" "-$rest" "$@"
                continue
                ;;
            -?*) wrong_usage "unknown option $1" ;;
            *) set_file "$1" ;;
        esac
        shift
    done
    for word in "$@"; do
        set_file "$word"
    done
    [ -n "$file" ] || wrong_usage "which update file?"
}

set_file() {
    [ -z "$file" ] || wrong_usage "one update file only"
    [ -n "$1" ] || wrong_usage "the name of the update file is empty"
    set_path "$1"
    file=$path
}

# The tool takes -h and its like for a call for help, wherever they stand. Not with $(), which drops newlines at the end.
set_path() {
    path=$1
    case $path in -*) path=./$path ;; esac
}

set_option() {
    set_path "$2"
    case $1 in
        -k | --backup) backup=$path ;;
        -l | --lock) lock=$path ;;
        -w | --wait) wait_seconds=$2 ;;
        -b | --bus) bus=$2 ;;
        -a | --addr) address=$2 ;;
    esac
    [ -n "$2" ] || wrong_usage "the value of $1 is empty"
    case $1 in
        -k | --backup | -l | --lock) return ;;
        -a | --addr) case ${2#0x} in *[!0-9a-fA-F]*) wrong_usage "$1 needs an address, not '$2'" ;; esac ;;
        -w | --wait) case $2 in *[!0-9]* | 0* | ?????*) wrong_usage "$1 needs 1 to 9999 seconds, not '$2'" ;; esac ;;
        *) case $2 in *[!0-9]*) wrong_usage "$1 needs a number, not '$2'" ;; esac ;;
    esac
}

take_lock() {
    command -v flock >/dev/null || refuse "there is no flock on this system, so nobody can be kept away"
    # An existing file is only read: in a sticky folder the kernel forbids even root to create it anew.
    [ -e "$lock" ] || (: >"$lock") 2>/dev/null
    { [ -f "$lock" ] && [ -r "$lock" ]; } || refuse "cannot open the lock $lock"
    # The tool inherits it: should this script be killed, the lock is held until the tool has ended.
    exec 9<"$lock"
    flock -n 9 || finish busy 75 "somebody else holds $lock"
}

check_file() {
    { [ -f "$file" ] && [ -r "$file" ]; } || refuse "cannot read $file"
    loaded=$("$tool" --read-update "$file" 2>"$work/log")
    ids=$(sed -n 's/^.*: update file swid \([0-9a-f]*\) crc \([0-9a-f]*\) \([0-9a-f]*\)$/\1 \2 \3/p' "$work/log")
    if [ -z "$ids" ]; then
        reason=$(printf '%s\n' "$loaded" | sed -n '$s/^message = //p')
        refuse "$file is no update file for this MCU: ${reason:-$(complaint)}"
    fi
    file_swid=${ids%% *} file_crc1=${ids##* }
    file_crc0=${ids#* } file_crc0=${file_crc0% *}
    # The lines that the packer may have written before the magic
    notes=$(dd if="$file" bs=1024 count=1 2>/dev/null | tr -d '\000' | sed '/SVxMega$/,$d')
    file_version=$(note version)
    file_sha256=$(note sha256)
    if [ -n "$file_sha256" ] && command -v sha256sum >/dev/null; then
        sum=$(tail -c 270902 "$file" | sha256sum)
        [ "${sum%% *}" = "$file_sha256" ] || refuse "$file does not have the SHA-256 that it names"
    fi
    say "file:   $file, ${file_version:+version $file_version, }software id $file_swid, checksums $file_crc0 $file_crc1"
}

# The last note of this name that says something; a file must not be able to command the terminal.
note() {
    printf '%s\n' "$notes" | sed -n "s/^$1: \(.\)/\1/p" | tail -n 1 | tr '\001-\011\013-\037\177' '?'
}

check_mcu() {
    read_identity_patiently || refuse "the MCU does not answer: $(complaint)"
    before=$(running_json)
    after=$before
    say "MCU:    hardware id $hwid, $(describe_running)"
    hwids=$(note hwid | tr 'A-F' 'a-f')
    case " ${hwids:-$hwid} " in
        *" $hwid "*) ;;
        *) refuse "$file is for hardware $hwids, and this is $hwid" ;;
    esac
}

# The MCU would enable an empty region, and start it. 1cc1 is the checksum of an erased one.
check_region() {
    [ "$(file_crc $((1 - active)))" != 1cc1 ] || refuse "$file holds nothing for region $((1 - active))"
}

# Not --status, which writes the reset marker
check_power() {
    run_tool --debug-update >/dev/null 2>"$work/log"
    case $(complaint) in
        *", IO=NOT_supported"*) power=unknown ;;
        *", IN=off,"*) [ "$(run_tool --status-poe 2>&1)" != "POE: on" ] || power=PoE ;;
        *", IN="*) power=$(sed -n '$s/.*, IN=\([^,]*\),.*/\1/p' "$work/log") ;;
        *) refuse "the MCU does not tell its power state" ;;
    esac
    say "power:  ${power:-none}"
    [ -n "$power" ] || $any_power || refuse "no source feeds the board: an update now may end in the dark"
}

check_backup() {
    [ -n "$backup" ] || return
    [ ! -e "$backup" ] || refuse "$backup exists already"
    case $backup in */*) folder=${backup%/*}/ ;; *) folder=. ;; esac
    { [ -d "$folder" ] && [ -w "$folder" ]; } || refuse "cannot write $backup"
}

# The reset of an update before this one may still be due. An update that meets it can leave a board that starts nothing.
await_pending_reset() {
    say "region $((1 - active)) holds this firmware already: waiting for a reset that may be due"
    seconds=27
    while [ $seconds -gt 0 ]; do
        sleep 1
        if read_identity && runs_the_file; then
            after=$(running_json)
            current "$(describe_running), after a reset that was due"
        fi
        seconds=$((seconds - 1))
    done
    read_identity_patiently || refuse "the MCU does not answer any more: $(complaint)"
    before=$(running_json)
    after=$before
}

keep_backup() {
    [ -n "$backup" ] || return
    say "backup: $backup"
    partial=$backup.$$
    run_tool --read "$partial" >&4 2>"$work/log" || refuse "the flash could not be read: $(complaint)"
    [ "$(wc -c <"$partial")" -eq 270336 ] || refuse "the backup could not be written"
    # What could not be read stays 55, and the tool goes on: two lines of 16 bytes are one segment.
    unread=$(od -A n -v -t x1 "$partial" | awk '
        { all = ($0 ~ /^( 55)+ *$/) }
        NR % 2 == 1 { first = all }
        NR % 2 == 0 && first && all { count++ }
        END { print count + 0 }')
    [ "$unread" -eq 0 ] || refuse "segments of the flash that could not be read: $unread"
    sync
    mv "$partial" "$backup" || refuse "the backup could not be written"
    partial='' kept=$backup
}

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

# SPDX-License-Identifier: MIT
# --- Before anything is written ----------------------------------------------------------------------------------------

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

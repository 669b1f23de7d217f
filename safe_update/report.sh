# SPDX-License-Identifier: MIT
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

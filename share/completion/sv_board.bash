# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_board for bash, alone or with the package bash-completion; asks sv_board for its knobs and presets.

# Completes the command after word $1 as if the line began with it.
_sv_board_command() {
    local first=$(($1 + 1)) function
    if declare -F _command_offset >/dev/null; then
        _command_offset "$first"
        return
    fi
    COMP_LINE=${COMP_LINE#*[[:blank:]]--[[:blank:]]}
    COMP_POINT=${#COMP_LINE}
    COMP_WORDS=("${COMP_WORDS[@]:first}")
    COMP_CWORD=$((COMP_CWORD - first))
    if [ "$COMP_CWORD" -eq 0 ]; then
        mapfile -t COMPREPLY < <(compgen -c -- "${COMP_WORDS[0]}")
        return
    fi
    function=$(complete -p "${COMP_WORDS[0]##*/}" 2>/dev/null | sed -n 's/.* -F \([^ ]*\) .*/\1/p')
    [ -z "$function" ] || "$function" "${COMP_WORDS[0]}" "$2" "${COMP_WORDS[COMP_CWORD - 1]}"
}

_sv_board() {
    local words='' before='' sub=${COMP_WORDS[1]} typed i
    for ((i = 2; i < COMP_CWORD; i++)); do
        if [ "${COMP_WORDS[i]}" = -- ]; then
            _sv_board_command "$i" "$2"
            return
        fi
    done
    # Words between blanks: "--option=value" is one here, and up to three in COMP_WORDS.
    read -ra typed <<<"${COMP_LINE:0:COMP_POINT}x"
    local cur=${typed[-1]%x} prev=${typed[-2]-}
    case $cur in --*=*) prev=${cur%%=*} cur=${cur#*=} ;; esac
    [ "$COMP_CWORD" -gt 1 ] || sub=''
    case $sub:$prev in
        *:--state | run:--firmware | run:--trace | run:--capture | run:--replay | run:--syslog) return ;; # readline's own
        run:--bus) words=0 ;;
        run:--swid) ;;
        run:--preset) words=$("$1" presets 2>/dev/null | sed -n 's/^\([^ :]*\): .*/\1/p') ;;
        run:--set)
            words=$("$1" knobs 2>/dev/null)
            if [[ $cur == *=* ]]; then
                words=$(sed -n 's/^\([^ =]*=\)o[nf]*$/\1on \1off/p' <<<"$words")
            else
                words=$(sed -n 's/^\([^ =]*=\).*/\1/p' <<<"$words")
            fi
            ;;
        run:--fault)
            words="nack@ dead@ lost@ restart@ cut@ kill@ flip@ fail@ hang@ skip@ slow= tear="
            if [[ $cur == *@* ]]; then
                before=${cur%%@*}@
                words="any-command any-frame any-change read-version read-flash-status read-version2 segment commit erase enable disable
                    reset-now reset-delayed read-segment read-enable-word read-input-mode write-enable-word write-input-mode set-led1
                    set-led2 store-settings switch-off write-w1-pio test-ext-switch test-10v test-message read-eeprom read-rom
                    read-powerrail read-ext read-teko1-voltage read-teko2-voltage read-teko1-current read-teko2-current
                    read-teko1-impedances read-teko2-impedances read-ports read-temperature read-vcc read-spare1 reset-diagnostics
                    read-pse-states read-pd-states read-teko1-page read-teko2-page read-nevents read-temperature-cal read-spare2"
            fi
            ;;
        run:*) words="--bus --state --firmware --swid --preset --set --fault --trace --capture --unbuffered --replay --syslog --fast -h --help --" ;;
        show:*) words="--state -h --help" ;;
        knobs:* | presets:*) words="-h --help" ;;
        :*)
            words="run knobs presets show"
            [[ $cur != -* ]] || words="-h --help --version"
            ;;
    esac
    compopt +o default 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -P "$before" -W "$words" -- "${cur#"$before"}")
    if [[ ${COMPREPLY[0]-} == *[=@] ]]; then
        compopt -o nospace 2>/dev/null
    fi
    # Readline replaces only the text after the last word break.
    COMPREPLY=("${COMPREPLY[@]#"${cur%"$2"}"}")
}
complete -o default -F _sv_board sv_board

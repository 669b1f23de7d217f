# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_capture for bash, alone or with the package bash-completion.

_sv_capture() {
    local words='' sub=${COMP_WORDS[1]} typed
    # Words between blanks: "--option=value" is one here, and up to three in COMP_WORDS.
    read -ra typed <<<"${COMP_LINE:0:COMP_POINT}x"
    local cur=${typed[-1]%x} prev=${typed[-2]-}
    case $cur in --*=*) prev=${cur%%=*} cur=${cur#*=} ;; esac
    [ "$COMP_CWORD" -gt 1 ] || sub=''
    case $sub:$prev in
        *:--bus | *:--samplerate | *:--addr | *:--speed) compopt +o default 2>/dev/null; return ;;
        *:-o | *:--output | *:--state) return ;; # readline's own
        convert:*) words="-o --output --replace" ;;
        show:*) words="--addr" ;;
        compare:*) words="--addr --state" ;;
        state:*) words="--addr -o --output --replace" ;;
        vcd:*) words="--speed -o --output --replace" ;;
    esac
    if [ -z "$sub" ]; then
        words="convert show compare state vcd"
        [[ $cur != -* ]] || words="-h --help --version"
    elif [[ $cur == -* ]]; then
        words+=" --bus --samplerate -h --help"
    else
        return # the recording
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    # Readline replaces only the text after the last word break.
    COMPREPLY=("${COMPREPLY[@]#"${cur%"$2"}"}")
}
complete -o default -F _sv_capture sv_capture

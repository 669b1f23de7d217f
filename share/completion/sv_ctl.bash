# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_ctl for bash, alone or with the package bash-completion.

_sv_ctl() {
    local words='' sub='' takes_value='' word typed
    # Words between blanks: "--option=value" is one here, and up to three in COMP_WORDS.
    read -ra typed <<<"${COMP_LINE:0:COMP_POINT}x"
    local cur=${typed[-1]%x} prev=${typed[-2]-}
    # Options may come before the subcommand.
    for word in "${typed[@]:1:${#typed[@]}-2}"; do
        case $takes_value:$word in
            yes:*) takes_value='' ;;
            :--bus | :--addr | :--lock | :--lock-wait) takes_value=yes ;;
            :-*) ;;
            *) sub=${sub:-$word} ;;
        esac
    done
    case $cur in --*=*) prev=${cur%%=*} cur=${cur#*=} ;; esac
    case $sub:$prev in
        *:--lock | update:--backup | metrics:--output) return ;; # readline's own
        *:--bus) words=$(compgen -G '/dev/i2c-*' | sed 's/.*-//') ;;
        *:--addr) words=0x08 ;;
        *:--lock-wait | watch:--interval | watch:--count) ;;
        *)
            words="--bus --addr --lock --lock-wait --json -h --help --version"
            case $sub in
                update) words+=" --backup --check --sure --no-verify --any-content --any-power" ;;
                watch) words+=" --interval --count --csv" ;;
                metrics) words+=" --output" ;;
            esac
            if [[ $cur != -* ]]; then
                [ "$sub" != update ] || return # the file
                words=''
                [ -n "$sub" ] || words="update status watch metrics doctor"
            fi
            ;;
    esac
    compopt +o default 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    # Readline replaces only the text after the last word break.
    COMPREPLY=("${COMPREPLY[@]#"${cur%"$2"}"}")
}
complete -o default -F _sv_ctl sv_ctl

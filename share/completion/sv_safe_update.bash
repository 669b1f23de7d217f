# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_safe_update for bash, alone or with the package bash-completion.

_sv_safe_update() {
    local words='' typed
    # Words between blanks: "--option=value" is one here, and up to three in COMP_WORDS.
    read -ra typed <<<"${COMP_LINE:0:COMP_POINT}x"
    local cur=${typed[-1]%x} prev=${typed[-2]-}
    case $cur in --*=*) prev=${cur%%=*} cur=${cur#*=} ;; esac
    case $prev in
        -k | --backup | -l | --lock) return ;; # readline's own
        -b | --bus) words=$(compgen -G '/dev/i2c-*' | sed 's/.*-//') ;;
        -a | --addr) words=0x08 ;;
        -w | --wait) words=15 ;;
        *)
            [[ $cur == -* ]] || return
            words="-c --check -f --force -k --backup -p --any-power -w --wait -b --bus -a --addr -l --lock -j --json -h --help
                -V --version"
            ;;
    esac
    compopt +o default 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    # Readline replaces only what stands behind the last of its word breaks.
    COMPREPLY=("${COMPREPLY[@]#"${cur%"$2"}"}")
}
complete -o default -F _sv_safe_update sv_safe_update

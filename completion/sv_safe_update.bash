# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_safe_update for bash, alone or with the package bash-completion.

_sv_safe_update() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words=''
    [ "$cur" != = ] || { prev='=' cur=''; }
    [ "$prev" != = ] || prev=${COMP_WORDS[COMP_CWORD - 1 - ${#cur} / (${#cur} + 1)]}
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
}
complete -o default -F _sv_safe_update sv_safe_update

# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_image for bash, alone or with the package bash-completion.

_sv_image() {
    local words='' sub=${COMP_WORDS[1]} typed
    # Words between blanks: "--option=value" is one here, and up to three in COMP_WORDS.
    read -ra typed <<<"${COMP_LINE:0:COMP_POINT}x"
    local cur=${typed[-1]%x} prev=${typed[-2]-}
    case $cur in --*=*) prev=${cur%%=*} cur=${cur#*=} ;; esac
    [ "$COMP_CWORD" -gt 1 ] || sub=''
    case $sub:$prev in
        pack:--region[01] | pack:--prefix-file | pack:-o | pack:--output | extract:-o | extract:--output) return ;; # readline's own
        pack:--swid | pack:--hwid | pack:--fw-version | pack:--build | pack:--note) ;;
        info:--region | extract:--region | diff:--region) words="0 1" ;;
        pack:--format | info:--format | extract:--format | diff:--format) words="elf hex srec raw" ;;
        pack:*)
            words="--region0 --region1 --format --swid --mark-all --fw-version --hwid --build --note --no-sha256
                --prefix-file -o --output --replace --force -h --help"
            ;;
        info:*) words="--format --region --json -h --help" ;;
        extract:*) words="--region --format -o --output --replace --force -h --help" ;;
        verify:*) words="-h --help" ;;
        diff:*) words="--format --region -h --help" ;;
        :*)
            words="pack info verify extract diff"
            [[ $cur != -* ]] || words="-h --help --version"
            ;;
    esac
    if [[ $sub:$prev == @(pack|info|verify|diff|extract):* && $words == *--help* && $cur != -* ]]; then
        return # the file
    fi
    compopt +o default 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    # Readline replaces only the text after the last word break.
    COMPREPLY=("${COMPREPLY[@]#"${cur%"$2"}"}")
}
complete -o default -F _sv_image sv_image

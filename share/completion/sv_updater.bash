# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of sv_updater for bash, alone or with the package bash-completion. A command takes the next
# word as its argument, whatever it looks like, so the words before the cursor are parsed in order.

_sv_updater() {
    local expected='command' word words=''
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $expected:$word in
            command:--bus | command:--addr | command:--reset-delay) expected=$word ;;
            command:--update | command:--upd | command:--read | command:--read-update) expected='file' ;;
            command:--set-mode | command:--set) expected=parameter ;;
            parameter:store | parameter:xlr-off | parameter:off | parameter:test-msg-ack | parameter:test-i2c-bug1) expected='command' ;;
            parameter:*) expected=$word ;;
            *) expected='command' ;;
        esac
    done
    case $expected in
        file) return ;; # readline's own
        command)
            words="--bus --addr --version --hw-version --sw-version --serial --date --bom-version --probe --force-update
                --without-force-update --update-without-reset --update-with-reset --update-without-disable --erase --reset-delay
                --reset --reset-now-sync --reset-now --read --update --upd --read-update --debug-update --set-mode --set --status
                --status-poetest --status-poetest-rebooted --no-dump-reset --dump --dumps --status-poe --status-cable
                --status-pse-adc --help -h"
            ;;
        parameter)
            words="priority extpriority prio w1validity teko1-pd pd1 teko1-pse teko1 pse1 teko2-pd pd2 teko2-pse teko2 pse2 led1 led2
                psuled test-extsw test-10V test-msg store xlr-off off test-msg-ack test-i2c-bug1"
            ;;
        priority | extpriority | prio) words="normal norm default def battery-save low high" ;;
        w1validity) words="normal ignore" ;;
        teko[12]* | pd[12] | pse[12]) words="enabled enable on 1 disabled disable off 0" ;;
        led[12]) words="default def normal norm gn rd or off" ;;
        --addr) words=0x08 ;;
        --bus) words=$(compgen -G '/dev/i2c-*' | sed 's/.*-//') ;;
    esac
    compopt +o default 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -o default -F _sv_updater sv_updater

# SPDX-License-Identifier: MIT
# Completion of sv_ctl for fish.

# Whether the subcommand is one of these; without any, whether there is none yet. Options may come before it.
function __sv_ctl_is
    set -l takes_value no
    for word in (commandline -opc)[2..]
        switch $takes_value:$word
            case 'yes:*'
                set takes_value no
            case no:--{bus,addr,lock,lock-wait}
                set takes_value yes
            case 'no:-*'
            case '*'
                contains -- $word $argv
                return
        end
    end
    test -z "$argv"
end
function __sv_ctl_buses
    set -l buses /dev/i2c-*
    string replace /dev/i2c- '' -- $buses
end
complete -c sv_ctl -f
complete -c sv_ctl -s h -l help -d 'show the usage'
complete -c sv_ctl -l version -d 'show the version'
complete -c sv_ctl -l bus -x -a '(__sv_ctl_buses)' -d 'I2C bus'
complete -c sv_ctl -l addr -x -a 0x08 -d 'I2C address of the MCU'
complete -c sv_ctl -l lock -r -F -d 'lock that the users of the MCU share'
complete -c sv_ctl -l lock-wait -x -d 'longest wait for the lock, in seconds'
complete -c sv_ctl -l json -d 'print one JSON object'
complete -c sv_ctl -n __sv_ctl_is -a update -d 'update the firmware, and see it run'
complete -c sv_ctl -n __sv_ctl_is -a status -d 'report the power state'
complete -c sv_ctl -n __sv_ctl_is -a watch -d 'report measurements again and again'
complete -c sv_ctl -n __sv_ctl_is -a metrics -d 'report measurements as Prometheus text'
complete -c sv_ctl -n __sv_ctl_is -a doctor -d 'find out why the MCU does not answer'
complete -c sv_ctl -n '__sv_ctl_is update' -F
complete -c sv_ctl -n '__sv_ctl_is update' -l backup -r -F -d 'read the flash back into this new file first'
complete -c sv_ctl -n '__sv_ctl_is update' -l check -d 'change nothing, report what would be done'
complete -c sv_ctl -n '__sv_ctl_is update' -l sure -d 'prove that firmware that runs also starts'
complete -c sv_ctl -n '__sv_ctl_is update' -l no-verify -d 'do not read the programmed pages back'
complete -c sv_ctl -n '__sv_ctl_is update' -l any-content -d 'accept a region without a first jump'
complete -c sv_ctl -n '__sv_ctl_is update' -l any-power -d 'go on without a source of power'
complete -c sv_ctl -n '__sv_ctl_is watch' -l interval -x -d 'seconds from one reading to the next'
complete -c sv_ctl -n '__sv_ctl_is watch' -l count -x -d 'number of readings'
complete -c sv_ctl -n '__sv_ctl_is watch' -l csv -d 'comma-separated values'
complete -c sv_ctl -n '__sv_ctl_is metrics' -l output -r -F -d 'replace this file'

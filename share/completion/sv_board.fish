# SPDX-License-Identifier: MIT
# Completion of sv_board for fish; asks sv_board for its knobs and presets.

# Whether the words before the cursor belong to one of these subcommands, and not to the program after "--".
function __sv_board_is
    set -l words (commandline -opc)
    contains -- $words[2] $argv; and not contains -- -- $words
end

function __sv_board_after_dashes
    contains -- -- (commandline -opc)
end

function __sv_board_program
    set -l words (commandline -opc)
    set -l first (math (contains -i -- -- $words) + 1)
    complete -C (string join ' ' -- (string escape -- $words[$first..]) (commandline -ct))
end

# The knobs or presets of the sv_board on this command line, without the lines that explain them.
function __sv_board_lists
    set -l words (commandline -opc)
    command $words[1] $argv 2>/dev/null | string match -r '^[^ ].*'
end

function __sv_board_knobs
    set -l knobs (__sv_board_lists knobs)
    if string match -q '*=*' -- (commandline -ct)
        set -l knob (string replace -r '=.*' '=' -- (commandline -ct))
        contains -- "$knob"on $knobs; or contains -- "$knob"off $knobs; and printf '%s\n' $knob{on,off}
    else
        string replace -r '=.*' '=' -- $knobs
    end
end

function __sv_board_faults
    set -l kind (string match -r '^[^@]*@' -- (commandline -ct))
    if test -z "$kind"
        printf '%s\n' {nack,dead,lost,restart,cut,kill,flip,fail,hang,skip}@ slow= tear=
        return
    end
    printf "$kind%s\n" any-command any-frame any-change read-version read-flash-status read-version2 segment commit erase enable \
        disable reset-now reset-delayed read-segment read-enable-word read-input-mode write-enable-word write-input-mode set-led1 \
        set-led2 store-settings switch-off write-w1-pio test-ext-switch test-10v test-message read-eeprom read-rom \
        read-powerrail read-ext read-teko1-voltage read-teko2-voltage read-teko1-current read-teko2-current \
        read-teko1-impedances read-teko2-impedances read-ports read-temperature read-vcc read-spare1 reset-diagnostics \
        read-pse-states read-pd-states read-teko1-page read-teko2-page read-nevents read-temperature-cal read-spare2
end

complete -c sv_board -f
complete -c sv_board -n __fish_is_first_arg -s h -l help -d 'show the usage'
complete -c sv_board -n __fish_is_first_arg -l version -d 'show the version'
complete -c sv_board -n __fish_is_first_arg -a run -d 'run a program with the board on its I2C bus'
complete -c sv_board -n __fish_is_first_arg -a knobs -d 'list what can be set'
complete -c sv_board -n __fish_is_first_arg -a presets -d 'list typical situations'
complete -c sv_board -n __fish_is_first_arg -a show -d 'show the board of a state file'
complete -c sv_board -n '__sv_board_is run knobs presets show' -s h -l help -d 'show the usage'
complete -c sv_board -n '__sv_board_is run show' -l state -r -F -d 'file that keeps the board between runs'
complete -c sv_board -n '__sv_board_is run' -l bus -x -a 0 -d 'I2C bus'
complete -c sv_board -n '__sv_board_is run' -l firmware -r -F -d 'firmware of a new board'
complete -c sv_board -n '__sv_board_is run' -l swid -x -d 'its software id'
complete -c sv_board -n '__sv_board_is run' -l preset -x -a "(__sv_board_lists presets | string replace ': ' \t)" -d 'a typical situation'
complete -c sv_board -n '__sv_board_is run' -l set -x -a '(__sv_board_knobs)' -d 'set a knob'
complete -c sv_board -n '__sv_board_is run' -l fault -x -a '(__sv_board_faults)' -d 'cause a fault'
complete -c sv_board -n '__sv_board_is run' -l trace -r -F -d 'write each transfer to a file'
complete -c sv_board -n '__sv_board_is run' -l capture -r -F -d 'write each transfer to a file for Wireshark'
complete -c sv_board -n '__sv_board_is run' -l unbuffered -d 'write each transfer at once'
complete -c sv_board -n '__sv_board_is run' -l replay -r -F -d 'answer as in this capture'
complete -c sv_board -n '__sv_board_is run' -l syslog -r -F -d "write the program's system log to a file"
complete -c sv_board -n '__sv_board_is run' -l fast -d 'skip all waiting'
complete -c sv_board -n '__sv_board_is run' -a -- -d 'the program follows'
complete -c sv_board -n __sv_board_after_dashes -k -a '(__sv_board_program)'

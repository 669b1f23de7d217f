# SPDX-License-Identifier: MIT
# Completion of sv_capture for fish.

function __sv_capture_is
    contains -- (commandline -opc)[2] $argv
end
complete -c sv_capture -f
complete -c sv_capture -s h -l help -d 'show the usage'
complete -c sv_capture -n __fish_is_first_arg -l version -d 'show the version'
complete -c sv_capture -n __fish_is_first_arg -a convert -d 'write pcapng'
complete -c sv_capture -n __fish_is_first_arg -a show -d 'print a line for each transfer'
complete -c sv_capture -n __fish_is_first_arg -a compare -d 'compare the MCU with the simulated one'
complete -c sv_capture -n __fish_is_first_arg -a state -d 'make a board for sv_board'
complete -c sv_capture -n __fish_is_first_arg -a vcd -d 'draw SCL and SDA'
complete -c sv_capture -n 'not __fish_is_first_arg' -F
complete -c sv_capture -n 'not __fish_is_first_arg' -l bus -x -d 'bus of the recording'
complete -c sv_capture -n 'not __fish_is_first_arg' -l samplerate -x -d 'samples per second'
complete -c sv_capture -n '__sv_capture_is convert state vcd' -s o -l output -r -F -d 'output file'
complete -c sv_capture -n '__sv_capture_is convert state vcd' -l replace -d 'replace an existing file'
complete -c sv_capture -n '__sv_capture_is show compare state' -l addr -x -d 'address of the MCU'
complete -c sv_capture -n '__sv_capture_is compare' -l state -r -F -d 'simulated board'
complete -c sv_capture -n '__sv_capture_is vcd' -l speed -x -d 'of SCL, in hertz'

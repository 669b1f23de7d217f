# SPDX-License-Identifier: MIT
# Completion of sv_image for fish.

function __sv_image_is
    contains -- (commandline -opc)[2] $argv
end
complete -c sv_image -f
complete -c sv_image -s h -l help -d 'show the usage'
complete -c sv_image -n __fish_is_first_arg -l version -d 'show the version'
complete -c sv_image -n __fish_is_first_arg -a pack -d 'make an update file'
complete -c sv_image -n __fish_is_first_arg -a info -d 'show every field of a file'
complete -c sv_image -n __fish_is_first_arg -a verify -d 'check update files'
complete -c sv_image -n __fish_is_first_arg -a extract -d 'extract a region from a file'
complete -c sv_image -n __fish_is_first_arg -a diff -d 'compare two files'
complete -c sv_image -n '__sv_image_is pack info verify extract diff' -F
complete -c sv_image -n '__sv_image_is info' -l json -d 'print one JSON object'
complete -c sv_image -n '__sv_image_is pack extract' -s o -l output -r -F -d 'output file'
complete -c sv_image -n '__sv_image_is pack extract' -l replace -d 'replace an existing file'
complete -c sv_image -n '__sv_image_is pack' -l force -d 'replace an existing file, overrule the checks'
complete -c sv_image -n '__sv_image_is extract' -l force -d 'replace an existing file'
complete -c sv_image -n '__sv_image_is extract' -l region -x -a '0 1' -d 'region to take'
complete -c sv_image -n '__sv_image_is info diff' -l region -x -a '0 1' -d 'region to show or compare'
complete -c sv_image -n '__sv_image_is pack info extract diff' -l format -x -a 'elf hex srec raw' -d 'format of the firmware'
complete -c sv_image -n '__sv_image_is pack' -l region0 -r -F -d 'firmware of region 0'
complete -c sv_image -n '__sv_image_is pack' -l region1 -r -F -d 'firmware of region 1'
complete -c sv_image -n '__sv_image_is pack' -l swid -x -d 'software id'
complete -c sv_image -n '__sv_image_is pack' -l mark-all -d 'program every page'
complete -c sv_image -n '__sv_image_is pack' -l fw-version -x -d 'version of the firmware'
complete -c sv_image -n '__sv_image_is pack' -l hwid -x -d 'hardware id that the file is for'
complete -c sv_image -n '__sv_image_is pack' -l build -x -d 'build of the firmware'
complete -c sv_image -n '__sv_image_is pack' -l note -x -d 'line for the prefix'
complete -c sv_image -n '__sv_image_is pack' -l no-sha256 -d 'omit the SHA-256'
complete -c sv_image -n '__sv_image_is pack' -l prefix-file -r -F -d 'start of the prefix'

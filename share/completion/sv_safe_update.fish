# SPDX-License-Identifier: MIT
# Completion of sv_safe_update for fish.

function __sv_safe_update_buses
    set -l buses /dev/i2c-*
    string replace /dev/i2c- '' -- $buses
end
complete -c sv_safe_update -F
complete -c sv_safe_update -s c -l check -d 'tell what would happen'
complete -c sv_safe_update -s f -l force -d 'program the file even if its firmware runs'
complete -c sv_safe_update -s k -l backup -r -F -d 'read the flash back into this file first'
complete -c sv_safe_update -s p -l any-power -d 'go on without a source of power'
complete -c sv_safe_update -s w -l wait -x -a 15 -d 'seconds that the MCU may take to restart'
complete -c sv_safe_update -s b -l bus -x -a '(__sv_safe_update_buses)' -d 'I2C bus'
complete -c sv_safe_update -s a -l addr -x -a 0x08 -d 'I2C address of the MCU'
complete -c sv_safe_update -s l -l lock -r -F -d 'lock that keeps others away'
complete -c sv_safe_update -s j -l json -d 'print one JSON object'
complete -c sv_safe_update -s h -l help -d 'show the usage'
complete -c sv_safe_update -s V -l version -d 'show the version'

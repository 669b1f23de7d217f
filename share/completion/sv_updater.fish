# SPDX-License-Identifier: MIT
# Completion of sv_updater for fish. A command takes the next word as its argument, whatever it looks like, so the
# words before the cursor are parsed in order.

function __sv_updater_offers
    set -l expected command
    for word in (commandline -opc)[2..]
        switch $expected:$word
            case command:--{bus,addr,reset-delay}
                set expected $word
            case command:--{update,upd,read,read-update}
                set expected file
            case command:--{set-mode,set}
                set expected parameter
            case parameter:{store,xlr-off,off,test-msg-ack,test-i2c-bug1}
                set expected command
            case 'parameter:*'
                set expected $word
            case '*'
                set expected command
        end
    end
    switch $expected
        case file
            __fish_complete_path (commandline -ct)
        case command
            string replace ' ' \t -- "--version identity and both regions" "--hw-version hardware id" \
                "--sw-version software id" "--serial serial number" "--date production date" \
                "--bom-version BOM version" "--probe 1 if the MCU answers, 0 if not" \
                "--status power status on one line" "--status-poetest power status on one line" \
                "--status-poetest-rebooted power status on one line, then REBOOTED" \
                "--status-poe power over Ethernet, on or off" \
                "--status-cable report of the cables" "--status-pse-adc report of the line measurements" "--dump all diagnostics" \
                "--dumps all diagnostics and the status line" "--no-dump-reset keep the counters in dumps and PSE-ADC reports" \
                "--update program an update file" "--upd program an update file unless up to date, reset at once" \
                "--read-update check that an update file loads" "--read read the whole flash back into a file" \
                "--erase erase the inactive region" "--force-update program even when up to date" \
                "--without-force-update program unless up to date" "--update-with-reset reset after an update" \
                "--update-without-reset no reset after an update" "--update-without-disable keep the active region enabled" \
                "--debug-update log the power state as an update does" "--reset reset the MCU after the reset delay" \
                "--reset-now reset the MCU now" "--reset-now-sync reset at once, without a delayed request" \
                "--reset-delay seconds until a reset, 0 to 25.5" \
                "--set-mode change a setting" "--set change a setting" "--bus I2C bus" "--addr I2C address" "--help show the usage" \
                "-h show the usage"
        case parameter
            string replace ' ' \t -- {priority,extpriority,prio}" priority of the power inputs" "w1validity check of the 1-Wire device" \
                {teko1-pd,pd1}" link 1 as powered device" {teko1-pse,teko1,pse1}" link 1 as source" \
                {teko2-pd,pd2}" link 2 as powered device" {teko2-pse,teko2,pse2}" link 2 as source" "led1 LED 1" "led2 LED 2" \
                "psuled LED of the power supply" "test-extsw test of the external switch" "test-10V test of the 10 V supply" \
                "test-msg send a test message" "store store the settings" {xlr-off,off}" switch the XLR input off" \
                "test-msg-ack acknowledge a message" "test-i2c-bug1 I2C test"
        case priority extpriority prio
            string split ' ' "normal norm default def battery-save low high"
        case w1validity
            string split ' ' "normal ignore"
        case 'teko*' pd1 pd2 pse1 pse2
            string split ' ' "enabled enable on 1 disabled disable off 0"
        case led1 led2
            string split ' ' "default def normal norm gn rd or off"
        case --bus
            set -l buses /dev/i2c-*
            string replace /dev/i2c- '' -- $buses
        case --addr
            echo 0x08
    end
end
complete -c sv_updater -f -k -a '(__sv_updater_offers)'

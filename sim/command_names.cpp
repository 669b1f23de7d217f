// SPDX-License-Identifier: MIT
#include "sim/command_names.h"

#include <algorithm>
#include <cstdio>

namespace sim {

namespace {

constexpr FrameForm kFrames[] = {
    {FrameCommand::kReadVersion, "read-version", kFrameCommandRegister, 0, false},
    {FrameCommand::kReadFlashStatus, "read-flash-status", kFrameCommandRegister, 0, false},
    {FrameCommand::kReadVersion2, "read-version2", kFrameCommandRegister, 0, false},
    {FrameCommand::kWriteSegment, "segment", kFrameRegister, kWriteKey, true},
    {FrameCommand::kCommitPage, "commit", kFramePageRegister, kWriteKey, true},
    {FrameCommand::kEraseOther, "erase", kFrameKeyRegister, kWriteKey, true},
    {FrameCommand::kEnableOther, "enable", kFrameRegister, kWriteKey, true},
    {FrameCommand::kDisableCurrent, "disable", kFrameKeyRegister, kWriteKey, true},
    {FrameCommand::kResetNow, "reset-now", kFrameKeyRegister, kWriteKey, true},
    {FrameCommand::kResetDelayed, "reset-delayed", kFrameRegister, kWriteKey, true},
    {FrameCommand::kReadSegment, "read-segment", kFramePageRegister, kReadKey, false},
};

struct RegisterName {
    RegisterCommand command;
    std::string_view name;
};

constexpr RegisterName kRegisterNames[] = {
    {RegisterCommand::kReadEnableWord, "read-enable-word"},
    {RegisterCommand::kReadInputMode, "read-input-mode"},
    {RegisterCommand::kWriteEnableWord, "write-enable-word"},
    {RegisterCommand::kWriteInputMode, "write-input-mode"},
    {RegisterCommand::kSetLed1, "set-led1"},
    {RegisterCommand::kSetLed2, "set-led2"},
    {RegisterCommand::kStoreSettings, "store-settings"},
    {RegisterCommand::kSwitchOff, "switch-off"},
    {RegisterCommand::kWriteW1Pio, "write-w1-pio"},
    {RegisterCommand::kTestExtSwitch, "test-ext-switch"},
    {RegisterCommand::kTest10V, "test-10v"},
    {RegisterCommand::kTestMessage, "test-message"},
    {RegisterCommand::kReadEeprom, "read-eeprom"},
    {RegisterCommand::kReadRom, "read-rom"},
    {RegisterCommand::kReadPowerrail, "read-powerrail"},
    {RegisterCommand::kReadExt, "read-ext"},
    {RegisterCommand::kReadTeko1Voltage, "read-teko1-voltage"},
    {RegisterCommand::kReadTeko2Voltage, "read-teko2-voltage"},
    {RegisterCommand::kReadTeko1Current, "read-teko1-current"},
    {RegisterCommand::kReadTeko2Current, "read-teko2-current"},
    {RegisterCommand::kReadTeko1Impedances, "read-teko1-impedances"},
    {RegisterCommand::kReadTeko2Impedances, "read-teko2-impedances"},
    {RegisterCommand::kReadPorts, "read-ports"},
    {RegisterCommand::kReadTemperature, "read-temperature"},
    {RegisterCommand::kReadVcc, "read-vcc"},
    {RegisterCommand::kReadSpare1, "read-spare1"},
    {RegisterCommand::kResetDiagnostics, "reset-diagnostics"},
    {RegisterCommand::kReadPseStates, "read-pse-states"},
    {RegisterCommand::kReadPdStates, "read-pd-states"},
    {RegisterCommand::kReadTeko1Page, "read-teko1-page"},
    {RegisterCommand::kReadTeko2Page, "read-teko2-page"},
    {RegisterCommand::kReadNevents, "read-nevents"},
    {RegisterCommand::kReadTemperatureCal, "read-temperature-cal"},
    {RegisterCommand::kReadSpare2, "read-spare2"},
};

}  // namespace

const FrameForm* find_frame_form(uint8_t code) {
    const auto* form = std::find_if(std::begin(kFrames), std::end(kFrames),
                                    [&](const FrameForm& f) { return static_cast<uint8_t>(f.command) == code; });
    return form == std::end(kFrames) ? nullptr : form;
}

std::string register_command_name(uint8_t code) {
    for (const RegisterName& entry : kRegisterNames) {
        if (static_cast<uint8_t>(entry.command) == code) {
            return std::string(entry.name);
        }
    }
    char text[16];
    std::snprintf(text, sizeof text, "command-%02x", code);
    return text;
}

std::optional<CommandCode> find_command(std::string_view name) {
    for (const FrameForm& form : kFrames) {
        if (form.name == name) {
            return CommandCode{true, static_cast<uint8_t>(form.command)};
        }
    }
    for (const RegisterName& entry : kRegisterNames) {
        if (entry.name == name) {
            return CommandCode{false, static_cast<uint8_t>(entry.command)};
        }
    }
    return std::nullopt;
}

std::optional<CommandCode> command_of(std::span<const uint8_t> bytes) {
    const auto covers = [&](uint8_t reg) { return reg >= bytes[0] && reg + 1U < bytes[0] + bytes.size(); };
    for (const uint8_t reg : {kFrameCommandRegister, kCommandRegister}) {
        if (covers(reg)) {
            return CommandCode{reg == kFrameCommandRegister, bytes[1U + reg - bytes[0]]};
        }
    }
    return std::nullopt;
}

bool has_page(CommandCode command) {
    const auto is = [&](FrameCommand code) { return command == CommandCode{true, static_cast<uint8_t>(code)}; };
    return is(FrameCommand::kWriteSegment) || is(FrameCommand::kCommitPage) || is(FrameCommand::kReadSegment);
}

}  // namespace sim

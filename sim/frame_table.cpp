// SPDX-License-Identifier: MIT
#include "sim/frame_table.h"

#include <algorithm>

#include "sim/text.h"

namespace sim {

namespace {

constexpr BusDevice kDevices[] = {
    {kChargerAddress, "charger"},
    {kUsbAddress, "usb"},
    {kDisplayAddress, "display"},
};

constexpr Field kSegmentFields[] = {
    {"page", kFramePageRegister, 2},
    {"segment", kFrameSegmentRegister, 1},
};
constexpr Field kCommitFields[] = {
    {"page", kFramePageRegister, 2},
    {"crc", kFrameChecksumRegister, 2, Notation::kHex},
};
constexpr Field kEnableFields[] = {
    {"swid", kFrameRegister, 2, Notation::kHex},
    {"crc", kFrameChecksumRegister, 2, Notation::kHex},
};
constexpr Field kDelayFields[] = {{"delay", kFrameRegister, 1, Notation::kTenths}};

constexpr Field kVersionFields[] = {
    {"hwid", 0x80, 2, Notation::kHex},       {"swid", 0x82, 2, Notation::kHex},
    {"other_swid", 0x84, 2, Notation::kHex}, {"active", 0x86, 1},
    {"serial", 0x88, 18, Notation::kBytes},  {"production_minutes", 0x9A, 4},
    {"crc", 0x9E, 2, Notation::kHex},
};
constexpr Field kVersion2Fields[] = {{"crc", 0x9E, 2, Notation::kHex}};
constexpr Field kFlashStatusFields[] = {
    {"crc0", 0x80, 2, Notation::kHex},
    {"crc1", 0x82, 2, Notation::kHex},
    {"region_size", 0x84, 4},
    {"page_size", 0x88, 2},
};

constexpr Field kStatusBlockFields[] = {
    {"source", 0x00, 1, Notation::kDecimal, 0x03},
    {"teko1_connected", 0x00, 1, Notation::kDecimal, 0x08},
    {"teko2_connected", 0x00, 1, Notation::kDecimal, 0x10},
    {"message_pending", 0x00, 1, Notation::kDecimal, 0x40},
    {"teko_supported", 0x00, 1, Notation::kDecimal, 0x80},
    {"ext_validated", 0x01, 1, Notation::kDecimal, 0x02},
    {"input_error", 0x01, 1, Notation::kDecimal, 0x04},
    {"teko_idx", 0x02, 1, Notation::kDecimal, 0x0F},
    {"teko1_oc", 0x02, 1, Notation::kDecimal, 0x10},
    {"teko2_oc", 0x02, 1, Notation::kDecimal, 0x20},
    {"teko1_oc_alert", 0x02, 1, Notation::kDecimal, 0x40},
    {"teko2_oc_alert", 0x02, 1, Notation::kDecimal, 0x80},
    {"message", 0x05, 5, Notation::kBytes},
    {"handshake", kHandshakeRegister, 1},
    {"marker", kMarkerRegister, 1, Notation::kHex},
    {"teko1_imp", 0x10, 1},
    {"teko2_imp", 0x11, 1},
    {"teko1_imp_max", 0x12, 1},
    {"teko2_imp_max", 0x13, 1},
};

constexpr FrameForm kFrames[] = {
    {FrameCommand::kReadVersion, "read-version", kFrameCommandRegister, 0, false, {}, 32, kVersionFields},
    {FrameCommand::kReadFlashStatus, "read-flash-status", kFrameCommandRegister, 0, false, {}, 10, kFlashStatusFields},
    {FrameCommand::kReadVersion2, "read-version2", kFrameCommandRegister, 0, false, {}, 32, kVersion2Fields},
    {FrameCommand::kWriteSegment, "segment", kFrameRegister, kWriteKey, true, kSegmentFields},
    {FrameCommand::kCommitPage, "commit", kFramePageRegister, kWriteKey, true, kCommitFields},
    {FrameCommand::kEraseOther, "erase", kFrameKeyRegister, kWriteKey, true},
    {FrameCommand::kEnableOther, "enable", kFrameRegister, kWriteKey, true, kEnableFields},
    {FrameCommand::kDisableCurrent, "disable", kFrameKeyRegister, kWriteKey, true},
    {FrameCommand::kResetNow, "reset-now", kFrameKeyRegister, kWriteKey, true},
    {FrameCommand::kResetDelayed, "reset-delayed", kFrameRegister, kWriteKey, true, kDelayFields},
    {FrameCommand::kReadSegment, "read-segment", kFramePageRegister, kReadKey, false, kSegmentFields, 32},
};

constexpr RegisterForm kRegisterCommands[] = {
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

std::span<const BusDevice> bus_devices() {
    return kDevices;
}

std::span<const FrameForm> frame_forms() {
    return kFrames;
}

std::span<const RegisterForm> register_forms() {
    return kRegisterCommands;
}

std::span<const Field> status_block_fields() {
    return kStatusBlockFields;
}

std::string field_text(const Field& field, uint8_t start, std::span<const uint8_t> bytes) {
    bytes = bytes.subspan(field.reg - start, field.width);
    if (field.notation == Notation::kBytes) {
        std::string digits;
        for (const uint8_t byte : bytes) {
            digits += text("%02x", byte);
        }
        return digits;
    }
    uint32_t value = 0;
    for (size_t i = bytes.size(); i-- > 0;) {
        value = value << 8 | bytes[i];
    }
    switch (field.notation) {
        case Notation::kHex: return text("%0*x", 2 * field.width, value);
        case Notation::kTenths: return text("%u.%us", value / 10, value % 10);
        default: return std::to_string(value);
    }
}

const FrameForm* find_frame_form(uint8_t code) {
    const auto* form = std::find_if(std::begin(kFrames), std::end(kFrames),
                                    [&](const FrameForm& f) { return static_cast<uint8_t>(f.command) == code; });
    return form == std::end(kFrames) ? nullptr : form;
}

std::string register_command_name(uint8_t code) {
    for (const RegisterForm& entry : kRegisterCommands) {
        if (static_cast<uint8_t>(entry.command) == code) {
            return std::string(entry.name);
        }
    }
    return text("command-%02x", code);
}

std::optional<CommandCode> find_command(std::string_view name) {
    for (const FrameForm& form : kFrames) {
        if (form.name == name) {
            return CommandCode{true, static_cast<uint8_t>(form.command)};
        }
    }
    for (const RegisterForm& entry : kRegisterCommands) {
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
    const FrameForm* form = command.frame ? find_frame_form(command.code) : nullptr;
    return form != nullptr && !form->fields.empty() && form->fields[0].name == "page";
}

}  // namespace sim

// SPDX-License-Identifier: MIT
#include "status/status_line.h"

#include <cstdio>

#include "diag/formulas.h"
#include "diag/input_status.h"
#include "diag/read_diagnostics.h"
#include "log/log.h"
#include "log/timestamp.h"
#include "mcu/identity.h"
#include "status/host_probes.h"
#include "util/byte_list.h"

namespace {

constexpr size_t kTemperatureTextSize = 16;

bool is_present(const McuDevice& device, uint8_t address) {
    uint8_t byte = 0;
    return i2c_read(*device.bus, address, 0, 1, &byte);
}

void print_time() {
    char timestamp[kTimestampSize];
    format_timestamp(0, timestamp, sizeof timestamp);
    char uptime[kUptimeTextSize];
    read_uptime(uptime);
    std::printf("%s up %s", timestamp, uptime);
}

/// Returns whether the power comes over Ethernet; not when it can't be told.
bool print_poe(McuDevice& device) {
    bool present = false;
    if (read_poe_gpio(device, present)) {
        std::printf(" POE=%s", present ? "on " : "off");
    } else {
        std::printf(" POE=---");
    }
    return present;
}

void print_mcu_off(bool poe) {
    std::printf(" SVMCU=%s", "off");
    if (poe) {
        std::printf(" RST=--- SW=----/-/---- PWR=----V IN=PoE   OUT=---");
    } else {
        std::printf(" RST=--- SW=----/-/---- PWR=----V IN=----- OUT=---");
    }
}

void print_reset(McuDevice& device, bool readable, const InputStatus& status) {
    if (!readable) {
        std::printf(" RST=---");
    } else if (status.reset_marker_read == device.reset_marker) {
        std::printf(" RST=no ");
    } else if (!write_reset_marker(device)) {
        std::printf(" RST=ERR");
    } else if (status.reset_marker_read == 0) {
        std::printf(" RST=yes");
    } else {
        std::printf(" RST=%02x ", status.reset_marker_read);
    }
}

void print_firmware(McuDevice& device) {
    const bool version_ok = read_version(device, nullptr);
    const bool status_ok = read_flash_status(device, nullptr);
    if (version_ok && status_ok) {
        std::printf(" SW=%04x/%d/%04x", device.swid, device.active_region,
                    device.active_region != 0 ? device.crc1 : device.crc0);
    } else {
        std::printf(" SW=----/-/----");
    }
}

/// Fills `temperature`, kTemperatureTextSize bytes, with the end of the line.
void print_powerrail(const McuDevice& device, const DiagRecord& record, char* temperature) {
    if (record.valid == 0) {
        std::printf(" PWR=----V");
        return;
    }
    std::printf(" PWR=%4.1fV", static_cast<double>(powerrail_volts(device, record)));
    std::snprintf(temperature, kTemperatureTextSize, ",%3.1fdegC", mcu_temperature(device, record));
}

void print_input(const InputStatus& status) {
    switch (status.source) {
        case PowerSource::kNone: std::printf(" IN=off  "); break;
        case PowerSource::kExt: std::printf(status.ext_validated ? " IN=ext/0" : " IN=ext/?"); break;
        case PowerSource::kLink1: std::printf(" IN=Ln1/%d", status.teko_idx); break;
        case PowerSource::kLink2: std::printf(" IN=Ln2/%d", status.teko_idx); break;
    }
}

void print_output(const InputStatus& status) {
    if (status.teko1_connected && status.teko2_connected) {
        std::printf(" OUT=1+2");
    } else if (status.teko1_connected) {
        std::printf(" OUT=Ln1");
    } else if (status.teko2_connected) {
        std::printf(" OUT=Ln2");
    } else {
        std::printf(" OUT=no ");
    }
}

void print_inputs_and_outputs(bool readable, const InputStatus& status, const uint8_t* block) {
    if (!readable) {
        std::printf(" IN=----- OUT=---");
        return;
    }
    if (!status.reports_inputs) {
        std::printf(" IO=NOT_supported");
        print_bytes(block, kStatusBlockBufferSize);
        return;
    }
    print_input(status);
    print_output(status);
}

/// Everything that needs an answering MCU.
void print_mcu(McuDevice& device, const StatusInputs& inputs, char* temperature) {
    std::printf(" SVMCU=%s", "on ");
    uint8_t own_block[kStatusBlockBufferSize] = {};
    if (inputs.status_block == nullptr) {
        read_status_block(device, own_block);
    }
    const uint8_t* block = inputs.status_block != nullptr ? inputs.status_block : own_block;
    const bool readable = block[kStatusBlockSize] != 0;
    const InputStatus status = decode_status_block(block);

    print_reset(device, readable, status);
    print_firmware(device);
    DiagRecord own_record{};
    if (inputs.record == nullptr) {
        read_diagnostics(device, own_record);
    }
    print_powerrail(device, inputs.record != nullptr ? *inputs.record : own_record, temperature);
    print_inputs_and_outputs(readable, status, block);
}

void print_charger(McuDevice& device, const CapRegisters* given) {
    CapRegisters words;
    // Read even when the words are given: an unreadable charger shows as dashes either way.
    if (!read_charger_registers(device, words)) {
        std::printf(" CAP=----/----V/---W");
        return;
    }
    if (given != nullptr) {
        words = *given;
    }
    const bool full = (words.cap_status & kChargerFull) != 0;
    std::printf(" CAP=%s/%04.1fV/%3.1fW", full ? "full" : "notF", capacitor_volts(words), charger_supply_watts(words));
}

void print_temperatures(const char* mcu_temperature_text) {
    float temperatures[2];
    read_temperatures(temperatures);
    std::printf(" TEMP=%3.1fdegC", static_cast<double>(temperatures[0]) + 0.05);
    std::printf(",%3.1fdegC", static_cast<double>(temperatures[1]) + 0.05);
    std::printf("%s", mcu_temperature_text);
}

/// The IN and OUT parts of the log line, each with its leading comma.
struct LogParts {
    char input[24] = "";
    const char* output = "";
};

LogParts make_log_parts(const InputStatus& status) {
    LogParts parts;
    if (!status.reports_inputs) {
        std::snprintf(parts.input, sizeof parts.input, ", IO=NOT_supported");
        return parts;
    }
    switch (status.source) {
        case PowerSource::kNone: std::snprintf(parts.input, sizeof parts.input, ", IN=off"); break;
        case PowerSource::kExt:
            std::snprintf(parts.input, sizeof parts.input, status.ext_validated ? ", IN=ext/0" : ", IN=ext/?");
            break;
        case PowerSource::kLink1: std::snprintf(parts.input, sizeof parts.input, ", IN=Ln1/%d", status.teko_idx); break;
        case PowerSource::kLink2: std::snprintf(parts.input, sizeof parts.input, ", IN=Ln2/%d", status.teko_idx); break;
    }
    if (status.teko1_connected) {
        parts.output = status.teko2_connected ? ", OUT=1+2" : ", OUT=Ln1";
    } else {
        parts.output = status.teko2_connected ? ", OUT=Ln2" : ", OUT=no";
    }
    return parts;
}

}  // namespace

void print_status_line(McuDevice& device, const StatusInputs& inputs) {
    print_time();
    std::printf("  DISP=%s", is_present(device, kDisplayAddress) ? "on " : "off");
    const bool poe = print_poe(device);
    char temperature[kTemperatureTextSize] = "";
    if (probe_mcu(device)) {
        print_mcu(device, inputs, temperature);
    } else {
        print_mcu_off(poe);
    }
    print_charger(device, inputs.charger);
    std::printf(" USB=%s", is_present(device, kUsbAddress) ? "on" : "off");
    print_temperatures(temperature);
}

bool log_status_summary(McuDevice& device) {
    uint8_t block[kStatusBlockBufferSize] = {};
    if (!read_status_block(device, block)) {
        log_message(kLogInfo, "status SVMCU=off, OK=%d, DATA=%02x %02x %02x", 0, block[0], block[1], block[2]);
        return false;
    }
    DiagRecord record{};
    read_diagnostics(device, record);
    const InputStatus status = decode_status_block(block);
    const LogParts parts = make_log_parts(status);
    const uint8_t* u1 = record.teko1_pages[0];
    const uint8_t* u2 = record.teko2_pages[0];
    log_message(kLogInfo,
                "status SVMCU=on, OK=%d %d%s%s, PWR=%3.1fV, IMP=%d %d, DATA=%02x %02x %02x, "
                "U1=%02x %02x %02x %02x %02x, U2=%02x %02x %02x %02x %02x, EXT=%3.1fV",
                1, record.valid, parts.input, parts.output, static_cast<double>(powerrail_volts(device, record)),
                status.teko1_imp, status.teko2_imp, block[0], block[1], block[2], u1[0], u1[1], u1[2], u1[3], u1[4],
                u2[0], u2[1], u2[2], u2[3], u2[4], static_cast<double>(ext_volts(device, record)));
    return true;
}

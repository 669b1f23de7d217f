// SPDX-License-Identifier: MIT
#include "status/status_line.h"

#include <cstdio>
#include <cstring>

#include "diag/formulas.h"
#include "diag/input_status.h"
#include "diag/read_diagnostics.h"
#include "log/log.h"
#include "log/timestamp.h"
#include "mcu/charger.h"
#include "mcu/i2c_bus.h"
#include "mcu/identity.h"
#include "status/host_probes.h"
#include "util/byte_list.h"

namespace {

/// The outcome of comparing the marker register with the marker that the tool writes.
enum class ResetMarker : uint8_t { kUnread, kUnchanged, kRewritten, kWriteFailed };

/// What an answering MCU reports.
struct McuReport {
    uint8_t status_block[kStatusBlockBufferSize] = {};
    ResetMarker marker = ResetMarker::kUnread;
    bool identified = false;  ///< the device's McuInfo is current
    DiagRecord record{};
};

/// Everything in the line, in the order in which it is read.
struct StatusLine {
    char timestamp[kTimestampSize];
    char uptime[kUptimeTextSize];
    bool display_present;
    bool poe_known;
    bool poe_present;  ///< false when unknown
    bool mcu_present;
    McuReport mcu;  ///< only when present
    bool charger_known;
    CapRegisters charger;
    bool usb_present;
    float temperatures[2];
};

/// How the board gets its power and where it passes it on.
struct PowerPath {
    char input[20] = "";
    const char* output = "";  ///< empty: the firmware reports neither
};

PowerPath power_path(const InputStatus& status) {
    PowerPath path;
    if (!status.reports_inputs) {
        std::snprintf(path.input, sizeof path.input, "IO=NOT_supported");
        return path;
    }
    switch (status.source) {
        case PowerSource::kNone: std::snprintf(path.input, sizeof path.input, "IN=off"); break;
        case PowerSource::kExt:
            std::snprintf(path.input, sizeof path.input, status.ext_validated ? "IN=ext/0" : "IN=ext/?");
            break;
        case PowerSource::kLink1: std::snprintf(path.input, sizeof path.input, "IN=Ln1/%d", status.teko_idx); break;
        case PowerSource::kLink2: std::snprintf(path.input, sizeof path.input, "IN=Ln2/%d", status.teko_idx); break;
    }
    if (status.teko1_connected) {
        path.output = status.teko2_connected ? "OUT=1+2" : "OUT=Ln1";
    } else {
        path.output = status.teko2_connected ? "OUT=Ln2" : "OUT=no";
    }
    return path;
}

bool is_readable(const uint8_t* status_block) {
    return status_block[kStatusBlockSize] != 0;
}

bool is_present(const McuDevice& device, uint8_t address) {
    uint8_t byte = 0;
    return i2c_read(*device.bus, address, 0, 1, &byte);
}

ResetMarker check_reset_marker(McuDevice& device, const uint8_t* status_block) {
    if (!is_readable(status_block)) {
        return ResetMarker::kUnread;
    }
    if (decode_status_block(status_block).reset_marker_read == device.reset_marker) {
        return ResetMarker::kUnchanged;
    }
    return write_reset_marker(device) ? ResetMarker::kRewritten : ResetMarker::kWriteFailed;
}

void read_mcu(McuDevice& device, const StatusInputs& inputs, McuReport& report) {
    if (inputs.status_block != nullptr) {
        std::memcpy(report.status_block, inputs.status_block, sizeof report.status_block);
    } else {
        read_status_block(device, report.status_block);
    }
    report.marker = check_reset_marker(device, report.status_block);
    const bool version_ok = read_version(device, nullptr);
    const bool status_ok = read_flash_status(device, nullptr);
    report.identified = version_ok && status_ok;
    if (inputs.record != nullptr) {
        report.record = *inputs.record;
    } else {
        read_diagnostics(device, report.record);
    }
}

void read_status_line(McuDevice& device, const StatusInputs& inputs, StatusLine& line) {
    format_timestamp(0, line.timestamp, sizeof line.timestamp);
    read_uptime(line.uptime);
    line.display_present = is_present(device, kDisplayAddress);
    line.poe_present = false;
    line.poe_known = read_poe_gpio(device, line.poe_present);
    line.mcu_present = probe_mcu(device);
    if (line.mcu_present) {
        read_mcu(device, inputs, line.mcu);
    }
    // Read even if the caller has the words: dashes show a charger that does not answer now.
    line.charger_known = read_charger_registers(*device.bus, line.charger);
    if (inputs.charger != nullptr) {
        line.charger = *inputs.charger;
    }
    line.usb_present = is_present(device, kUsbAddress);
    read_temperatures(line.temperatures);
}

void print_reset(const McuReport& mcu) {
    const uint8_t marker = decode_status_block(mcu.status_block).reset_marker_read;
    switch (mcu.marker) {
        case ResetMarker::kUnread: std::printf(" RST=---"); break;
        case ResetMarker::kUnchanged: std::printf(" RST=no "); break;
        case ResetMarker::kWriteFailed: std::printf(" RST=ERR"); break;
        case ResetMarker::kRewritten:
            if (marker == 0) {
                std::printf(" RST=yes");
            } else {
                std::printf(" RST=%02x ", marker);
            }
            break;
    }
}

void print_power_path(const McuReport& mcu) {
    if (!is_readable(mcu.status_block)) {
        std::printf(" IN=----- OUT=---");
        return;
    }
    const PowerPath path = power_path(decode_status_block(mcu.status_block));
    std::printf(" %-8s", path.input);
    if (*path.output != '\0') {
        std::printf(" %-7s", path.output);
    } else {
        print_bytes(mcu.status_block, sizeof mcu.status_block);
    }
}

void print_mcu(const McuDevice& device, const McuReport& mcu) {
    std::printf(" SVMCU=on ");
    print_reset(mcu);
    if (mcu.identified) {
        std::printf(" SW=%04x/%d/%04x", device.swid, device.active_region,
                    device.active_region != 0 ? device.crc1 : device.crc0);
    } else {
        std::printf(" SW=----/-/----");
    }
    if (mcu.record.valid != 0) {
        std::printf(" PWR=%4.1fV", static_cast<double>(powerrail_volts(device.calibration(), mcu.record)));
    } else {
        std::printf(" PWR=----V");
    }
    print_power_path(mcu);
}

void print_charger(const StatusLine& line) {
    if (!line.charger_known) {
        std::printf(" CAP=----/----V/---W");
        return;
    }
    const bool full = (line.charger.cap_status & kChargerFull) != 0;
    std::printf(" CAP=%s/%04.1fV/%3.1fW", full ? "full" : "notF", capacitor_volts(line.charger),
                charger_supply_watts(line.charger));
}

void print_line(const McuDevice& device, const StatusLine& line) {
    std::printf("%s up %s", line.timestamp, line.uptime);
    std::printf("  DISP=%s", line.display_present ? "on " : "off");
    const char* poe = line.poe_present ? "on " : "off";
    std::printf(" POE=%s", line.poe_known ? poe : "---");
    if (line.mcu_present) {
        print_mcu(device, line.mcu);
    } else {
        std::printf(" SVMCU=off RST=--- SW=----/-/---- PWR=----V %-8s OUT=---",
                    line.poe_present ? "IN=PoE" : "IN=-----");
    }
    print_charger(line);
    std::printf(" USB=%s", line.usb_present ? "on" : "off");
    std::printf(" TEMP=%3.1fdegC", static_cast<double>(line.temperatures[0]) + 0.05);
    std::printf(",%3.1fdegC", static_cast<double>(line.temperatures[1]) + 0.05);
    if (line.mcu_present && line.mcu.record.valid != 0) {
        std::printf(",%3.1fdegC", mcu_temperature(device.calibration(), line.mcu.record));
    }
}

}  // namespace

void print_status_line(McuDevice& device, const StatusInputs& inputs) {
    StatusLine line{};
    read_status_line(device, inputs, line);
    print_line(device, line);
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
    const PowerPath path = power_path(status);
    const uint8_t* u1 = record.teko1_pages[0];
    const uint8_t* u2 = record.teko2_pages[0];
    log_message(kLogInfo,
                "status SVMCU=on, OK=%d %d, %s%s%s, PWR=%3.1fV, IMP=%d %d, DATA=%02x %02x %02x, "
                "U1=%02x %02x %02x %02x %02x, U2=%02x %02x %02x %02x %02x, EXT=%3.1fV",
                1, record.valid, path.input, *path.output != '\0' ? ", " : "", path.output,
                static_cast<double>(powerrail_volts(device.calibration(), record)), status.teko1_imp, status.teko2_imp,
                block[0], block[1], block[2], u1[0], u1[1], u1[2], u1[3], u1[4], u2[0], u2[1], u2[2], u2[3], u2[4],
                static_cast<double>(ext_volts(device.calibration(), record)));
    return true;
}

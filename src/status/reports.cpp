// SPDX-License-Identifier: MIT
#include "status/reports.h"

#include <cstdio>
#include <cstring>

#include "diag/formulas.h"
#include "diag/read_diagnostics.h"
#include "diag/teko.h"
#include "log/timestamp.h"
#include "mcu/transactions.h"
#include "status/host_probes.h"
#include "util/little_endian.h"

namespace {

constexpr uint8_t kPseAdcFill = 0x11;
constexpr size_t kPseAdcWords = 60;  // pages 1 to 3, and 24 bytes of page 4

struct Temperatures {
    double network;
    double display;
    double mcu;
};

Temperatures read_all_temperatures(const McuDevice& device, const DiagRecord& record) {
    float host[2];
    read_temperatures(host);
    return {static_cast<double>(host[0]) + 0.05, static_cast<double>(host[1]) + 0.05,
            mcu_temperature(device.calibration(), record)};
}

bool has_something_to_show(const TekoView& teko) {
    return teko.page.cable_sum > 10 || teko.page.imp_valid_count > 10;
}

/// A valid count of 100 or more, or more than 65 V on the cable, cannot be a measurement.
bool is_implausible(const Calibration& cal, const TekoView& teko) {
    return teko.page.imp_valid_count >= 100 || cable_volts(cal, teko.page) > 65.0F;
}

void print_cable_line(const Calibration& cal, const TekoView& teko, const char* timestamp, const char* uptime,
                      const Temperatures& temperatures) {
    const TekoDiagPage& page = teko.page;
    std::printf("%s  up %s  TEKO%d = valid=%04x %4.0f %2d, cable=%5.2f %05x %2d, hpwr=%d, temp=%5.1f %5.1f %5.1f\n",
                timestamp, uptime, teko.number, page.imp_valid_raw,
                static_cast<double>(impedance(cal, page.imp_valid_raw)), page.imp_valid_count,
                static_cast<double>(cable_volts(cal, page)), page.cable_sum, page.cable_count, page.hpwr,
                temperatures.network, temperatures.display, temperatures.mcu);
}

/// Reads as much of the record as the MCU gives; the rest stays zero.
void read_for_cable_report(McuDevice& device, DiagRecord& record) {
    uint8_t block[kStatusBlockBufferSize] = {};
    if (!read_status_block(device, block)) {
        std::fprintf(stderr, "SVMCU ERROR: %s\n", device.last_error.c_str());
    } else if (!read_diagnostics(device, record)) {
        std::fprintf(stderr, "SVMCU ERROR: while getting diagnostics: %s\n", device.last_error.c_str());
    }
}

void print_pse_adc_part(const Calibration& cal, const TekoView& teko) {
    for (size_t i = 0; i < kPseAdcWords; ++i) {
        const size_t at = 2 * i;
        std::printf("%04x ", get_le16(&teko.pages[1 + at / kDiagPageSize][at % kDiagPageSize]));
    }
    const TekoDiagPage& page = teko.page;
    std::printf("%02x %5.2f %05x/ %2d h%x ", page.cable_aux, static_cast<double>(cable_volts(cal, page)),
                page.cable_sum, page.cable_count, page.hpwr);
}

}  // namespace

void print_cable_report(McuDevice& device) {
    DiagRecord record{};
    read_for_cable_report(device, record);
    const Temperatures temperatures = read_all_temperatures(device, record);
    char timestamp[kTimestampSize];
    format_timestamp(0, timestamp, sizeof timestamp);
    char uptime[kUptimeTextSize];
    read_uptime(uptime);
    reset_diagnostics(device);

    const TekoView views[] = {teko1_view(record), teko2_view(record)};
    const bool show_both = !has_something_to_show(views[0]) && !has_something_to_show(views[1]);
    for (const TekoView& teko : views) {
        if ((show_both || has_something_to_show(teko)) && !is_implausible(device.calibration(), teko)) {
            print_cable_line(device.calibration(), teko, timestamp, uptime, temperatures);
        }
    }
}

bool print_pse_adc_report(McuDevice& device) {
    DiagRecord record;
    std::memset(&record, kPseAdcFill, sizeof record);
    // Result ignored: the report needs the pages, and they are read again below.
    read_diagnostics(device, record);
    for (uint8_t page = 0; page < kDiagPages; ++page) {
        if (!read_diag_page(device, RegisterCommand::kReadTeko1Page, page, record.teko1_pages[page], kDiagPageSize) ||
            !read_diag_page(device, RegisterCommand::kReadTeko2Page, page, record.teko2_pages[page], kDiagPageSize)) {
            return false;
        }
    }
    char timestamp[kTimestampSize];
    format_timestamp(0, timestamp, sizeof timestamp);
    const Temperatures temperatures = read_all_temperatures(device, record);
    std::printf("%s ", timestamp);
    print_pse_adc_part(device.calibration(), teko1_view(record));
    print_pse_adc_part(device.calibration(), teko2_view(record));
    std::printf(" %5.1f %5.1f %5.1f\n", temperatures.network, temperatures.display, temperatures.mcu);
    return true;
}

// SPDX-License-Identifier: MIT
#include "cli/identity_commands.h"

#include <cstdio>

#include "log/log.h"
#include "log/timestamp.h"
#include "mcu/flash_geometry.h"
#include "mcu/identity.h"
#include "mcu/transactions.h"
#include "util/byte_list.h"

namespace {

uint32_t production_minutes(const McuInfo& info) {
    return info.production_time / 60;
}

const char* empty_mark(uint16_t crc) {
    return crc == kErasedChecksum ? " empty?" : "";
}

/// Completes a line that begins with the block's label.
void print_version_block(const uint8_t* block, const char* verdict) {
    print_grouped_bytes(block, kVersionBlockSize);
    std::printf("  %s\n", verdict);
}

void print_identity(const McuInfo& info) {
    char date[kTimestampSize];
    format_timestamp(info.production_time, date, sizeof date);
    std::printf("swid   = %04x\n", info.swid);
    std::printf("hwid   = %04x\n", info.hwid);
    std::printf("active = %d\n", info.active_region);
    std::printf("serial = %s\n", info.serial);
    std::printf("prod   = %s (%lx)\n", date, static_cast<unsigned long>(production_minutes(info)));
    std::printf("swcrc  = %04x\n", info.active_region != 0 ? info.crc1 : info.crc0);
    std::printf("----\n");
    std::printf("swid0  = %04x\n", info.swid0);
    std::printf("swid1  = %04x\n", info.swid1);
    std::printf("memory = %05x\n", info.memory_size);
    std::printf("region = %05x\n", info.region_size);
    std::printf("page   = %03x\n", info.page_size);
    std::printf("segment = %02x\n", info.segment_size);
    std::printf("crc0   = %04x%s\n", info.crc0, empty_mark(info.crc0));
    std::printf("crc1   = %04x%s\n", info.crc1, empty_mark(info.crc1));
    std::printf("----\n");
    const char* crc1_verdict = info.version1_crc_ok != 0 ? "ok" : "crc-error";
    const char* crc2_verdict = info.version2_crc_ok != 0 ? "ok" : "crc-error";
    std::printf("version1 =");
    print_version_block(info.version1, crc1_verdict);
    std::printf("version2 =");
    print_version_block(info.version2, info.version2_empty != 0 ? "empty" : crc2_verdict);
}

/// Reads the identity; logs the reason of a failure unchanged.
bool read_identity(CommandContext& context, McuInfo& info) {
    return read_version(context.device, &info) || log_last_error(context.device);
}

}  // namespace

bool run_version(CommandContext& context) {
    McuInfo info;
    if (!read_version(context.device, &info)) {
        log_message(kLogError, "could not read version (%s)", context.device.last_error.c_str());
        return false;
    }
    if (!read_flash_status(context.device, &info)) {
        log_message(kLogError, "could not read status (%s)", context.device.last_error.c_str());
        return false;
    }
    print_identity(info);
    return true;
}

bool run_hw_version(CommandContext& context) {
    McuInfo info;
    if (!read_identity(context, info)) {
        return false;
    }
    std::printf("%04X\n", info.hwid);
    return true;
}

bool run_sw_version(CommandContext& context) {
    McuInfo info;
    if (!read_identity(context, info)) {
        return false;
    }
    std::printf("%04X\n", info.swid);
    return true;
}

bool run_serial(CommandContext& context) {
    McuInfo info;
    if (!read_identity(context, info)) {
        return false;
    }
    std::printf("%s\n", info.serial);
    return true;
}

bool run_date(CommandContext& context) {
    McuInfo info;
    if (!read_identity(context, info)) {
        return false;
    }
    char date[kTimestampSize];
    format_minutes_timestamp(production_minutes(info), date, sizeof date);
    std::printf("%s\n", date);
    return true;
}

bool run_bom_version(CommandContext& /*context*/) {
    std::puts("-todo-");
    return true;
}

bool run_probe(CommandContext& context) {
    const bool present = probe_mcu(context.device);
    std::puts(present ? "1" : "0");
    return present;
}

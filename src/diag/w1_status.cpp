// SPDX-License-Identifier: MIT
#include "diag/w1_status.h"

#include <cstdio>
#include <iterator>

#include "mcu/transactions.h"
#include "util/byte_list.h"

namespace {

constexpr uint8_t kDataCrc = 0x80;

constexpr const char* kNames[] = {
    "ok",      "BUSY",  "STARTED", "unknown",  "STARTED_DETECT", "PRESENT", "NOT_PRESENT", "FAMILY", "ROM_COLLISION",
    "ROM_CRC", "STATE", "CALL",    "ROM_READ", "PIO_WRITE",      "DRIVER",
};
static_assert(std::size(kNames) == 15);

}  // namespace

const char* w1_status_name(uint8_t status) {
    if (status == kDataCrc) {
        return "DATA_CRC";
    }
    return status < std::size(kNames) ? kNames[status] : "unknown";
}

bool print_w1_pio(McuDevice& device, uint16_t value, bool print) {
    const bool ok = run_register_command_with_param(device, value, RegisterCommand::kWriteW1Pio, nullptr);
    uint8_t bytes[8];
    uint8_t status = 0;
    if (!read_registers(device, kDataRegister, sizeof bytes, bytes) ||
        !read_registers(device, kParameterRegister, 1, &status)) {
        return false;
    }
    if (print) {
        std::printf("W1_PIO            =");
        print_grouped_bytes(bytes, sizeof bytes);
        std::printf(" - %s (%02x)\n", w1_status_name(status), status);
    }
    return ok;
}

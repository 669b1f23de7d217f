// SPDX-License-Identifier: MIT
#include "ctl/power.h"

#include "ctl/power_source.h"
#include "diag/read_diagnostics.h"
#include "mcu/i2c_bus.h"
#include "mcu/identity.h"
#include "mcu/transactions.h"
#include "status/host_probes.h"

namespace {

void read_host(McuDevice& device, Power& power) {
    float number = 0;
    if (read_uptime_seconds(number)) {
        power.uptime_seconds = number;
    }
    if (read_network_temperature(number)) {
        power.network_celsius = number;
    }
    if (read_display_temperature(number)) {
        power.display_celsius = number;
    }
    bool present = false;
    if (read_poe_gpio(device, present)) {
        power.poe_present = present;
    }
}

void read_neighbours(const I2cBus& bus, Power& power) {
    uint8_t byte = 0;
    power.display_present = i2c_read(bus, kDisplayAddress, 0, 1, &byte);
    power.usb_present = i2c_read(bus, kUsbAddress, 0, 1, &byte);
    CapRegisters words;
    if (read_charger_registers(bus, words)) {
        power.charger = words;
    }
}

bool read_identity(McuDevice& device, Power& power) {
    // The copies decide, not the results: an unknown hardware id or geometry is reported like any other.
    McuInfo info;
    read_version(device, &info);
    if (info.page_size == 0) {
        return false;
    }
    power.identity = info;
    info.page_size = 0;
    read_flash_status(device, &info);
    if (info.page_size == 0) {
        return false;
    }
    power.identity = info;
    power.checksums_known = true;
    return true;
}

bool read_mcu(McuDevice& device, Power& power) {
    uint8_t block[kStatusBlockBufferSize] = {};
    if (!read_status_block(device, block)) {
        return false;
    }
    power.inputs = decode_status_block(block);
    DiagRecord record{};
    if (!read_diagnostics(device, record)) {
        return false;
    }
    power.record = record;
    return read_identity(device, power);
}

bool fail_to_read(McuDevice& device, Power& power, Failure& failure) {
    if (probe_mcu(device)) {
        const char* reason = device.last_error == "" ? "a transfer failed" : device.last_error.c_str();
        return fail(failure, Reason::kBusyMcu, "the MCU does not carry out a command (%s)", reason);
    }
    power.mcu_silent = !power.inputs;
    return fail(failure, Reason::kNoAnswer, "no answer from the MCU at 0x%02x on /dev/i2c-%d", device.address,
                device.bus->bus_number);
}

bool capacitors_feed(const CapRegisters& words) {
    return (words.cap_status & kChargerModeMask) == kChargerBackupMode && (words.cap_status & kChargerInputLow) != 0;
}

}  // namespace

const char* power_source(const Power& power) {
    if (!power.inputs) {
        return power.mcu_silent && power.poe_present.value_or(false) ? "poe" : nullptr;
    }
    if (const char* source = reported_source(*power.inputs)) {
        return source;
    }
    if (power.poe_present.value_or(false)) {
        return "poe";
    }
    return power.charger && capacitors_feed(*power.charger) ? "capacitors" : "none";
}

bool take_reading(const CommonOptions& options, Power& power, Failure& failure) {
    power = Power{};
    Session session;
    read_host(session.device, power);
    const timespec start = monotonic_now();
    if (!session.lock.take(options.lock.c_str(), Sharing::kShared, options.lock_wait, failure) ||
        !session.open(options, failure) || !session.take_turn(start, options.lock_wait, failure)) {
        return false;
    }
    read_neighbours(session.bus, power);
    session.device.last_error = ErrorText{};
    return read_mcu(session.device, power) || fail_to_read(session.device, power, failure);
}

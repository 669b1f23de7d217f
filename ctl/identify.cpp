// SPDX-License-Identifier: MIT
#include "ctl/identify.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "mcu/i2c_bus.h"
#include "mcu/identity.h"
#include "mcu/transactions.h"

namespace {

constexpr int kTries = 3;
constexpr useconds_t kTryPauseUs = 1'000'000;

template <typename Try>
bool patiently(Try attempt) {
    for (int left = kTries; !attempt(); usleep(kTryPauseUs)) {
        if (--left == 0) {
            return false;
        }
    }
    return true;
}

bool read_identity(McuDevice& device) {
    device.info() = {};
    return read_version(device, nullptr) && read_flash_status(device, nullptr);
}

/// Whether the MCU is at its usual address, and the device was looked for at another one.
bool is_at_usual_address(const McuDevice& device) {
    McuDevice usual(device.bus);
    return device.address != usual.address && probe_mcu(usual) && read_identity(usual);
}

/// What comes before the answer is read names the frame: "could not read version (…)", "could not read status (…)".
bool has_no_answer(const McuDevice& device) {
    return std::strncmp(device.last_error.c_str(), "could not read", 14) == 0;
}

bool classify(McuDevice& device, Failure& failure) {
    const int bus = device.bus->bus_number;
    const unsigned address = device.address;
    const bool answered = probe_mcu(device);
    const char* error = std::strerror(errno);
    if (is_at_usual_address(device)) {
        return fail(failure, Reason::kWrongAddress, "%s at address 0x%02x of /dev/i2c-%d; the MCU is at 0x%02x",
                    answered ? "another device answers" : "nothing answers", address, bus, kMcuAddress);
    }
    if (!answered) {
        return fail(failure, Reason::kNoAnswer, "nothing answers at address 0x%02x of /dev/i2c-%d: %s", address, bus,
                    error);
    }
    if (has_no_answer(device)) {
        return fail(failure, Reason::kBusyMcu,
                    "address 0x%02x of /dev/i2c-%d answers, but does not finish an identity frame: %s", address, bus,
                    device.last_error.c_str());
    }
    return fail(failure, Reason::kWrongHardware, "address 0x%02x of /dev/i2c-%d has an unsupported MCU: %s (id %04x)",
                address, bus, device.last_error.c_str(), device.hwid);
}

}  // namespace

bool identify(McuDevice& device, Failure& failure) {
    return patiently([&] { return read_identity(device); }) || classify(device, failure);
}

bool acknowledges(McuDevice& device) {
    return patiently([&] { return probe_mcu(device); });
}

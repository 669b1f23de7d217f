// SPDX-License-Identifier: MIT
#include "ctl/seen_reset.h"

#include <unistd.h>

#include "mcu/identity.h"
#include "mcu/reset.h"
#include "mcu/transactions.h"

namespace {

constexpr int kResets = 2;
constexpr int kMarkerAttempts = 3;
// An accepted reset without delay has begun by then: a restart that was due before it must not be taken for it.
constexpr useconds_t kBeginUs = 100'000;
constexpr useconds_t kLookPauseUs = 100'000;
constexpr int kPauses = 150;

bool read_marker(McuDevice& device, uint8_t& marker) {
    return read_registers(device, kMarkerRegister, 1, &marker);
}

bool await_restart(McuDevice& device) {
    usleep(kBeginUs);
    for (int pause = 0; pause < kPauses; ++pause) {
        uint8_t marker = device.reset_marker;
        if (read_marker(device, marker) && marker == 0 && read_version(device, nullptr) &&
            read_flash_status(device, nullptr)) {
            return true;
        }
        usleep(kLookPauseUs);
    }
    return false;
}

}  // namespace

bool set_marker(McuDevice& device) {
    for (int attempt = 0; attempt < kMarkerAttempts; ++attempt) {
        if (write_reset_marker(device) && marker_stands(device)) {
            return true;
        }
        usleep(kLookPauseUs);
    }
    return false;
}

bool marker_stands(McuDevice& device) {
    uint8_t marker = 0;
    return read_marker(device, marker) && marker == device.reset_marker;
}

bool reset_and_see(McuDevice& device, Failure& failure) {
    device.reset_delay = 0;
    device.reset_now_sync = 0;
    for (int attempt = 0; attempt < kResets; ++attempt) {
        if (attempt > 0 && !set_marker(device)) {
            return fail(failure, Reason::kResetNotSeen, "the reset marker of the MCU could not be set");
        }
        reset_mcu(device, WaitMarks::kSilent);
        if (await_restart(device)) {
            return true;
        }
    }
    return fail(failure, Reason::kResetNotSeen, "the MCU was not seen to restart");
}

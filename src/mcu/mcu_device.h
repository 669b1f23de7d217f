// SPDX-License-Identifier: MIT
// The MCU as the tool sees it: its place on the bus, what was read from it, the update file, the settings of the run.
#pragma once

#include <cstdint>

#include "mcu/calibration.h"
#include "mcu/error_text.h"
#include "mcu/mcu_info.h"
#include "mcu/registers.h"
#include "mcu/update_image.h"

struct I2cBus;  // only declared: update files are read on systems without such a bus too

struct McuLink {
    I2cBus* bus = nullptr;  ///< not owned; --bus opens another device in it
    uint8_t address = kMcuAddress;
};

struct UpdateSettings {
    uint8_t force_update = 1;            ///< program even when the MCU is up to date
    uint8_t update_without_reset = 0;    ///< leave the MCU running the old firmware
    uint8_t update_without_disable = 0;  ///< leave the old region enabled
    uint8_t reset_delay = 50;            ///< tenths of a second
    uint8_t reset_now_sync = 0;          ///< reset without asking for a delayed one first
};

struct McuDevice : McuLink, McuInfo, UpdateImage, UpdateSettings {
    /// The text that the latest failure or report left. Operations without a text leave it as it is.
    ErrorText last_error;
    uint8_t reset_marker = 0x11;  ///< any other value in the marker register shows that the MCU was reset

    explicit McuDevice(I2cBus* i2c_bus) {
        bus = i2c_bus;
    }

    McuInfo& info() {
        return *this;
    }

    const Calibration& calibration() const {
        return calibration_;
    }

private:
    Calibration calibration_;
};

/// Sets last_error to the reason of a failure, cut to 127 characters, and returns false. The values may include the old
/// last_error.
bool fail(McuDevice& device, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Sets last_error to a report in the same way and returns true.
bool note(McuDevice& device, const char* format, ...) __attribute__((format(printf, 2, 3)));

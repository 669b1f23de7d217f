// SPDX-License-Identifier: MIT
// What every command begins with: the options that all have, the lock, the bus.
#pragma once

#include <string>

#include "ctl/lock.h"
#include "ctl/outcome.h"
#include "mcu/i2c_bus.h"
#include "mcu/mcu_device.h"
#include "util/clock.h"

struct CommonOptions {
    std::string bus = "0";  ///< N of /dev/i2c-N
    uint8_t address = kMcuAddress;
    std::string lock = kDefaultLock;
    double lock_wait = 5;  ///< seconds
    bool json = false;     ///< the result as one JSON object on standard output
};

/// The MCU on its bus. Not copied: the device points to the bus.
struct Session {
    I2cBus bus;
    McuDevice device{&bus};
    Lock lock;

    Session() = default;
    ~Session();  ///< closes the bus
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Opens the bus; sends nothing. Failure: kNoBus, kNoPermission.
    bool open(const CommonOptions& options, Failure& failure);

    /// Waits until no other reader uses the bus, up to `seconds` after `start`. Readers share the lock, but the MCU has
    /// only one set of command registers: two readings at once would mix up their values. Held until the bus is closed.
    /// Failure: kHeldLock, kInterrupted. REQUIRES: an open bus.
    bool take_turn(const timespec& start, double seconds, Failure& failure) const;
};

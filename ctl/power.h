// SPDX-License-Identifier: MIT
// One reading of everything about the board's power. It changes nothing on the MCU: no marker is written, no counter
// cleared, no message acknowledged.
#pragma once

#include <optional>

#include "ctl/session.h"
#include "diag/diag_record.h"
#include "diag/input_status.h"
#include "mcu/charger.h"
#include "mcu/mcu_info.h"

/// What was read, as raw codes; ctl/power_fields.h converts them. A part that could not be read is absent.
struct Power {
    // From the host.
    std::optional<float> uptime_seconds;
    std::optional<float> network_celsius;
    std::optional<float> display_celsius;
    std::optional<bool> poe_present;

    // From the other devices on the bus.
    std::optional<bool> display_present;
    std::optional<bool> usb_present;
    std::optional<CapRegisters> charger;

    // From the MCU.
    bool mcu_silent = false;  ///< it was asked and did not answer
    std::optional<InputStatus> inputs;
    std::optional<DiagRecord> record;
    std::optional<McuInfo> identity;
    bool checksums_known = false;  ///< of the regions, in `identity`
};

/// What feeds the board: "ext", "link1", "link2", "poe", "capacitors", "none", or "unknown" for a firmware that does
/// not report its inputs. Null if the MCU could not be asked.
const char* power_source(const Power& power);

/// Waits up to lock_wait for the shared lock and for other readers of the bus, reads, and releases both. On failure the
/// parts that were read before it are present: kHeldLock, kNoLock, kInterrupted, kNoBus, kNoPermission; kNoAnswer when
/// the MCU is silent; kBusyMcu when it answers but does not carry out a command.
bool take_reading(const CommonOptions& options, Power& power, Failure& failure);

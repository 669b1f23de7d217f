// SPDX-License-Identifier: MIT
// The board's power state in one line, for the operator and for the log.
#pragma once

#include "diag/diag_record.h"
#include "mcu/charger.h"
#include "mcu/mcu_device.h"
#include "mcu/transactions.h"

/// What the caller has already read; null: not read yet.
struct StatusInputs {
    const uint8_t* status_block = nullptr;  ///< kStatusBlockBufferSize bytes
    const DiagRecord* record = nullptr;
    const CapRegisters* charger = nullptr;
};

/// Reads everything, then prints the line, without a line end, on standard output. Dashes stand for what cannot be
/// read, but the display, the USB side and a silent MCU then show as "off", and an unreadable temperature as 0. If the
/// MCU has been reset since the marker was last written, writes the marker again.
void print_status_line(McuDevice& device, const StatusInputs& inputs);

/// Logs the power state as one informational line. False when the status block can't be read.
bool log_status_summary(McuDevice& device);

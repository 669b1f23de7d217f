// SPDX-License-Identifier: MIT
// The board's power situation in one line, for the operator and for the log.
#pragma once

#include "diag/diag_record.h"
#include "mcu/mcu_device.h"
#include "mcu/transactions.h"

/// What a caller has read already; null: the line reads it itself.
struct StatusInputs {
    const uint8_t* status_block = nullptr;  ///< kStatusBlockBufferSize bytes
    const DiagRecord* record = nullptr;
    const CapRegisters* charger = nullptr;
};

/// Prints the line, without a line end, on standard output. A source that can't be read shows as dashes. Writes the
/// reset marker back when the MCU has been reset since it was last written.
void print_status_line(McuDevice& device, const StatusInputs& inputs);

/// Logs the power state as one informational line. False when the status block can't be read.
bool log_status_summary(McuDevice& device);

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

/// Reads everything, then prints the line, without a line end, on standard output. Dashes stand for an unreadable part;
/// a display, USB side or MCU that does not answer shows as "off", an unreadable temperature as 0. Writes the reset
/// marker again if the MCU has lost it.
void print_status_line(McuDevice& device, const StatusInputs& inputs);

/// Logs the power state in one line at level "info". False if the status block cannot be read.
bool log_status_summary(McuDevice& device);

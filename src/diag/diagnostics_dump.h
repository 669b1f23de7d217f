// SPDX-License-Identifier: MIT
#pragma once

#include "diag/diag_record.h"
#include "mcu/calibration.h"

/// Prints the line that separates two sections of a dump.
void print_separator();

/// Name of the priority in an input mode word.
const char* input_priority_name(uint16_t input_mode);

/// Prints the record, one value per line, on standard output. REQUIRES: the record is valid.
void print_diagnostics_dump(const Calibration& cal, const DiagRecord& record);

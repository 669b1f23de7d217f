// SPDX-License-Identifier: MIT
#pragma once

#include "diag/diag_record.h"
#include "mcu/mcu_device.h"

/// Reads the first `length` bytes of a page (0 to 5) of one line interface: the register command with the page as its
/// parameter, then a plain read, which sets no last_error when it fails. REQUIRES: kReadTeko1Page or kReadTeko2Page.
bool read_diag_page(McuDevice& device, RegisterCommand command, uint8_t page, uint8_t* data, uint8_t length);

/// Reads the record in one pass of register commands, and stops at the first command or plain read that fails: what was
/// read until then is stored, the word of a command that failed is 0, the rest of the record is unchanged, and `valid`
/// is 0. A failed command sets last_error, a failed plain read does not. An absent or broken 1-Wire device is no
/// failure: the status codes in the record report it.
bool read_diagnostics(McuDevice& device, DiagRecord& record);

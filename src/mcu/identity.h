// SPDX-License-Identifier: MIT
// Reads who the MCU is and what its flash holds.
#pragma once

#include "mcu/mcu_device.h"

/// Reads both version blocks (frame commands 0x00 and 0x05) into the McuInfo of the device and, when given, a copy
/// of it. Failure: "could not read version (…)", and nothing has changed; or "unknown HWID", and everything has been
/// stored and copied. A second block that can't be read is no failure, but its text stays in last_error.
bool read_version(McuDevice& device, McuInfo* copy);

/// Reads the checksums of both regions (frame command 0x01) and compares the MCU's geometry with what read_version
/// found. Failure: "could not read status (…)", and nothing has changed; or "invalid region size …" or
/// "invalid page size …", and the checksums have been stored and copied.
bool read_flash_status(McuDevice& device, McuInfo* copy);

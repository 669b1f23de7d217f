// SPDX-License-Identifier: MIT
// Reads the MCU's ids, serial number, region checksums and geometry.
#pragma once

#include "mcu/mcu_device.h"

/// Reads both version blocks (frame commands 0x00 and 0x05) into the McuInfo of the device and into `copy`, unless
/// null. Failure: "could not read version (…)", with nothing changed, or "unknown HWID", with everything stored and
/// copied. An unreadable second block is not a failure, but leaves its text in last_error.
bool read_version(McuDevice& device, McuInfo* copy);

/// Reads the checksums of both regions (frame command 0x01) and compares the geometry that the MCU reports with the one
/// that read_version stored. Failure: "could not read status (…)", with nothing changed, or "invalid region size …" or
/// "invalid page size …", with the checksums stored and copied.
bool read_flash_status(McuDevice& device, McuInfo* copy);

// SPDX-License-Identifier: MIT
// Who the MCU is; or why it is not known.
#pragma once

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"

/// Reads ids, regions, checksums and geometry into the device: read_version and read_flash_status. Tries three times,
/// a second apart, because another user of the bus can spoil a read. Changes nothing on the MCU. Failure, with no ids
/// in the device unless the MCU reported them: kNoAnswer, kBusyMcu, kWrongAddress, kWrongHardware.
bool identify(McuDevice& device, Failure& failure);

/// Whether a device acknowledges at the device's address, in one of three tries. Leaves the reason of the bus in errno.
bool acknowledges(McuDevice& device);

// SPDX-License-Identifier: MIT
// Brings the MCU's firmware to what the loaded update file holds, without ever writing the region that runs.
#pragma once

#include "mcu/mcu_device.h"

/// Checks that the identity has been read and that the file is built for this flash, then runs update_firmware.
/// Failure, before anything is sent: "version info not available (not read yet)", or "invalid … size (read vs.
/// update file)".
bool run_update(McuDevice& device);

/// Decides between nothing to do, a reboot, and programming: erase the other region, write its marked pages (each up
/// to five times), enable it, disable the running one, reset. True leaves a report in last_error. A failure stops at
/// its step, takes nothing back, and leaves its reason. From the erase on the process ignores hang-ups.
/// REQUIRES: read_version, read_flash_status and load_update_file have succeeded, and the sizes agree.
bool update_firmware(McuDevice& device);

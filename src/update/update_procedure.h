// SPDX-License-Identifier: MIT
// Updates the firmware from the loaded file. Only the region that is not running is ever erased or written.
#pragma once

#include "mcu/mcu_device.h"

/// Compares the geometry of MCU and file, then calls update_firmware. Failure, before any transfer: "version info not
/// available (not read yet)", or "invalid … size (read vs. update file)".
bool run_update(McuDevice& device);

/// Reports that the MCU is up to date, only resets it if the other region already holds the file's firmware, or
/// programs the other region: erase, write the marked pages (each in up to five attempts), enable, disable the running
/// region, reset. Success leaves a report in last_error. A failed step ends the procedure with its reason; earlier
/// steps are not undone. Programming makes the process ignore hang-ups. REQUIRES: read_version, read_flash_status and
/// load_update_file have succeeded, and the geometries agree.
bool update_firmware(McuDevice& device);

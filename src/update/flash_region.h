// SPDX-License-Identifier: MIT
// The frame commands that erase, write and read the flash. An erase carries no region number: the MCU erases the region
// that is not running. Pages count from flash address 0, so region 1 begins at page 256.
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

/// Erases the region that is not running. Prints nothing. Failure: "could not erase other region (…)".
bool request_erase(McuDevice& device);

/// The same, with a line on standard output.
bool erase_other_region(McuDevice& device);

/// Sends 32 bytes of a page to the MCU. Failure: "could not write segment …".
bool write_segment(McuDevice& device, uint16_t page, uint8_t segment, const uint8_t* data);

/// Sends all segments of a page, then commits them with the CRC-16 of the data. After a failed segment nothing more is
/// sent, so the page is not committed. Failure: "invalid page size …", before any transfer (the size is not a multiple
/// of 32, or is 0x2000 or more), the text of write_segment, or "could not write page …".
bool write_page(McuDevice& device, uint16_t page, const uint8_t* data, uint16_t size);

/// Enables the region that is not running, number `region`, with the software id and the checksum that it must have.
/// Failure: "could not enable other region (…)".
bool request_enable(McuDevice& device, int region, uint16_t swid, uint16_t checksum);

/// Disables the running region, number `region`. Failure: "could not disable current region (…)".
bool request_disable(McuDevice& device, int region);

/// Reads 32 bytes of a page. Failure: the text of the frame command, with `data` unchanged.
bool read_segment(McuDevice& device, uint16_t page, uint8_t segment, uint8_t* data);

/// Reads the pages from `first_page` to `end_page` - 1 and stores page p at offset p * page_size of the buffer. Shows
/// its progress on standard output. A segment that cannot be read leaves its part of the buffer unchanged and is not
/// reported. Failure, before any transfer: "version info not available" if the identity has not been read, "buffer too
/// small" if the last page does not fit.
bool read_memory(McuDevice& device, uint16_t first_page, uint16_t end_page, uint8_t* buffer, uint32_t buffer_size);

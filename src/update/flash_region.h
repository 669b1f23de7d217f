// SPDX-License-Identifier: MIT
// The frame commands that erase, write and read the flash. The MCU itself knows which region is the other one; the
// tool's idea of it shows only in texts. Page numbers count from flash address 0: region 1 begins at page 256.
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

/// Erases the region that the MCU does not run from. Prints nothing. Failure: "could not erase other region (…)".
bool request_erase(McuDevice& device);

/// The same, and says so on standard output.
bool erase_other_region(McuDevice& device);

/// Hands the MCU 32 bytes of a page. Failure: "could not write segment …".
bool write_segment(McuDevice& device, uint16_t page, uint8_t segment, const uint8_t* data);

/// Hands over all segments of a page, then commits them with the CRC-16 of the data. The first segment that fails ends
/// it, and nothing is committed. Failure: "invalid page size …" before anything is sent (size not a multiple of
/// 32, or 0x2000 and more), the segment's text, or "could not write page …".
bool write_page(McuDevice& device, uint16_t page, const uint8_t* data, uint16_t size);

/// Reads the pages from `first_page` up to, not including, `end_page`; page p goes to offset p * page_size of the
/// buffer. Shows its progress on standard output. A segment that can't be read becomes 0x55 bytes, and is not reported.
/// Failure, before anything is sent: "version info not available" when the identity has not been read, "buffer too
/// small" when the buffer ends before page `end_page` would begin.
bool read_memory(McuDevice& device, uint16_t first_page, uint16_t end_page, uint8_t* buffer, uint32_t buffer_size);

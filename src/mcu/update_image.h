// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "util/byte_buffer.h"

/// The contents of an update file, filled by load_update_file. A failed load leaves some of them, as described there.
struct UpdateImage {
    uint16_t file_reserved0 = 0;
    uint16_t file_swid = 0;
    uint16_t file_crc0 = 0;  ///< checksum of region 0 after programming
    uint16_t file_crc1 = 0;
    uint16_t file_reserved10 = 0;
    uint32_t file_region_size = 0;  ///< bytes, as the two below
    uint16_t file_page_size = 0;
    uint32_t file_memory_size = 0;
    ByteBuffer file_image;     ///< 0x42000 bytes, indexed by flash address
    ByteBuffer file_page_map;  ///< 528 bytes, one per page of the image; 0: skip the page
};

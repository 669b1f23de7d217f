// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

inline constexpr uint8_t kVersionBlockSize = 32;

/// Ids, regions and geometry of the MCU. All 0 before the first read and after a reset, which may have started another
/// firmware.
struct McuInfo {
    uint16_t swid = 0;             ///< software id of the running firmware
    uint16_t hwid = 0;             ///< hardware id; 0: not read yet
    uint8_t active_region = 0;     ///< the running region, 0 or 1
    char serial[37] = {};          ///< 36 digits; "?" stands for a nibble above 9
    uint32_t production_time = 0;  ///< seconds since 1970, UTC
    uint16_t other_swid = 0;       ///< software id of the region that is not running
    uint16_t swid0 = 0;
    uint16_t swid1 = 0;
    uint32_t region_size = 0;  ///< bytes
    uint16_t page_size = 0;    ///< bytes
    uint8_t segment_size = 0;  ///< bytes
    uint32_t memory_size = 0;  ///< bytes
    uint16_t crc0 = 0;         ///< checksum of region 0 as the MCU reports it
    uint16_t crc1 = 0;
    uint8_t version1[kVersionBlockSize] = {};  ///< the version block as received
    uint8_t version2[kVersionBlockSize] = {};  ///< the second version block; all 0x11 if it could not be read
    uint8_t version1_crc_ok = 0;
    uint8_t version2_crc_ok = 0;
    uint8_t version2_empty = 0;
};

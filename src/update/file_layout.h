// SPDX-License-Identifier: MIT
// Layout of an update file:
//
//   prefix (any bytes but NUL) | magic | image | page map | 6 free bytes | info structure
//
// All numbers are little-endian. file_crc, the last two bytes, is the checksum of everything between the magic and
// itself.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mcu/flash_geometry.h"
#include "util/little_endian.h"

inline constexpr char kFileMagic[] = "SVxMega\n";
inline constexpr size_t kFileMagicSize = sizeof kFileMagic - 1;
inline constexpr size_t kFileSearchSize = 1024;  ///< bytes at the start of the file that must contain the whole magic

inline constexpr size_t kFilePageMapSize = kMemoryPages;
inline constexpr size_t kFileFreeSize = 6;
inline constexpr size_t kFileInfoSize = 24;
/// Bytes between the magic and the info structure, 0x42216.
inline constexpr size_t kFileBodySize = kMemorySize + kFilePageMapSize + kFileFreeSize;

// Offsets in the info structure. memory_size is not aligned.
inline constexpr size_t kInfoReserved0 = 0;
inline constexpr size_t kInfoSwidRegion0 = 2;
inline constexpr size_t kInfoSwidRegion1 = 4;
inline constexpr size_t kInfoCrcRegion0 = 6;
inline constexpr size_t kInfoCrcRegion1 = 8;
inline constexpr size_t kInfoReserved10 = 10;
inline constexpr size_t kInfoRegionSize = 12;
inline constexpr size_t kInfoPageSize = 16;
inline constexpr size_t kInfoMemorySize = 18;
inline constexpr size_t kInfoFileCrc = 22;
static_assert(kInfoFileCrc + 2 == kFileInfoSize);

/// The info structure as stored, right or wrong.
struct InfoStructure {
    uint16_t reserved_0 = 0;    ///< free for the maker of the file
    uint16_t swid_region0 = 0;  ///< software id; must be that of region 1
    uint16_t swid_region1 = 0;
    uint16_t crc_region0 = 0;  ///< checksum of region 0 after this file has been programmed there
    uint16_t crc_region1 = 0;
    uint16_t reserved_10 = 0;  ///< free for the maker of the file
    uint32_t region_size = 0;  ///< bytes, as the two below
    uint16_t page_size = 0;
    uint32_t memory_size = 0;
    uint16_t file_crc = 0;
};

/// REQUIRES: kFileInfoSize bytes.
constexpr InfoStructure decode_info(const uint8_t* info) {
    return {
        .reserved_0 = get_le16(info + kInfoReserved0),
        .swid_region0 = get_le16(info + kInfoSwidRegion0),
        .swid_region1 = get_le16(info + kInfoSwidRegion1),
        .crc_region0 = get_le16(info + kInfoCrcRegion0),
        .crc_region1 = get_le16(info + kInfoCrcRegion1),
        .reserved_10 = get_le16(info + kInfoReserved10),
        .region_size = get_le32(info + kInfoRegionSize),
        .page_size = get_le16(info + kInfoPageSize),
        .memory_size = get_le32(info + kInfoMemorySize),
        .file_crc = get_le16(info + kInfoFileCrc),
    };
}

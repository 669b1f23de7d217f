// SPDX-License-Identifier: MIT
// Where everything stands in an update file.
//
//   prefix (any bytes but NUL) | magic | image | page map | 6 free bytes | info structure
//
// The checksum runs from the byte behind the magic up to, but not including, itself: the last two bytes of the
// file. All numbers are little-endian.
#pragma once

#include <cstddef>

#include "mcu/flash_geometry.h"

inline constexpr char kFileMagic[] = "SVxMega\n";
inline constexpr size_t kFileMagicSize = sizeof kFileMagic - 1;
inline constexpr size_t kFileSearchSize = 1024;  ///< the magic lies wholly in the first bytes of the file

inline constexpr size_t kFilePageMapSize = kMemoryPages;
inline constexpr size_t kFileFreeSize = 6;
inline constexpr size_t kFileInfoSize = 24;
/// What follows the magic, up to the info structure: 0x42216 bytes.
inline constexpr size_t kFileBodySize = kMemorySize + kFilePageMapSize + kFileFreeSize;

// Offsets in the info structure. The 32-bit memory size is not aligned.
inline constexpr size_t kInfoReserved0 = 0;
inline constexpr size_t kInfoSwid0 = 2;
inline constexpr size_t kInfoSwid1 = 4;
inline constexpr size_t kInfoCrc0 = 6;
inline constexpr size_t kInfoCrc1 = 8;
inline constexpr size_t kInfoReserved10 = 10;
inline constexpr size_t kInfoRegionSize = 12;
inline constexpr size_t kInfoPageSize = 16;
inline constexpr size_t kInfoMemorySize = 18;
inline constexpr size_t kInfoFileCrc = 22;
static_assert(kInfoFileCrc + 2 == kFileInfoSize);

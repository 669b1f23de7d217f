// SPDX-License-Identifier: MIT
// Firmware as it comes from a linker: pieces of the flash, and what they are for each region.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/flash_content.h"

/// Consecutive bytes of the flash.
struct Piece {
    uint32_t address = 0;  ///< byte address of the first byte
    std::vector<uint8_t> bytes;
    size_t place = 0;  ///< where the file has them: the number of a line or of a segment, from 1
};

/// A region from its first byte to the last one that the file has; gaps are 0xFF. At most 0x20000 bytes.
using RegionContent = std::vector<uint8_t>;

/// No value: the file holds nothing for this region.
using RegionContents = std::array<std::optional<RegionContent>, kRegions>;

/// Puts the pieces into their regions. Failure: two pieces overlap, or one has a byte outside both regions; the reason,
/// which names the places ("line 3"), in `error`. `unit` is "line" or "segment".
bool fill_regions(std::vector<Piece> pieces, const char* unit, RegionContents& regions, std::string& error);

// SPDX-License-Identifier: MIT
// Where two copies of the flash differ.
#pragma once

#include <cstdint>
#include <vector>

#include "image/flash_copy.h"

/// Pages from 0 to 527, ascending. A page can be in both lists.
struct Comparison {
    std::vector<uint16_t> differing;  ///< pages that were read and hold something else
    std::vector<uint16_t> unread;     ///< pages with a segment that can't be compared: one copy, or both, has no data
};

/// 0x55 in a read-back is data after all where an update file has the same.
Comparison compare_copies(const FlashCopy& a, const FlashCopy& b);

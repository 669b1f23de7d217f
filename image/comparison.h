// SPDX-License-Identifier: MIT
// Finds the pages in which two copies of the flash differ.
#pragma once

#include <cstdint>
#include <vector>

#include "image/flash_copy.h"

/// Ascending page numbers, 0 to 527. A page may be in both lists.
struct Comparison {
    std::vector<uint16_t> differing;  ///< pages with different data
    std::vector<uint16_t> unread;     ///< pages with a segment that looks unread in one copy or both
};

/// Compares the pages that both determine. A segment of 0x55 in a read-back counts as data if the same segment of a
/// copy that is no read-back holds 0x55, too.
Comparison compare_copies(const FlashCopy& a, const FlashCopy& b);

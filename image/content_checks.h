// SPDX-License-Identifier: MIT
// Whether a board could start what is packed for its two regions.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// A check that failed.
struct Finding {
    std::string check;  ///< one of kContentChecks
    std::string text;   ///< what is wrong, and with which region
};

/// The checks, in their order:
///   empty      a region holds nothing but 0xFF
///   format     it holds the text or the start of another file format, not flash content
///   vector     it cannot start, see can_start
///   last-page  it has content in its last page, which no update programs
///   swapped    each begins with a jump into the other one
///   alike      both are the same, but a program is linked for one region
inline constexpr const char* kContentChecks[] = {"empty", "format", "vector", "last-page", "swapped", "alike"};

/// Whether the content of region 0 or 1 begins with a jump (jmp or rjmp) into its own 255 programmable pages, neither
/// to itself nor to erased flash. Missing bytes at the end are 0xFF.
bool can_start(std::span<const uint8_t> content, int region);

/// Makes the checks on both regions, each from its first byte; missing bytes at the end are 0xFF. A check that follows
/// from another one that failed is left out: what is empty has no vector.
std::vector<Finding> check_content(std::span<const uint8_t> region0, std::span<const uint8_t> region1);

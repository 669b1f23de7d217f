// SPDX-License-Identifier: MIT
// The MCU, an AVR XMEGA, starts a region at its first byte, whatever stands there. A program begins with its reset
// vector: a jump over the other vectors.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kVectorSize = 4;

struct ResetVector {
    enum Kind { kNone, kJmp, kRjmp };
    Kind kind = kNone;
    uint32_t target = 0;  ///< byte address in the whole flash that a jump leads to
};

/// The first instruction of the content of region 0 or 1. REQUIRES: kVectorSize bytes.
ResetVector reset_vector(const uint8_t* content, int region);

/// The region, 0 or 1, whose 255 programmable pages hold this byte address of the flash; -1 if none does.
int region_at(uint32_t address);

/// Whether the vector is a jump (jmp or rjmp) into the programmable pages of this region, and not to itself. False for
/// erased flash, for a program linked for the other region, and for what is no program.
bool leads_into_region(const ResetVector& vector, int region);

/// Erased flash, where no program can go on. REQUIRES: 2 bytes.
constexpr bool is_erased_word(const uint8_t* word) {
    return word[0] == 0xFF && word[1] == 0xFF;
}

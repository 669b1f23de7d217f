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

/// Whether the content of region 0 or 1 begins with a jump (jmp or rjmp) into the programmable pages of this region.
/// False for erased flash, for a program linked for the other region, and for what is no program. REQUIRES: kVectorSize
/// bytes.
bool starts_in_region(const uint8_t* content, int region);

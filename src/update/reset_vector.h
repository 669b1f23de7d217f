// SPDX-License-Identifier: MIT
// The MCU, an AVR XMEGA, starts a region at its first byte, whatever stands there. A program begins with its reset
// vector: a jump over the other vectors.
#pragma once

#include <cstdint>

/// Whether the content of region 0 or 1 begins with a jump (jmp or rjmp) into the 255 programmable pages of this
/// region. False for erased flash, for a program linked for the other region, and for what is no program. REQUIRES: 4
/// bytes.
bool starts_in_region(const uint8_t* content, int region);

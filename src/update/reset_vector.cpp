// SPDX-License-Identifier: MIT
#include "update/reset_vector.h"

#include "mcu/flash_geometry.h"
#include "util/little_endian.h"

bool starts_in_region(const uint8_t* content, int region) {
    const uint32_t start = static_cast<uint32_t>(region) * (kRegionSize / 2);  // in words, as all addresses here
    const uint32_t first = get_le16(content);
    uint32_t target = 0;
    if ((first & 0xFE0E) == 0x940C) {
        // jmp: 1001 010k kkkk 110k, then the 16 low bits of the address in the whole flash
        target = (first >> 4 & 0x1F) << 17 | (first & 1) << 16 | get_le16(content + 2);
    } else if ((first & 0xF000) == 0xC000) {
        // rjmp: 1100 kkkk kkkk kkkk, signed, from the next word; before region 0 the difference wraps
        target = start + 1 + (first & 0x7FF) - (first & 0x800);
    } else {
        return false;
    }
    return target - start < kChecksumSize / 2;
}

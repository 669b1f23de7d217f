// SPDX-License-Identifier: MIT
#include "update/reset_vector.h"

#include "mcu/flash_geometry.h"
#include "util/little_endian.h"

namespace {

constexpr uint32_t kWordMask = 0x3FFFFF;  // the instructions address this many words

}  // namespace

ResetVector reset_vector(const uint8_t* content, int region) {
    const uint32_t first = get_le16(content);
    if ((first & 0xFE0E) == 0x940C) {
        // jmp: 1001 010k kkkk 110k, then the 16 low bits of the address, in words
        const uint32_t word = (first >> 4 & 0x1F) << 17 | (first & 1) << 16 | get_le16(content + 2);
        return {ResetVector::kJmp, word * 2};
    }
    if ((first & 0xF000) == 0xC000) {
        // rjmp: 1100 kkkk kkkk kkkk, signed, from the next word; before address 0 it wraps
        const uint32_t start = static_cast<uint32_t>(region) * (kRegionSize / 2);
        return {ResetVector::kRjmp, ((start + 1 + (first & 0x7FF) - (first & 0x800)) & kWordMask) * 2};
    }
    return {};
}

int region_at(uint32_t address) {
    const bool programmed = address < 2 * kRegionSize && address % kRegionSize < kChecksumSize;
    return programmed ? static_cast<int>(address / kRegionSize) : -1;
}

bool leads_into_region(const ResetVector& vector, int region) {
    const bool is_itself = vector.target == static_cast<uint32_t>(region) * kRegionSize;
    return vector.kind != ResetVector::kNone && region_at(vector.target) == region && !is_itself;
}

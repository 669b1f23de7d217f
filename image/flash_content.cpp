// SPDX-License-Identifier: MIT
#include "image/flash_content.h"

#include <algorithm>
#include <array>

#include "util/crc.h"

std::vector<uint8_t> programmed_flash(const uint8_t* image, const uint8_t* page_map) {
    std::vector<uint8_t> flash(kMemorySize, kErasedByte);
    for (uint32_t page = 0; page < kMemoryPages; ++page) {
        if (is_programmed_page(page) && page_map[page] != 0) {
            std::copy_n(image + page * kPageSize, kPageSize, flash.begin() + page * kPageSize);
        }
    }
    return flash;
}

uint16_t region_checksum(const uint8_t* image, const uint8_t* page_map, int region) {
    std::array<uint8_t, kPageSize> erased;
    erased.fill(kErasedByte);
    const uint32_t first_page = static_cast<uint32_t>(region) * kRegionPages;
    uint16_t crc = kCrc16Start;
    for (uint32_t page = first_page; page < first_page + kProgrammedPages; ++page) {
        crc = crc16_buffer(crc, page_map[page] != 0 ? image + page * kPageSize : erased.data(), kPageSize);
    }
    return crc;
}

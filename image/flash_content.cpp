// SPDX-License-Identifier: MIT
#include "image/flash_content.h"

#include <algorithm>
#include <cstring>

#include "util/crc.h"

bool is_erased(std::span<const uint8_t> bytes) {
    // The first one, and each like the one before it.
    return bytes.empty() ||
           (bytes[0] == kErasedByte && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

std::vector<uint8_t> programmed_flash(const uint8_t* image, const uint8_t* page_map) {
    std::vector<uint8_t> flash(kMemorySize, kErasedByte);
    for (uint32_t page = 0; page < kMemoryPages; ++page) {
        if (is_programmed_page(page) && page_map[page] != 0) {
            std::copy_n(image + page * kPageSize, kPageSize, flash.begin() + page * kPageSize);
        }
    }
    return flash;
}

uint16_t region_checksum(const std::vector<uint8_t>& flash, int region) {
    return crc16_buffer(kCrc16Start, flash.data() + static_cast<size_t>(region) * kRegionSize, kChecksumSize);
}

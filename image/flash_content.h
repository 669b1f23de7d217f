// SPDX-License-Identifier: MIT
// The contents of the flash after an update file has been programmed.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "mcu/flash_geometry.h"

inline constexpr int kRegions = 2;
inline constexpr uint8_t kErasedByte = 0xFF;

/// False for the last page of each region and for all pages above the regions, which the tool never programs.
constexpr bool is_programmed_page(uint32_t page) {
    return page < kRegions * uint32_t{kRegionPages} && page % kRegionPages < kProgrammedPages;
}

/// Whether all bytes, if there are any, are 0xFF.
bool is_erased(std::span<const uint8_t> bytes);

/// The whole flash, 0x42000 bytes, after both regions have been erased and programmed: marked pages from the file, 0xFF
/// elsewhere. REQUIRES: an image of 0x42000 bytes and a map of 528.
std::vector<uint8_t> programmed_flash(const uint8_t* image, const uint8_t* page_map);

/// The checksum that the MCU reports for region 0 or 1. REQUIRES: the whole flash.
uint16_t region_checksum(const std::vector<uint8_t>& flash, int region);

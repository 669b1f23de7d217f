// SPDX-License-Identifier: MIT
// What the flash holds, or will hold, from a file: an update file, or a read-back as `sv_updater --read` writes it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/flash_content.h"

struct FlashCopy {
    bool is_update_file = false;
    uint16_t swid = 0;            ///< of an update file
    std::vector<uint8_t> memory;  ///< 0x42000 bytes; of an update file as programmed_flash makes them
};

/// An update file is one that the tool would load. Failure: the reason, with the path, in `error`.
bool read_flash_copy(const std::string& path, FlashCopy& copy, std::string& error);

/// Whether this segment of 32 bytes, 0 to 8447, looks like one that could not be read: a read-back, and all 0x55.
bool looks_unread(const FlashCopy& copy, uint32_t segment);

// SPDX-License-Identifier: MIT
// The contents of the flash from a file: an update file, or a read-back written by `sv_updater --read`.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/flash_content.h"

struct FlashCopy {
    bool is_update_file = false;
    uint16_t swid = 0;            ///< of an update file
    std::vector<uint8_t> memory;  ///< 0x42000 bytes; for an update file the result of programmed_flash
};

/// Reads a read-back, or an update file that the tool would load. Failure: the path and the reason in `error`.
bool read_flash_copy(const std::string& path, FlashCopy& copy, std::string& error);

/// Whether this segment (0 to 8447) of a read-back holds only 0x55, like one that could not be read. False for an
/// update file.
bool looks_unread(const FlashCopy& copy, uint32_t segment);

// SPDX-License-Identifier: MIT
// The flash as a file describes it: an update file, a read-back written by `sv_updater --read`, or firmware for one
// region or both.
#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/flash_content.h"
#include "image/input_file.h"

struct FlashCopy {
    Format format = Format::kRaw;
    uint16_t swid = 0;            ///< of an update file
    std::vector<uint8_t> memory;  ///< 0x42000 bytes, as they are once the file is programmed
    /// The pages that the file determines. Of firmware: those of its regions; the last one only if it has content.
    std::bitset<kMemoryPages> pages;
    std::vector<std::string> omitted;  ///< what the file has for other memories

    /// Neither an update file nor a read-back.
    bool is_firmware() const {
        return format != Format::kUpdateFile && format != Format::kReadBack;
    }

    bool holds_region(int region) const {
        return pages.test(static_cast<size_t>(region) * kRegionPages);
    }
};

/// Interprets a file that was read. A raw binary is for `region`; without it for the region that its first instruction,
/// a jmp, leads to. Failure: the file is not what its format says; path and reason in `error`.
bool make_flash_copy(InputFile input, std::optional<int> region, FlashCopy& copy, std::string& error);

/// Reads and interprets a file. `format`: see read_input.
bool read_flash_copy(const std::string& path, const std::string& format, std::optional<int> region, FlashCopy& copy,
                     std::string& error);

/// Whether this segment (0 to 8447) of a read-back holds only 0x55, like one that could not be read. False for other
/// formats.
bool looks_unread(const FlashCopy& copy, uint32_t segment);

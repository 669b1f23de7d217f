// SPDX-License-Identifier: MIT
// Makes an update file, as src/update/file_layout.h lays it out, from the contents of both regions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "image/prefix.h"

struct BuildInput {
    /// Each from the first byte of its region on, at most 0x20000 bytes; what is missing at the end is erased flash.
    std::vector<uint8_t> regions[2];
    uint16_t swid = 0;      ///< 1 to 0xFFFF, of both regions; 0 means to the MCU that a region holds nothing
    bool mark_all = false;  ///< program every page; otherwise only those that hold anything but 0xFF
    PrefixParts prefix;
    bool name_sha256 = false;  ///< the last line of the prefix names the SHA-256 of what follows it
};

struct BuildResult {
    std::vector<uint8_t> file;  ///< empty when there is an error
    std::string error;          ///< why no file can be made of this input; otherwise empty
};

/// Refuses what the tool would not load, what it would load but not program (content in the last page of a region), and
/// an empty region, which the MCU would start like any other.
BuildResult build_update_file(const BuildInput& input);

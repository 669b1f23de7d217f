// SPDX-License-Identifier: MIT
// Makes an update file from the contents of both regions. The layout is that of src/update/file_layout.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "image/prefix.h"

struct BuildInput {
    /// Contents of each region from its first byte, at most 0x20000 bytes; missing bytes at the end are 0xFF.
    std::vector<uint8_t> regions[2];
    uint16_t swid = 0;         ///< 1 to 0xFFFF, for both regions; the MCU takes 0 for an empty region
    bool mark_all = false;     ///< mark every page, otherwise only pages with a byte other than 0xFF
    bool any_content = false;  ///< accept a region that does not begin with a jump into itself
    PrefixParts prefix;
    bool name_sha256 = false;  ///< end the prefix with the SHA-256 of the rest of the file
};

struct BuildResult {
    std::vector<uint8_t> file;  ///< empty when there is an error
    std::string error;          ///< why this input makes no file; otherwise empty
};

/// Refuses input whose file the tool would not load, content in the last page of a region, which the tool would not
/// program, an empty region, which would be unbootable, and content that is not a program for its region.
BuildResult build_update_file(const BuildInput& input);

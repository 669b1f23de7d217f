// SPDX-License-Identifier: MIT
// Makes an update file from the contents of both regions. The layout is that of src/update/file_layout.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/firmware.h"
#include "image/prefix.h"

struct BuildInput {
    /// Missing bytes at the end are 0xFF.
    RegionContent regions[kRegions];
    uint16_t swid = 0;      ///< 1 to 0xFFFF, for both regions; the MCU takes 0 for an empty region
    bool mark_all = false;  ///< mark every programmable page, otherwise only pages with a byte other than 0xFF
    PrefixParts prefix;
    bool name_sha256 = false;  ///< end the prefix with the SHA-256 of the rest of the file
};

struct BuildResult {
    std::vector<uint8_t> file;  ///< empty when there is an error
    std::string error;          ///< why this input makes no file; otherwise empty
};

/// Refuses input whose file the tool would not load. Whether a board could start the content is for check_content.
BuildResult build_update_file(const BuildInput& input);

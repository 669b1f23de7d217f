// SPDX-License-Identifier: MIT
// The firmware that goes into an update file, from the files that the user names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/firmware.h"
#include "image/input_file.h"

struct RegionSource {
    const InputFile* file = nullptr;
    std::optional<int> region;  ///< no value: for the regions that the file's addresses lie in
};

/// Collects the content of both regions. A raw binary needs a named region. Refuses a file that is linked for another
/// region than the named one, that holds a region which comes from elsewhere, or that is no firmware; and a region
/// without a source. Failure: the reason in `error`. `warnings`: what the files have for other memories.
bool collect_regions(const std::vector<RegionSource>& sources, RegionContents& regions,
                     std::vector<std::string>& warnings, std::string& error);

// SPDX-License-Identifier: MIT
// Decodes an update file, valid or not, by the layout of src/update/file_layout.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/flash_content.h"
#include "update/file_layout.h"

/// The part between the magic and the info structure.
struct FileBody {
    uint8_t free_bytes[kFileFreeSize] = {};
    uint16_t computed_region_crc[kRegions] = {};  ///< the MCU's checksums after programming
    std::vector<uint16_t> marked_pages;           ///< ascending, 0 to 527, including pages that are never programmed
};

struct Inspection {
    size_t size = 0;                     ///< bytes inspected
    std::optional<size_t> magic_offset;  ///< and size of the prefix; without a magic the fields below are unknown
    std::string prefix;
    size_t expected_size = 0;           ///< bytes of a valid file with this prefix
    std::optional<FileBody> body;       ///< if the file is long enough
    std::optional<InfoStructure> info;  ///< the last 24 bytes, if they follow the magic
    uint16_t computed_file_crc = 0;     ///< from the end of the magic to file_crc; only valid with `info`
    std::optional<std::string> named_sha256;
    std::string computed_sha256;  ///< from the magic to the end; empty if the end was not read
};

enum class FileEnd { kIncluded, kCutOff };

/// Inspects any bytes. kCutOff: they are only the start of a file, so its info structure is unknown.
Inspection inspect_update_file(const std::vector<uint8_t>& bytes, FileEnd end = FileEnd::kIncluded);

/// Reads and inspects the file, but only the first kReadLimit bytes of a larger one. Failure: the reason in `error`.
bool inspect_file(const std::string& path, Inspection& found, std::string& error);

/// False if the file stores a SHA-256 and it is wrong.
bool sha256_fits(const Inspection& file);

/// The pages of the list that the tool programs in this region, 0 or 1.
std::vector<uint16_t> programmed_in(const std::vector<uint16_t>& pages, int region);

/// The pages of the list that the tool never programs.
std::vector<uint16_t> never_programmed(const std::vector<uint16_t>& pages);

/// Ascending pages as "0-11, 256", or "none".
std::string page_ranges(const std::vector<uint16_t>& pages);

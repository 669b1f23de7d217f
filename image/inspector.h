// SPDX-License-Identifier: MIT
// Takes an update file, or anything that claims to be one, apart. src/update/file_layout.h tells what stands where.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/flash_content.h"
#include "update/file_layout.h"

/// What lies between magic and info structure.
struct FileBody {
    uint8_t free_bytes[kFileFreeSize] = {};
    uint16_t computed_region_crc[kRegions] = {};  ///< as the MCU will report them after programming
    std::vector<uint16_t> marked_pages;           ///< 0 to 527, ascending, also those that are never programmed
};

struct Inspection {
    size_t size = 0;                     ///< bytes inspected
    std::optional<size_t> magic_offset;  ///< also the size of the prefix; without it nothing below is known
    std::string prefix;
    size_t expected_size = 0;           ///< what a file with this prefix must have, bytes
    std::optional<FileBody> body;       ///< when the file is long enough to hold all of it
    std::optional<InfoStructure> info;  ///< the file's last 24 bytes, when they lie behind the magic
    uint16_t computed_file_crc = 0;     ///< from behind the magic to the stored one; means nothing without `info`
    std::optional<std::string> named_sha256;
    std::string computed_sha256;  ///< from the magic to the end; empty when the end is cut off
};

/// Offset of the magic as the tool finds it.
std::optional<size_t> find_magic(const std::vector<uint8_t>& bytes);

enum class FileEnd { kIncluded, kCutOff };

/// Reads any bytes. With kCutOff they are only the start of a file, whose info structure is unknown then.
Inspection inspect_update_file(const std::vector<uint8_t>& bytes, FileEnd end = FileEnd::kIncluded);

/// Reads the file and inspects it, of a large one only the start. Failure: the reason in `error`.
bool inspect_file(const std::string& path, Inspection& found, std::string& error);

/// False only when a SHA-256 is named and is another one.
bool sha256_fits(const Inspection& file);

/// Those of these pages that the tool programs in region 0 or 1.
std::vector<uint16_t> programmed_in(const std::vector<uint16_t>& pages, int region);

/// Those of these pages that the tool never programs.
std::vector<uint16_t> never_programmed(const std::vector<uint16_t>& pages);

/// Ascending pages as "0-11, 256", or "none".
std::string page_ranges(const std::vector<uint16_t>& pages);

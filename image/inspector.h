// SPDX-License-Identifier: MIT
// Takes any file apart: an update file, valid or not, by the layout of src/update/file_layout.h; firmware or a
// read-back by what it puts into the flash.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/flash_content.h"
#include "image/input_file.h"
#include "update/file_layout.h"
#include "update/reset_vector.h"

/// What the flash holds after programming.
struct RegionBody {
    uint16_t computed_crc = 0;  ///< the MCU's checksum
    ResetVector vector;
    bool can_start = false;  ///< see image/content_checks.h
};

/// The part between the magic and the info structure; of another file, what stands there once it is packed.
struct FileBody {
    std::optional<std::array<uint8_t, kFileFreeSize>> free_bytes;  ///< only of an update file
    std::optional<RegionBody> regions[kRegions];                   ///< no value: not in the file
    std::vector<uint16_t> marked_pages;  ///< ascending, 0 to 527, including pages that are never programmed
};

struct Inspection {
    Format format = Format::kUpdateFile;
    size_t size = 0;
    std::optional<size_t> magic_offset;  ///< and size of the prefix; without a magic the fields below are unknown
    std::string prefix;
    size_t expected_size = 0;           ///< bytes of a valid file with this prefix
    std::string trouble;                ///< why a raw binary has no body
    std::vector<std::string> omitted;   ///< what firmware has for other memories
    std::optional<FileBody> body;       ///< of an update file that is long enough, and of other formats
    std::optional<InfoStructure> info;  ///< the last 24 bytes, if they follow the magic
    uint16_t computed_file_crc = 0;     ///< from the end of the magic to file_crc; only valid with `info`
    std::optional<std::string> named_sha256;
    std::string computed_sha256;  ///< from the magic to the end
};

/// Inspects any bytes.
Inspection inspect_update_file(const std::vector<uint8_t>& bytes);

/// Inspects a file of any format; `region`: see make_flash_copy. Failure: a bad ELF file,
/// Intel HEX or S-records; the reason in `error`.
bool inspect_input(const InputFile& input, std::optional<int> region, Inspection& found, std::string& error);

/// "jmp" or "rjmp". REQUIRES: a jump.
const char* vector_word(const ResetVector& vector);

/// False if the file stores a SHA-256 and it is wrong.
bool sha256_fits(const Inspection& file);

/// The pages of the list that the tool programs in this region, 0 or 1.
std::vector<uint16_t> programmed_in(const std::vector<uint16_t>& pages, int region);

/// The pages of the list that the tool never programs.
std::vector<uint16_t> never_programmed(const std::vector<uint16_t>& pages);

/// Ascending pages as "0-11, 256", or "none".
std::string page_ranges(const std::vector<uint16_t>& pages);

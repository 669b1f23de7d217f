// SPDX-License-Identifier: MIT
// Any file that sv_image reads: its bytes, and which format they have.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "image/firmware.h"

enum class Format { kUpdateFile, kReadBack, kElf, kIntelHex, kSRecord, kRaw };

/// The word for a format: "update-file", "read-back", "elf", "hex", "srec" or "raw".
const char* format_word(Format format);

/// The same for people.
const char* format_name(Format format);

/// The format by content. What begins like nothing else is raw; a read-back is raw, with the size of the whole flash.
/// A raw program is never taken for another format: no text and no ELF file begins with a jump.
Format detect_format(std::span<const uint8_t> bytes);

struct InputFile {
    std::string path;  ///< "-": standard input
    Format format = Format::kRaw;
    std::vector<uint8_t> bytes;
};

/// Reads the whole file, up to 64 MiB, and detects its format. `format` is a word that overrides it for firmware, or
/// empty. Failure: path and reason in `error`.
bool read_input(const std::string& path, const std::string& format, InputFile& input, std::string& error);

/// What the regions get from firmware in ELF, Intel HEX or S-records. `omitted`: what the file has for other memories.
/// Failure: path, place and reason in `error`. REQUIRES: one of these formats.
bool decode_firmware(const InputFile& input, RegionContents& regions, std::vector<std::string>& omitted,
                     std::string& error);

// SPDX-License-Identifier: MIT
#include "image/input_file.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "image/elf_file.h"
#include "image/host_file.h"
#include "image/intel_hex.h"
#include "image/s_record.h"
#include "update/file_notes.h"

namespace {

constexpr size_t kLargest = 64 << 20;  // with debug information an ELF file is much larger than the flash

constexpr struct {
    Format format;
    const char* word;
    const char* name;
} kFormats[] = {
    {Format::kUpdateFile, "update-file", "update file"},
    {Format::kReadBack, "read-back", "read-back"},
    {Format::kElf, "elf", "ELF"},
    {Format::kIntelHex, "hex", "Intel HEX"},
    {Format::kSRecord, "srec", "S-records"},
    {Format::kRaw, "raw", "raw binary"},
};

bool is_digit(char byte) {
    return std::isxdigit(static_cast<unsigned char>(byte)) != 0;
}

/// Whether the first line that is not empty begins with this letter and `digits` hexadecimal digits. Blanks and a byte
/// order mark are for the reader to refuse.
bool begins_with_record(std::string_view text, char letter, size_t digits) {
    text.remove_prefix(std::min(text.find_first_not_of("\r\n \t\xef\xbb\xbf"), text.size()));
    return text.size() > digits && text[0] == letter &&
           std::all_of(text.begin() + 1, text.begin() + 1 + static_cast<ptrdiff_t>(digits), is_digit);
}

}  // namespace

const char* format_word(Format format) {
    return kFormats[static_cast<size_t>(format)].word;
}

const char* format_name(Format format) {
    return kFormats[static_cast<size_t>(format)].name;
}

Format detect_format(std::span<const uint8_t> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    // First: its prefix may begin like anything.
    if (find_magic(bytes)) {
        return Format::kUpdateFile;
    }
    if (text.starts_with("\x7f"
                         "ELF")) {
        return Format::kElf;
    }
    if (begins_with_record(text, ':', 8)) {
        return Format::kIntelHex;
    }
    if (begins_with_record(text, 'S', 3)) {
        return Format::kSRecord;
    }
    return bytes.size() == kMemorySize ? Format::kReadBack : Format::kRaw;
}

bool read_input(const std::string& path, const std::string& format, InputFile& input, std::string& error) {
    input.path = path;
    if (!read_bytes(path, kLargest, input.bytes, error)) {
        return false;
    }
    if (input.bytes.size() > kLargest) {
        error = shown_path(path) + ": larger than 64 MiB, which no firmware is";
        return false;
    }
    input.format = detect_format(input.bytes);
    const bool is_firmware = input.format != Format::kUpdateFile && input.format != Format::kReadBack;
    for (const auto& row : kFormats) {
        if (is_firmware && format == row.word) {
            input.format = row.format;
        }
    }
    return true;
}

bool decode_firmware(const InputFile& input, RegionContents& regions, std::vector<std::string>& omitted,
                     std::string& error) {
    std::vector<Piece> pieces;
    const bool decoded = input.format == Format::kElf        ? read_elf(input.bytes, pieces, omitted, error)
                         : input.format == Format::kIntelHex ? read_intel_hex(input.bytes, pieces, error)
                                                             : read_s_records(input.bytes, pieces, error);
    const char* unit = input.format == Format::kElf ? "segment" : "line";
    if (!decoded || !fill_regions(std::move(pieces), unit, regions, error)) {
        error = shown_path(input.path) + ": " + error;
        return false;
    }
    return true;
}

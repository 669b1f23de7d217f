// SPDX-License-Identifier: MIT
#include "tests/fuzz/firmware_files.h"

#include <map>
#include <numeric>

#include "tests/support/update_file_bytes.h"

namespace {

constexpr uint32_t kRegion = 0x20000;
constexpr size_t kLineSize = 16;
constexpr char kDigits[] = "0123456789ABCDEF";

Bytes take(Input& input, size_t count) {
    const auto part = input.part(count).rest;
    return {part.begin(), part.end()};
}

void append(std::string& file, uint32_t number, int size) {
    for (; size > 0; --size, number >>= 8) {
        file += static_cast<char>(number);
    }
}

/// The record with its length and checksum.
std::string line_of(Format format, const std::string& start, Bytes record) {
    const bool is_hex = format == Format::kIntelHex;  // counts its data, S-records what follows the length
    record.insert(record.begin(), static_cast<uint8_t>(is_hex ? record.size() - 3 : record.size() + 1));
    const uint32_t sum = std::accumulate(record.begin(), record.end(), 0U);
    record.push_back(static_cast<uint8_t>(is_hex ? 0U - sum : ~sum));
    std::string line = start;
    for (const uint8_t byte : record) {
        line += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return line + '\n';
}

std::string end_line(Format format) {
    return format == Format::kIntelHex ? line_of(format, ":", {0, 0, 1}) : line_of(format, "S9", {0, 0});
}

/// As lines that do not wrap at 64 KiB, each in Intel HEX with its base.
std::string lines_of(Format format, const Piece& piece) {
    std::string lines;
    for (size_t done = 0; done < piece.bytes.size();) {
        const uint32_t address = piece.address + static_cast<uint32_t>(done);
        const size_t count = std::min({piece.bytes.size() - done, kLineSize, size_t{0x10000} - address % 0x10000});
        const auto bank = static_cast<uint8_t>(address >> 16);
        Bytes record = {static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)};
        if (format == Format::kIntelHex) {
            lines += line_of(format, ":", {0, 0, 4, 0, bank});
            record.push_back(0);
        } else if (bank != 0) {
            record.insert(record.begin(), bank);
        }
        const auto begin = piece.bytes.begin() + static_cast<long>(done);
        record.insert(record.end(), begin, begin + static_cast<long>(count));
        lines += line_of(format, format == Format::kIntelHex ? ":" : bank == 0 ? "S1" : "S2", record);
        done += count;
    }
    return lines;
}

/// Each takes a byte for its type, a size, and its bytes.
std::string any_records(Format format, Input& input) {
    std::string lines;
    while (!input.rest.empty()) {
        const uint8_t type = input.byte();
        Bytes record = take(input, 3 + input.byte() % 40);
        record.resize(std::max<size_t>(record.size(), 3));
        if (format == Format::kIntelHex) {
            record[2] = type % 7;
            lines += line_of(format, ":", record);
        } else {
            lines += line_of(format, "S" + std::to_string(type % 10), record);
        }
    }
    return lines + end_line(format);
}

/// A linked program for AVR with the pieces as its segments.
std::string elf_of(const std::vector<Piece>& pieces) {
    std::string file = {0x7F, 'E', 'L', 'F', 1, 1, 1,  0, 0, 0, 0, 0, 0, 0, 0,    0, 2, 0, 0x53, 0, 1,  0,
                        0,    0,   0,   0,   0, 0, 52, 0, 0, 0, 0, 0, 0, 0, 0x6A, 0, 0, 0, 52,   0, 32, 0};
    append(file, static_cast<uint32_t>(pieces.size()), 2);
    file.append({40, 0, 0, 0, 0, 0});
    auto offset = static_cast<uint32_t>(file.size() + 32 * pieces.size());
    for (const Piece& piece : pieces) {
        const auto size = static_cast<uint32_t>(piece.bytes.size());
        for (const uint32_t field : {1U, offset, piece.address, piece.address, size, size, 5U, 1U}) {
            append(file, field, 4);
        }
        offset += size;
    }
    for (const Piece& piece : pieces) {
        file.append(piece.bytes.begin(), piece.bytes.end());
    }
    return file;
}

/// Byte by byte, as no reader does it. Nothing: bytes overlap or lie outside the regions.
std::optional<RegionContents> placed(const std::vector<Piece>& pieces) {
    std::map<uint32_t, uint8_t> flash;
    for (const Piece& piece : pieces) {
        for (uint32_t address = piece.address; const uint8_t byte : piece.bytes) {
            if (address >= 2 * kRegion || !flash.emplace(address, byte).second) {
                return std::nullopt;
            }
            ++address;
        }
    }
    RegionContents regions;
    for (const auto& [address, byte] : flash) {
        std::optional<RegionContent>& region = regions[address / kRegion];
        region = region ? std::move(region) : RegionContent();
        region->resize(address % kRegion + 1, 0xFF);
        region->back() = byte;
    }
    return regions;
}

/// What a reader makes of the file, if it accepts it.
std::optional<RegionContents> read_again(Format format, const std::string& text) {
    const InputFile file{"f", format, {text.begin(), text.end()}};
    RegionContents regions;
    std::vector<std::string> omitted;
    std::string error;
    const bool ok = decode_firmware(file, regions, omitted, error);
    check(ok == error.empty() && is_text(error), "a failure, and nothing else, has a reason");
    check(ok || (error.starts_with("f: ") && !regions[0] && !regions[1]), "a failure leaves no content");
    return ok ? std::optional(regions) : std::nullopt;
}

}  // namespace

FirmwareText make_firmware(Format format, Input& input) {
    const uint8_t flags = input.byte();
    if ((flags & 1) != 0) {
        return {std::string(input.text()), std::nullopt};
    }
    if ((flags & 2) != 0 && format != Format::kElf) {
        return {any_records(format, input), std::nullopt};
    }
    std::vector<Piece> pieces;
    for (const uint8_t region : {uint8_t{0}, uint8_t{1}}) {
        if ((flags >> region & 4) != 0) {  // to the word after the jump
            pieces.push_back({region * kRegion, {static_cast<uint8_t>(0x0C + region), 0x94, 0x02, 0x00, 1, 2}, 0});
        }
    }
    for (int n = input.byte() % 6; n > 0; --n) {
        const uint32_t address = input.number(3) % 0x50000;
        pieces.push_back({address, take(input, input.byte()), 0});
    }
    std::string text = format == Format::kElf ? elf_of(pieces) : "";
    for (const Piece& piece : pieces) {
        text += format == Format::kElf ? "" : lines_of(format, piece);
    }
    return {text + (format == Format::kElf ? "" : end_line(format)), pieces};
}

/// The input: a format, the file, and edits of two bytes for the place and one for the byte.
void firmware(Input input) {
    constexpr Format formats[] = {Format::kIntelHex, Format::kSRecord, Format::kElf};
    const Format format = formats[input.byte() % 3];
    auto [text, pieces] = make_firmware(format, input);
    const std::optional<RegionContents> read = read_again(format, text);
    if (!pieces) {
        return;
    }
    std::optional<RegionContents> wanted = placed(*pieces);
    if (format == Format::kElf && wanted && !(*wanted)[0] && !(*wanted)[1]) {
        wanted.reset();  // a program without content for the flash is refused
    }
    check(read.has_value() == wanted.has_value(), "what is sound is read, and nothing else");
    check(!read || *read == *wanted, "every byte is in its place");
    check(!read || detect_format({reinterpret_cast<const uint8_t*>(text.data()), text.size()}) == format,
          "the format is seen");
    bool changed = false;
    for (bool first = true; !input.rest.empty(); first = false) {
        const size_t place = input.number(2) % text.size();
        text[place] = static_cast<char>(input.byte());
        const bool is_type = format == Format::kSRecord && place > 0 && text[place - 1] == 'S';
        changed = changed || !first || is_type || format == Format::kElf;
    }
    const std::optional<RegionContents> edited = read_again(format, text);
    check(changed || !edited || edited == wanted, "one character that is damaged is found");
}

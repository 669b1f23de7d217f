// SPDX-License-Identifier: MIT
#include "tests/fuzz/firmware_files.h"

#include <map>
#include <numeric>

#include "tests/support/update_file_bytes.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kRegion = 0x20000;
constexpr uint32_t kFlash = 2 * kRegion;

Bytes take(Input& input, size_t count) {
    const auto part = input.part(count).rest;
    return {part.begin(), part.end()};
}

void add_piece(DescribedFile& file, uint32_t address, const Bytes& data) {
    if (!data.empty()) {
        file.pieces.push_back({address, data, 0});
    }
}

/// Byte by byte, as no reader does it.
std::optional<RegionContents> placed(const std::vector<Piece>& pieces) {
    std::map<uint32_t, uint8_t> flash;
    for (const Piece& piece : pieces) {
        for (size_t i = 0; i < piece.bytes.size(); ++i) {
            const uint64_t address = uint64_t{piece.address} + i;
            if (address >= kFlash || !flash.emplace(address, piece.bytes[i]).second) {
                return std::nullopt;
            }
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

/// Writes a line: the start, the digits of the bytes, and the checksum. The input begins with how: modulo 8: 7: with a
/// wrong checksum, 6: with a wrong length; bit 3: after an empty line; bit 4: in lower case; bit 5: with "\r\n".
void put_line(DescribedFile& file, const std::string& start, Bytes bytes, bool is_hex, Input& input) {
    const uint8_t how = input.byte();
    const char* end = (how & 32) != 0 ? "\r\n" : "\n";
    if ((how & 8) != 0) {
        file.text += end;
        ++file.lines;
    }
    ++file.lines;
    const uint8_t wrong = how % 8 == 7 ? input.byte() : 0;
    bytes[0] = static_cast<uint8_t>(bytes[0] + (how % 8 == 6 ? 1 : 0));
    const uint8_t sum = static_cast<uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
    bytes.push_back(static_cast<uint8_t>((is_hex ? 0U - sum : ~sum & 0xFFU) ^ wrong));
    if (file.ended || wrong != 0 || how % 8 == 6) {
        file.damage();
    }
    file.text += start;
    for (const uint8_t byte : bytes) {
        const char* digits = (how & 16) != 0 ? "0123456789abcdef" : "0123456789ABCDEF";
        file.text += {digits[byte >> 4], digits[byte & 15]};
    }
    file.text += end;
}

void put_hex(DescribedFile& file, uint8_t type, uint32_t offset, const Bytes& data, Input& input) {
    Bytes bytes = {static_cast<uint8_t>(data.size()), static_cast<uint8_t>(offset >> 8), static_cast<uint8_t>(offset),
                   type};
    bytes.insert(bytes.end(), data.begin(), data.end());
    put_line(file, ":", bytes, true, input);
}

void put_srec(DescribedFile& file, int type, size_t address_size, uint32_t address, const Bytes& data, Input& input) {
    Bytes bytes = {static_cast<uint8_t>(address_size + data.size() + 1)};
    for (size_t i = address_size; i-- > 0;) {
        bytes.push_back(static_cast<uint8_t>(address >> 8 * i));
    }
    bytes.insert(bytes.end(), data.begin(), data.end());
    put_line(file, "S" + std::to_string(type), bytes, false, input);
}

Bytes two_bytes(uint32_t number) {
    return {static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

/// Records of Intel HEX: a kind (modulo 16), a number of two bytes, for data a size and the bytes; then how.
void describe_hex(DescribedFile& file, Input& input, uint8_t flags) {
    Input plain{};
    uint32_t base = 0;
    for (const uint32_t region : {0U, 1U}) {
        if ((flags >> region & 2) != 0) {
            const Bytes jump(kFirstJump[region], kFirstJump[region] + 4);
            put_hex(file, 4, 0, two_bytes(region * 2), plain);
            put_hex(file, 0, 0, jump, plain);
            base = region << 17;
            add_piece(file, base, jump);
        }
    }
    while (!input.rest.empty()) {
        const uint8_t kind = input.byte() % 16;
        const uint32_t number = input.number(2);
        switch (kind) {
            case 9: put_hex(file, 4, 0, two_bytes(number), input); break;
            case 10: put_hex(file, 2, 0, two_bytes(number), input); break;
            case 11: {
                const Bytes start = take(input, 4);
                put_hex(file, number % 2 != 0 ? 3 : 5, 0, start, input);
                if (start.size() != 4) {
                    file.damage();
                }
                break;
            }
            case 12: put_hex(file, 1, number, {}, input); break;
            case 13: put_hex(file, static_cast<uint8_t>(number), 0, {}, input); break;
            case 14: put_hex(file, 4, 0, two_bytes(number % 4), input); break;
            default: {
                const Bytes data = take(input, input.byte() % 40);
                put_hex(file, 0, number, data, input);
                add_piece(file, base + number, data);
                if (number + data.size() > 0x10000) {
                    file.damage();
                }
            }
        }
        base = kind == 9 ? number << 16 : kind == 10 ? number << 4 : kind == 14 ? number % 4 << 16 : base;
        const bool right = kind == 13 && (number & 0xFF) < 2;  // data without bytes, or the end
        if (kind == 13 && !right) {
            file.damage();
        }
        file.ended = file.ended || kind == 12 || (right && (number & 0xFF) == 1);
    }
    if ((flags & 8) == 0 && !file.ended) {
        put_hex(file, 1, 0, {}, plain);
        file.ended = true;
    }
}

/// S-records: a kind (modulo 16), an address of three bytes, a size and the bytes; then how.
void describe_srec(DescribedFile& file, Input& input, uint8_t flags) {
    Input plain{};
    uint32_t count = 0;
    for (const uint32_t region : {0U, 1U}) {
        if ((flags >> region & 2) != 0) {
            const Bytes jump(kFirstJump[region], kFirstJump[region] + 4);
            put_srec(file, 2, 3, region * kRegion, jump, plain);
            add_piece(file, region * kRegion, jump);
            ++count;
        }
    }
    while (!input.rest.empty()) {
        const uint8_t kind = input.byte() % 16;
        const uint32_t number = input.number(3);
        const Bytes data = take(input, input.byte() % 40);
        switch (kind) {
            case 8: put_srec(file, 0, 2, number & 0xFFFF, data, input); break;
            case 9: put_srec(file, 5, 2, count & 0xFFFF, {}, input); break;
            case 10: put_srec(file, 6, 3, count, {}, input); break;
            case 11:
                put_srec(file, 5, 2, number & 0xFFFF, {}, input);
                if ((number & 0xFFFF) != count) {
                    file.damage();
                }
                break;
            case 12: put_srec(file, 9, 2, number & 0xFFFF, {}, input); break;
            case 13: put_srec(file, 7, 4, number, {}, input); break;
            case 14:
                put_srec(file, 4, 3, number, data, input);
                file.damage();
                break;
            default: {
                const int type = 1 + kind % 3;
                const uint32_t address = type == 1 ? number & 0xFFFF : kind < 6 ? number & 0x3FFFF : number;
                put_srec(file, type, static_cast<size_t>(type) + 1, address, data, input);
                add_piece(file, address, data);
                ++count;
            }
        }
        file.ended = file.ended || kind == 12 || kind == 13;
    }
    if ((flags & 8) == 0 && !file.ended) {
        put_srec(file, 8, 3, 0, {}, plain);
        file.ended = true;
    }
}

void put_number(std::string& text, uint32_t number, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(number >> 8 * i);
    }
}

/// A linked program for AVR. Segments: a number (modulo 6); each a kind (modulo 8; 7: not loaded, 6: for another
/// memory), an address of three bytes, a size and the bytes. Then edits of the file: an offset of two bytes and a byte.
void describe_elf(DescribedFile& file, Input& input, uint8_t flags) {
    struct Segment {
        uint32_t type;
        uint32_t address;
        Bytes data;
    };
    std::vector<Segment> segments;
    for (const uint32_t region : {0U, 1U}) {
        if ((flags >> region & 2) != 0) {
            segments.push_back({1, region * kRegion, Bytes(kFirstJump[region], kFirstJump[region] + 4)});
        }
    }
    for (int n = input.byte() % 6; n > 0; --n) {
        const uint8_t kind = input.byte() % 8;
        const uint32_t address = input.number(3);
        const Bytes data = take(input, input.byte());
        segments.push_back({kind == 7 ? 4U : 1U, kind == 6 ? 0x800000 + address % 0x60000 : address % 0x50000, data});
    }
    file.text = std::string(
        "\x7f"
        "ELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\x53\0\1\0\0\0\0\0\0\0\x34\0\0\0",
        32);
    file.text += std::string("\0\0\0\0\0\0\0\0\x34\0\x20\0", 12);
    put_number(file.text, static_cast<uint32_t>(segments.size()), 2);
    file.text += std::string("\x28\0\0\0\0\0", 6);
    uint32_t offset = static_cast<uint32_t>(file.text.size() + 32 * segments.size());
    for (const Segment& segment : segments) {
        const auto size = static_cast<uint32_t>(segment.data.size());
        for (const uint32_t field : {segment.type, offset, segment.address, segment.address, size, size, 5U, 1U}) {
            put_number(file.text, field, 4);
        }
        offset += size;
        if (segment.type == 1 && segment.address < 0x800000) {
            add_piece(file, segment.address, segment.data);
        }
    }
    for (const Segment& segment : segments) {
        file.text.append(segment.data.begin(), segment.data.end());
    }
    while (!input.rest.empty()) {
        file.text[input.number(2) % file.text.size()] = static_cast<char>(input.byte());
        file.known = false;
    }
    file.ended = !file.pieces.empty();  // a program without content for the flash is refused
}

void check_reader(Format format, Input input) {
    const DescribedFile file = describe_file(format, input);
    const InputFile read{"f", format, {file.text.begin(), file.text.end()}};
    RegionContents regions;
    std::vector<std::string> omitted;
    std::string error;
    const bool ok = decode_firmware(read, regions, omitted, error);
    check(ok == error.empty() && is_text(error), "a failure, and nothing else, has a reason");
    check(ok || (error.starts_with("f: ") && !regions[0] && !regions[1]), "a failure leaves no content");
    if (file.known) {
        check(ok == file.regions.has_value(), "what is sound is read, and nothing else");
        check(!ok || regions == *file.regions, "every byte is in its place");
        check(!ok || detect_format(read.bytes) == format || file.lines == 0, "the format is seen");
        const std::string line = "f: line " + std::to_string(file.bad_line) + ": ";
        check(file.sound || format == Format::kElf || error.starts_with(line), "the bad line is named");
    }
}

}  // namespace

DescribedFile describe_file(Format format, Input input) {
    DescribedFile file;
    const uint8_t flags = input.byte();
    if ((flags & 1) != 0) {
        file.text = input.text();
        file.known = false;
        return file;
    }
    (format == Format::kElf        ? describe_elf
     : format == Format::kIntelHex ? describe_hex
                                   : describe_srec)(file, input, flags);
    if (!file.ended) {
        file.damage();
    }
    if (file.known && file.sound) {
        file.regions = placed(file.pieces);
    }
    return file;
}

void hex(Input input) {
    check_reader(Format::kIntelHex, input);
}

void srec(Input input) {
    check_reader(Format::kSRecord, input);
}

void elf(Input input) {
    check_reader(Format::kElf, input);
}

// SPDX-License-Identifier: MIT
#include "tests/fuzz/firmware_files.h"

#include <map>
#include <numeric>

#include "tests/support/update_file_bytes.h"

namespace {

constexpr uint32_t kRegion = 0x20000;

uint32_t big_endian_of(const Bytes& bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), 0U, [](uint32_t sum, uint8_t byte) { return sum << 8 | byte; });
}

Bytes big_endian_bytes(uint32_t number, size_t size) {
    Bytes bytes;
    for (size_t i = size; i-- > 0;) {
        bytes.push_back(static_cast<uint8_t>(number >> 8 * i));
    }
    return bytes;
}

/// Byte by byte, as no reader does it. Nothing: bytes overlap or lie outside the regions.
std::optional<RegionContents> placed(const std::vector<Piece>& pieces) {
    std::map<uint64_t, uint8_t> flash;
    for (const Piece& piece : pieces) {
        for (size_t i = 0; i < piece.bytes.size(); ++i) {
            if (piece.address + i >= 2 * kRegion || !flash.emplace(piece.address + i, piece.bytes[i]).second) {
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

/// A file of lines, and what a reader has to know after each.
struct Lines : DescribedFile {
    uint32_t bases[2] = {};  // of Intel HEX: types 02 and 04
    int last_base = 0;
    uint32_t count = 0;  // of S-records
    bool counted = false;

    /// Writes a line: the start, the digits of the bytes, and the checksum. Input: how; modulo 8: 7: with a wrong
    /// checksum, 6: with a wrong length; bit 3: after an empty line; bit 4: in lower case; bit 5: with "\r\n".
    void put_line(const std::string& start, Bytes bytes, bool is_hex, bool is_sound, Input& input) {
        const uint8_t how = input.byte();
        const uint8_t wrong = how % 8 == 7 ? input.byte() : 0;
        bytes[0] = static_cast<uint8_t>(bytes[0] + (how % 8 == 6 ? 1 : 0));
        const uint32_t sum = std::accumulate(bytes.begin(), bytes.end(), 0U);
        bytes.push_back(static_cast<uint8_t>((is_hex ? 0U - sum : ~sum) ^ wrong));
        const std::string end = (how & 32) != 0 ? "\r\n" : "\n";
        text += ((how & 8) != 0 ? end : "") + start;
        lines += (how & 8) != 0 ? 2 : 1;
        for (const uint8_t byte : bytes) {
            const char* digits = (how & 16) != 0 ? "0123456789abcdef" : "0123456789ABCDEF";
            text += {digits[byte >> 4], digits[byte & 15]};
        }
        text += end;
        if (ended || wrong != 0 || how % 8 == 6 || !is_sound) {
            damage();
        }
    }

    void put_hex(uint8_t type, uint32_t offset, const Bytes& data, Input& input) {
        constexpr size_t kSizes[] = {0, 0, 2, 4, 2, 4};
        const bool is_in_window = bases[1 - last_base] == 0 && offset + data.size() <= 0x10000;
        const bool is_sound = type == 0 ? is_in_window : type < 6 && data.size() == kSizes[type];
        Bytes bytes = {static_cast<uint8_t>(data.size()), static_cast<uint8_t>(offset >> 8),
                       static_cast<uint8_t>(offset), type};
        bytes.insert(bytes.end(), data.begin(), data.end());
        put_line(":", bytes, true, is_sound, input);
        if (type == 0) {
            pieces.push_back({bases[last_base] + offset, data, 0});
        }
        if (type == 2 || type == 4) {
            last_base = type / 4;
            bases[last_base] = big_endian_of(data) << (type == 2 ? 4 : 16);
        }
        ended = ended || type == 1;
    }

    void put_srec(uint8_t type, uint32_t address, const Bytes& data, Input& input) {
        constexpr size_t kSizes[] = {2, 2, 3, 4, 3, 2, 3, 4, 3, 2};
        Bytes bytes = big_endian_bytes(address, kSizes[type]);
        address = big_endian_of(bytes);
        bytes.insert(bytes.begin(), static_cast<uint8_t>(bytes.size() + data.size() + 1));
        bytes.insert(bytes.end(), data.begin(), data.end());
        const bool is_sound = type != 4 && ((type != 5 && type != 6) || address == count);
        put_line("S" + std::to_string(type), bytes, false, is_sound, input);
        if (type >= 1 && type <= 3) {
            pieces.push_back({address, data, 0});
            ++count;
        }
        counted = type == 5 || type == 6;
        ended = ended || type >= 7;
    }
};

Bytes take(Input& input, size_t count) {
    const auto part = input.part(count).rest;
    return {part.begin(), part.end()};
}

/// A jump to the word after it.
Bytes smallest_program(uint32_t region) {
    return {static_cast<uint8_t>(0x0C + region), 0x94, 0x02, 0x00, 1, 2};
}

/// Records: a type (modulo 16: from 6 on data, and 15 unknown), an offset of two bytes, for data a size, the bytes;
/// how.
DescribedFile describe_hex(Input input, uint8_t flags) {
    Lines file;
    Input plain{};
    for (const uint32_t region : {0U, 1U}) {
        if ((flags >> region & 2) != 0) {
            file.put_hex(4, 0, {0, static_cast<uint8_t>(2 * region)}, plain);
            file.put_hex(0, 0, smallest_program(region), plain);
        }
    }
    while (!input.rest.empty()) {
        const uint8_t kind = input.byte() % 16;
        const uint8_t type = kind == 15 ? input.byte() : kind < 6 ? kind : 0;
        const uint32_t offset = input.number(2);
        constexpr size_t kSizes[] = {0, 0, 2, 4, 2, 4};
        const size_t size = type == 0 || kind == 15 ? input.byte() % 40 : kSizes[type];
        file.put_hex(type, offset, take(input, size), input);
    }
    if ((flags & 8) == 0 && !file.ended) {
        file.put_hex(1, 0, {}, plain);
    }
    return file;
}

/// Records: a type (modulo 16: from 10 on data in the regions), an address of four bytes, a size and the bytes; how.
/// The address 0xFFFF stands for the right count.
DescribedFile describe_srec(Input input, uint8_t flags) {
    Lines file;
    Input plain{};
    for (const uint32_t region : {0U, 1U}) {
        if ((flags >> region & 2) != 0) {
            file.put_srec(2, region * kRegion, smallest_program(region), plain);
        }
    }
    while (!input.rest.empty()) {
        const uint8_t kind = input.byte() % 16;
        const uint8_t type = kind < 10 ? kind : 2;
        const uint32_t address = input.number(4);
        const Bytes data = take(input, type < 5 ? input.byte() % 40 : 0);
        file.put_srec(type,
                      kind >= 10          ? address % (2 * kRegion)
                      : address == 0xFFFF ? file.count
                                          : address,
                      data, input);
    }
    if ((flags & 8) == 0 && !file.ended) {
        file.put_srec(8, 0, {}, plain);
    }
    file.ended = file.ended || file.counted;
    return file;
}

/// A linked program for AVR. Segments: a number (modulo 6); each a kind (modulo 8; 7: not loaded, 6: for EEPROM
/// and what follows it), an address of three bytes, a size and the bytes. Then edits of the file: an offset of two
/// bytes and a byte.
DescribedFile describe_elf(Input input, uint8_t flags) {
    DescribedFile file;
    std::vector<Piece> segments;  // place: the type
    for (const uint32_t region : {0U, 1U}) {
        if ((flags >> region & 2) != 0) {
            segments.push_back({region * kRegion, smallest_program(region), 1});
        }
    }
    for (int n = input.byte() % 6; n > 0; --n) {
        const uint8_t kind = input.byte() % 8;
        const uint32_t number = input.number(3);
        const uint32_t address = kind == 6 ? 0x810000 + number % 0x50000 : number % 0x50000;
        segments.push_back({address, take(input, input.byte()), kind == 7 ? 4U : 1U});
    }
    const auto put = [&file](uint32_t number, size_t size) {
        const Bytes bytes = big_endian_bytes(number, size);
        file.text.append(bytes.rbegin(), bytes.rend());
    };
    file.text = {0x7F, 'E', 'L', 'F', 1, 1, 1,  0, 0, 0, 0, 0, 0, 0, 0,    0, 2, 0, 0x53, 0, 1,  0,
                 0,    0,   0,   0,   0, 0, 52, 0, 0, 0, 0, 0, 0, 0, 0x6A, 0, 0, 0, 52,   0, 32, 0};
    put(static_cast<uint32_t>(segments.size()), 2);
    file.text.append({40, 0, 0, 0, 0, 0});
    auto offset = static_cast<uint32_t>(file.text.size() + 32 * segments.size());
    for (const Piece& segment : segments) {
        const auto size = static_cast<uint32_t>(segment.bytes.size());
        for (const uint32_t field :
             {static_cast<uint32_t>(segment.place), offset, segment.address, segment.address, size, size, 5U, 1U}) {
            put(field, 4);
        }
        offset += size;
        if (segment.place == 1 && segment.address < 0x800000 && size > 0) {
            file.pieces.push_back(segment);
        }
    }
    for (const Piece& segment : segments) {
        file.text.append(segment.bytes.begin(), segment.bytes.end());
    }
    file.known = input.rest.empty();
    while (!input.rest.empty()) {
        file.text[input.number(2) % file.text.size()] = static_cast<char>(input.byte());
    }
    file.ended = !file.pieces.empty();  // a program without content for the flash is refused
    return file;
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
        check(!ok || detect_format(read.bytes) == format, "the format is seen");
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
    file = (format == Format::kElf        ? describe_elf
            : format == Format::kIntelHex ? describe_hex
                                          : describe_srec)(input, flags);
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

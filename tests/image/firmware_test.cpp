// SPDX-License-Identifier: MIT
// The readers of Intel HEX, S-records and ELF. Records and headers are written by hand.
#include "image/firmware.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

#include "image/input_file.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes to_bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

/// The content as "R@OFFSET:HEX" for each run of bytes that are not 0xFF, or the error.
std::string decoded(const Bytes& bytes, Format format) {
    RegionContents regions;
    std::vector<std::string> omitted;
    std::string error;
    if (!decode_firmware({"fw", format, bytes}, regions, omitted, error)) {
        return error;
    }
    std::string text;
    char part[32];
    for (size_t region = 0; region < 2; ++region) {
        const RegionContent content = regions.at(region).value_or(RegionContent());
        for (size_t i = 0; i < content.size(); ++i) {
            if (content[i] != 0xFF && (i == 0 || content[i - 1] == 0xFF)) {
                std::snprintf(part, sizeof part, "%s%zu@%zx:", text.empty() ? "" : " ", region, i);
                text += part;
            }
            std::snprintf(part, sizeof part, "%02x", content[i]);
            text += content[i] != 0xFF ? part : "";
        }
    }
    for (const std::string& part_of_file : omitted) {
        text += " (" + part_of_file + ")";
    }
    return text;
}

struct Row {
    const char* text;
    const char* expected;
};

constexpr char kEnd[] = ":00000001FF\n";

TEST(IntelHex, RecordsAndTheirFaults) {
    const Row rows[] = {
        {":020000000C945E\n", "0@0:0c94"},
        {":020000000c945e\r\n\r\n", "0@0:0c94"},
        // A gap, and the last byte below 64 KiB.
        {":0100000001FE\n:01FFFF0002FF\n", "0@0:01 0@ffff:02"},
        // 04: 0x0002 << 16; 02: 0x2000 << 4. The base stays until the next one. 03 and 05: start addresses.
        {":020000040002F8\n:0100000001FE\n:0100020002FB\n", "1@0:01 1@2:02"},
        {":020000022000DC\n:0100000001FE\n:0400000320000000D9\n:0400000500020000F5\n", "1@0:01"},
        // Objcopy ends the use of 02 before it uses 04; what readers take differently.
        {":020000021000EC\n:0100000001FE\n:020000020000FC\n:020000040002F8\n:0100000001FE\n", "0@10000:01 1@0:01"},
        {":020000040002F8\n:020000020000FC\n:0100000001FE\n",
         "fw: line 3: records of type 02 and 04 apply together, which readers take differently"},
        {":020000021000EC\n:020000040002F8\n:0100000001FE\n",
         "fw: line 3: records of type 02 and 04 apply together, which readers take differently"},
        // From one region into the other.
        {":020000040001F9\n:01FFFF000100\n:020000040002F8\n:0100000002FD\n", "0@1ffff:01 1@0:02"},
        {":0000000000\n", ""},
        {":0100000001FF\n", "fw: line 1: the checksum is FF, but must be FE"},
        {"\n:0200000001FE\n", "fw: line 2: the length of the record is wrong"},
        {":010000000102FB\n", "fw: line 1: the length of the record is wrong"},
        {":0000\n", "fw: line 1: the length of the record is wrong"},
        {":010000000\n", "fw: line 1: no record of Intel HEX (a colon and pairs of hexadecimal digits)"},
        {":0100000001FG\n", "fw: line 1: no record of Intel HEX (a colon and pairs of hexadecimal digits)"},
        {" :0100000001FE\n", "fw: line 1: no record of Intel HEX (a colon and pairs of hexadecimal digits)"},
        {":0100000001FE \n", "fw: line 1: no record of Intel HEX (a colon and pairs of hexadecimal digits)"},
        {":00000006FA\n", "fw: line 1: a record of type 06, which is unknown"},
        {":0100000400FB\n", "fw: line 1: the length does not suit a record of type 04"},
        {":0100000100FE\n", "fw: line 1: the length does not suit a record of type 01"},
        {":02FFFF000102FD\n", "fw: line 1: the record wraps at 64 KiB"},
        {":020000040004F6\n:0100000001FE\n", "fw: line 2: address 0x40000 is outside both regions (0x0 to 0x3ffff)"},
        {":02000004008179\n:0100000001FE\n", "fw: line 2: address 0x810000 is outside both regions (0x0 to 0x3ffff)"},
        {":020000023FFFBE\n:1000080000000000000000000000000000000000E8\n",
         "fw: line 2: address 0x40000 is outside both regions (0x0 to 0x3ffff)"},
        {":020004000102F7\n:020005000304F2\n", "fw: line 2: address 0x5 is also in line 1"},
        {":020005000304F2\n:020004000102F7\n", "fw: line 2: address 0x5 is also in line 1"},
        {":0100000001FE\n:0100000001FE\n", "fw: line 2: address 0x0 is also in line 1"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(decoded(to_bytes(std::string(text) + kEnd), Format::kIntelHex), expected) << text;
    }
    EXPECT_EQ(decoded(to_bytes(std::string(kEnd) + "\n" + kEnd), Format::kIntelHex),
              "fw: line 3: text after the end record");
    EXPECT_EQ(decoded(to_bytes(":0100000001FE\n\n"), Format::kIntelHex),
              "fw: line 2: the end record is missing: the file is cut off");
}

TEST(SRecords, RecordsAndTheirFaults) {
    const char no_record[] = "fw: line 1: no S-record (S, a digit and pairs of hexadecimal digits)";
    const Row rows[] = {
        {"S0030000FC\nS10500000C945A\nS9030000FC\n", "0@0:0c94"},
        {"s10500000C945A\n", no_record},
        {"S10500000c945a\r\nS9030000FC", "0@0:0c94"},
        {"S20502000001F7\nS3060002000202F3\nS70500020000F8\n", "1@0:01 1@2:02"},
        {"S104000001FA\nS104000202F7\nS5030002FA\nS9030000FC\n", "0@0:01 0@2:02"},
        {"S104000001FA\nS604000001FA\nS804000000FB\n", "0@0:01"},
        {"S104000001FA\nS5030002FA\nS9030000FC\n",
         "fw: line 2: the count of records is 2, but there are 1: lines are missing"},
        {"S104000001FB\nS9030000FC\n", "fw: line 1: the checksum is FB, but must be FA"},
        {"S105000001F9\nS9030000FC\n", "fw: line 1: the length of the record is wrong"},
        {"S1020000FD\n", "fw: line 1: the length of the record is wrong"},
        {"S4030000FC\n", "fw: line 1: a record of type S4, which is unknown"},
        {"S10400000\n", no_record},
        {"SA030000FC\n", no_record},
        {"S\n", no_record},
        {"S9030000FC\nS9030000FC\n", "fw: line 2: text after the end record"},
        {"S104000001FA\n", "fw: line 1: the end record (S7, S8 or S9) is missing: the file is cut off"},
        {"S104000001FA\nS5030001FB\n", "0@0:01"},
        {"S104000001FA\nS5030001FB\nS104000101F9\n",
         "fw: line 3: the end record (S7, S8 or S9) is missing: the file is cut off"},
        {"S20801FFFE0A0B0C0DCB\nS9030000FC\n", "0@1fffe:0a0b 1@0:0c0d"},  // from one region into the other
        {"S20504000001F5\nS9030000FC\n", "fw: line 1: address 0x40000 is outside both regions (0x0 to 0x3ffff)"},
        {"S306FFFFFFFF01FC\nS9030000FC\n", "fw: line 1: address 0xffffffff is outside both regions (0x0 to 0x3ffff)"},
        {"S104000001FA\nS104000001FA\nS9030000FC\n", "fw: line 2: address 0x0 is also in line 1"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(decoded(to_bytes(text), Format::kSRecord), expected) << text;
    }
}

/// A linked AVR program with two bytes for the start of region 1, four for its data and one for the EEPROM.
Bytes small_elf() {
    Bytes file = {0x7F, 'E', 'L', 'F', 1,    1, 1, 0, 0,  0, 0,  0, 0, 0, 0,  0, 2, 0, 83, 0,
                  1,    0,   0,   0,   0,    0, 2, 0, 52, 0, 0,  0,  // executable, AVR; entry; segments at 52
                  0,    0,   0,   0,   0x6A, 0, 0, 0, 52, 0, 32, 0, 4, 0, 40, 0, 0, 0, 0,  0};
    const uint32_t segments[4][8] = {
        // type, offset, virtual and physical address, size in file and memory, flags, align
        {1, 180, 0x20000, 0x20000, 2, 2, 5, 2},
        {1, 182, 0x802000, 0x20002, 4, 4, 6, 1},
        {1, 0, 0x802004, 0x802004, 0, 100, 6, 1},
        {1, 186, 0x810000, 0x810000, 1, 1, 6, 1}};
    for (const auto& segment : segments) {
        for (const uint32_t word : segment) {
            for (int shift = 0; shift < 32; shift += 8) {
                file.push_back(static_cast<uint8_t>(word >> shift));
            }
        }
    }
    const Bytes content = {0x0D, 0x94, 1, 2, 3, 4, 5};
    file.insert(file.end(), content.begin(), content.end());
    return file;
}

TEST(Elf, SegmentsAndTheirFaults) {
    const char cut[] = "fw: a segment is incomplete: the file is cut off";
    const char good[] = "1@0:0d9401020304 (segment 4, 1 bytes for EEPROM, is not part of an update and left out)";
    const struct {
        std::vector<std::pair<size_t, uint8_t>> changes;  // of a byte each
        const char* expected;
    } rows[] = {
        {{}, good},
        {{{4, 9}}, "fw: the header is no header of ELF"},
        {{{4, 2}}, "fw: a program for another processor than AVR"},
        {{{18, 62}}, "fw: a program for another processor than AVR"},
        {{{36, 6}}, "fw: a program for another AVR than XMEGA"},
        {{{16, 1}}, "fw: not a linked program: link it for its region first"},
        {{{84 + 13, 0x20}, {84 + 14, 0x80}},
         "fw: a segment has its content in RAM, which is empty at the start: give it a load address in the flash"},
        {{{44, 5}}, "fw: the table of segments is incomplete: the file is cut off"},
        {{{52 + 4, 255}}, cut},
        {{{52 + 19, 255}}, "fw: the segments hold more than both regions"},
        {{{52 + 17, 1}}, cut},
        {{{52 + 14, 4}}, "fw: segment 1: address 0x40000 is outside both regions (0x0 to 0x3ffff)"},
        {{{84 + 12, 1}}, "fw: segment 2: address 0x20001 is also in segment 1"},
        {{{52, 0}, {84, 0}}, "fw: no segment has content for the flash"},
        {{{84 + 14, 0}},
         "0@2:01020304 1@0:0d94 (segment 4, 1 bytes for EEPROM, is not part of an update and left out)"},
    };
    for (const auto& [changes, expected] : rows) {
        Bytes file = small_elf();
        for (const auto& [offset, byte] : changes) {
            file[offset] = byte;
        }
        EXPECT_EQ(decoded(file, Format::kElf), expected);
    }
    for (size_t size = 4; size < small_elf().size(); ++size) {
        const Bytes file = small_elf();
        EXPECT_NE(decoded(Bytes(file.begin(), file.begin() + static_cast<long>(size)), Format::kElf), good) << size;
    }
}

TEST(DetectFormat, ByContent) {
    const std::pair<std::string, Format> rows[] = {
        {"", Format::kRaw},
        {"\x7f"
         "ELF",
         Format::kElf},
        {"\x7f"
         "ELG",
         Format::kRaw},
        {":10000000", Format::kIntelHex},
        {"\r\n:0000000", Format::kRaw},
        {"\r\n:00000001", Format::kIntelHex},
        {":1000000G", Format::kRaw},
        {"S00", Format::kRaw},
        {"S003", Format::kSRecord},
        {"\xEF\xBB\xBF:00000001", Format::kIntelHex},
        {"\x7f"
         "ELF note\nSVxMega\n",
         Format::kUpdateFile},
        {std::string("\x0c\x94\x02\x00", 4), Format::kRaw},
        {std::string(0x42000, 'U'), Format::kReadBack},
        {std::string(0x42001, 'U'), Format::kRaw},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(detect_format(to_bytes(text)), expected) << text.substr(0, 20);
    }
}

}  // namespace

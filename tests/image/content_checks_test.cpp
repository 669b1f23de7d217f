// SPDX-License-Identifier: MIT
#include "image/content_checks.h"

#include <gtest/gtest.h>

#include <tuple>

#include "image/region_sources.h"

namespace {

using Bytes = std::vector<uint8_t>;

const Bytes kGood[2] = {{0x0C, 0x94, 0x02, 0x00, 1}, {0x0D, 0x94, 0x02, 0x00, 1}};

Bytes with_byte(Bytes content, size_t offset, uint8_t byte) {
    content.resize(std::max(content.size(), offset + 1), 0xFF);
    content[offset] = byte;
    return content;
}

Bytes text(const std::string& characters) {
    return {characters.begin(), characters.end()};
}

TEST(ContentChecks, WhatNoBoardCouldStart) {
    const Bytes rjmp = {0x00, 0xC0, 1};
    const std::tuple<Bytes, Bytes, std::string> rows[] = {
        {kGood[0], kGood[1], ""},
        {rjmp, {0x00, 0xC0, 2}, ""},
        {with_byte(kGood[0], 0x1FDFF, 0), with_byte(kGood[1], 0x1FFFF, 0xFF), ""},  // all that is programmed; erased
        {{}, kGood[1], "empty: region 0 is empty, and the MCU would start it nevertheless"},
        {kGood[0], Bytes(0x20000, 0xFF), "empty: region 1 is empty, and the MCU would start it nevertheless"},
        {kGood[0], text(":10000000"), "format: region 1 holds another format (Intel HEX), not the content of flash"},
        {text("S1130000"), kGood[1], "format: region 0 holds another format (S-records), not the content of flash"},
        {text("\x7f"
              "ELF\x01\x01"),
         kGood[1], "format: region 0 holds another format (ELF), not the content of flash"},
        {text("SVxMega\n"), kGood[1], "format: region 0 holds another format (update file), not the content of flash"},
        {text("<html>"), kGood[1], "format: region 0 holds another format (text), not the content of flash"},
        {text("\x1f\x8b\x08"), kGood[1],
         "format: region 0 holds another format (compressed file), not the content of flash"},
        {{0, 0}, kGood[1], "vector: region 0 does not begin with a jump: it is no program, or begins elsewhere"},
        {rjmp, {0xC0}, "vector: region 1 does not begin with a jump: it is no program, or begins elsewhere"},
        {kGood[0], {0x0D, 0x94, 0x00, 0xFF}, "vector: region 1 begins with a jump to 0x3fe00, where no program can be"},
        {{0xFE, 0xCF}, kGood[1], "vector: region 0 begins with a jump to 0x7ffffe, where no program can be"},
        {with_byte(kGood[1], 4, 2), kGood[1],
         "vector: region 0 begins with a jump to 0x20004, in region 1: it is linked for that region"},
        {{0x0C, 0x94, 0x10, 0x00},
         kGood[1],
         "vector: region 0 begins with a jump to 0x00020, which is erased: its program is cut off"},
        {kGood[0], with_byte({0x0D, 0x94, 0x02, 0x00, 0xFF, 0xFF}, 6, 1),
         "vector: region 1 begins with a jump to 0x20004, which is erased: its program is cut off"},
        {kGood[0], with_byte({0x0D, 0x94, 0x02, 0x00, 0xFF}, 5, 0), ""},  // half a word
        {{0x0C, 0x94, 0x00, 0x00, 1}, kGood[1], "vector: region 0 begins with a jump to itself: it is not linked"},
        {text("F\xC3\xBCr alle, lang genug"), kGood[1],
         "format: region 0 holds another format (text), not the content of flash"},
        {with_byte(kGood[0], 0x1FE00, 7), kGood[1],
         "last-page: region 0 holds 0x07 at offset 0x1fe00, in its last page, which no update programs"},
        {kGood[0], with_byte(with_byte(kGood[1], 0x1FE02, 0x10), 0x1FE05, 0),
         "last-page: region 1 holds 0x10 at offset 0x1fe02, in its last page, which no update programs"},
        {kGood[1], kGood[0], "swapped: the regions are swapped: each begins with a jump into the other one"},
        {rjmp, {0x00, 0xC0, 1, 0xFF}, "alike: both regions hold the same, but a program is linked for one of them"},
        {{},
         {},
         "empty: region 0 is empty, and the MCU would start it nevertheless\n"
         "empty: region 1 is empty, and the MCU would start it nevertheless"},
        {kGood[0], kGood[0],
         "vector: region 1 begins with a jump to 0x00004, in region 0: it is linked for that region\n"
         "alike: both regions hold the same, but a program is linked for one of them"},
    };
    for (const auto& [region0, region1, expected] : rows) {
        std::string found;
        for (const Finding& finding : check_content(region0, region1)) {
            found += (found.empty() ? "" : "\n") + finding.check + ": " + finding.text;
        }
        EXPECT_EQ(found, expected);
    }
}

TEST(RegionSources, EachRegionComesFromOneFile) {
    const InputFile zero = {"zero.hex", Format::kIntelHex, text(":0100000001FE\n:00000001FF\n")};
    const InputFile one = {"one.hex", Format::kIntelHex, text(":020000040002F8\n:0100000001FE\n:00000001FF\n")};
    const InputFile both = {"both.hex", Format::kIntelHex,
                            text(":0100000001FE\n:020000040002F8\n:0100000001FE\n:00000001FF\n")};
    const InputFile raw = {"raw.bin", Format::kRaw, {1}};
    const InputFile large = {"large.bin", Format::kRaw, Bytes(0x20001)};
    const InputFile packed = {"packed.svu", Format::kUpdateFile, {}};
    const InputFile read_back = {"-", Format::kReadBack, {}};
    const std::tuple<std::vector<RegionSource>, std::string> rows[] = {
        {{{&zero, {}}, {&one, {}}}, ""},
        {{{&one, {}}, {&zero, {}}}, ""},
        {{{&zero, 0}, {&one, {}}}, ""},
        {{{&both, {}}}, ""},
        {{{&both, 0}, {&both, 1}}, ""},
        {{{&raw, 0}, {&raw, 1}}, ""},
        {{{&zero, 1}, {&one, 0}}, "zero.hex is linked for region 0, not for region 1"},
        {{{&zero, {}}, {&both, {}}}, "region 0 is in zero.hex and in both.hex: name one file for it"},
        {{{&both, 0}, {&raw, 1}}, "region 1 is in both.hex and in raw.bin: name one file for it"},
        {{{&both, 0}}, "both.hex also holds region 1: name it alone, without --region0 and --region1"},
        {{{&zero, {}}}, "no file has the firmware for region 1: link it for both regions, and name both files"},
        {std::vector<RegionSource>(),
         "no file has the firmware for region 0: link it for both regions, and name both files"},
        {{{&raw, {}}}, "raw.bin: a raw binary has no addresses: name its region with --region0 or --region1"},
        {{{&large, 0}}, "large.bin: longer than a region, 131072 bytes"},
        {{{&packed, 0}}, "packed.svu: update file, not firmware: take its regions out with sv_image extract"},
        {{{&read_back, 0}}, "standard input: read-back, not firmware: take its regions out with sv_image extract"},
    };
    for (const auto& [sources, expected] : rows) {
        RegionContents regions;
        std::vector<std::string> warnings;
        std::string error;
        EXPECT_EQ(collect_regions(sources, regions, warnings, error), expected.empty());
        EXPECT_EQ(error, expected);
        if (expected.empty()) {
            EXPECT_EQ(regions[0], Bytes{1});
            EXPECT_EQ(regions[1], Bytes{1});
        }
    }
}

}  // namespace

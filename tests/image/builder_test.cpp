// SPDX-License-Identifier: MIT
#include "image/builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace {

using Bytes = std::vector<uint8_t>;

BuildInput small_input() {
    BuildInput input;
    input.regions[0] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    input.regions[1] = Bytes(0x201, 0xFF);
    input.regions[1][0x200] = 0x5A;  // page 256 stays erased, page 257 does not
    input.swid = 0x0102;
    input.notes = {"a: b"};
    return input;
}

constexpr size_t kImage = 5 + 8;  // behind "a: b\n" and the magic
constexpr size_t kMap = kImage + 0x42000;
constexpr size_t kInfo = kMap + 528 + 6;

// The expected checksums come from a bitwise CRC-16/MODBUS in another language.

TEST(Builder, EveryByteOfASmallFileStandsWhereItBelongs) {
    const BuildResult built = build_update_file(small_input());
    ASSERT_EQ(built.error, "");
    ASSERT_EQ(built.file.size(), kInfo + 24);
    EXPECT_EQ(std::string(built.file.begin(), built.file.begin() + kImage), "a: b\nSVxMega\n");
    Bytes image(0x42000, 0xFF);
    std::iota(image.begin(), image.begin() + 9, uint8_t{'1'});
    image[0x20200] = 0x5A;
    EXPECT_TRUE(std::equal(image.begin(), image.end(), built.file.begin() + kImage));
    Bytes map_and_free(528 + 6, 0);
    map_and_free[0] = 1;
    map_and_free[257] = 1;
    EXPECT_TRUE(std::equal(map_and_free.begin(), map_and_free.end(), built.file.begin() + kMap));
    const Bytes info = {0x00, 0x00, 0x02, 0x01, 0x02, 0x01, 0x83, 0xEB, 0x08, 0xA7, 0x00, 0x00,
                        0x00, 0x00, 0x02, 0x00, 0x00, 0x02, 0x00, 0x20, 0x04, 0x00, 0x88, 0x88};
    EXPECT_EQ(Bytes(built.file.begin() + kInfo, built.file.end()), info);
}

TEST(Builder, MarkingAllSparesTheLastPageOfEachRegionAndKeepsItsChecksum) {
    BuildInput input = small_input();
    input.mark_all = true;
    const BuildResult built = build_update_file(input);
    ASSERT_EQ(built.file.size(), kInfo + 24) << built.error;
    Bytes map(528, 0);
    std::fill_n(map.begin(), 255, uint8_t{1});
    std::fill_n(map.begin() + 256, 255, uint8_t{1});
    EXPECT_TRUE(std::equal(map.begin(), map.end(), built.file.begin() + kMap));
    EXPECT_EQ(Bytes(built.file.begin() + kInfo + 6, built.file.begin() + kInfo + 10), (Bytes{0x83, 0xEB, 0x08, 0xA7}));
    EXPECT_EQ(Bytes(built.file.end() - 2, built.file.end()), (Bytes{0x85, 0xA4}));
}

TEST(Builder, ErasedRegionsAreNotMarkedAndHaveTheErasedChecksum) {
    BuildInput input;
    input.regions[0] = {0xFF};
    input.regions[1] = Bytes(0x20000, 0xFF);  // reaches into the last page, but holds nothing there
    input.swid = 1;
    const BuildResult built = build_update_file(input);
    ASSERT_EQ(built.file.size(), 8U + 0x42216 + 24) << built.error;
    EXPECT_EQ(std::count(built.file.end() - 24 - 534, built.file.end() - 24, 0), 534);
    EXPECT_EQ(Bytes(built.file.end() - 18, built.file.end() - 14), (Bytes{0xC1, 0x1C, 0xC1, 0x1C}));
}

struct PrefixCase {
    std::string prefix;
    std::vector<std::string> notes;
    std::string expected;  // what stands before the magic, or the error
};

TEST(Builder, PrefixAndNotes) {
    const std::string bad_note = "a note is not one \"key: value\" line of printable ASCII";
    const std::string magic_inside = "prefix or notes hold the magic of the file";
    const std::string too_long = "prefix and notes are longer than 1016 bytes";
    const PrefixCase cases[] = {{"", {}, ""},
                                {"raw\x01", {}, "raw\x01"},
                                {"no line end", {"k: v", "k: : w"}, "no line end\nk: v\nk: : w\n"},
                                {"line\n", {"k: v"}, "line\nk: v\n"},
                                {"SVxM", {}, "SVxM"},  // the start of a magic before the real one
                                {std::string(1016, 'x'), {}, std::string(1016, 'x')},
                                {std::string(1017, 'x'), {}, too_long},
                                {std::string(1012, 'x'), {"k: v"}, too_long},
                                {std::string("a\0b", 3), {}, "the prefix holds a NUL, which would hide the magic"},
                                {"..SVxMega\n..", {}, magic_inside},
                                {"", {"k: SVxMega"}, magic_inside},
                                {"", {"novalue"}, bad_note},
                                {"", {": v"}, bad_note},
                                {"", {"k: "}, bad_note},
                                {"", {"k: two\nlines"}, bad_note},
                                {"", {std::string("k: \0", 4)}, bad_note},
                                {"", {"k: \x1b[2J"}, bad_note}};
    for (const PrefixCase& c : cases) {
        BuildInput input = small_input();
        input.prefix = c.prefix;
        input.notes = c.notes;
        const BuildResult built = build_update_file(input);
        if (built.file.empty()) {
            EXPECT_EQ(built.error, c.expected);
            continue;
        }
        ASSERT_EQ(built.file.size(), c.expected.size() + 8 + 0x42216 + 24);
        EXPECT_EQ(std::string(built.file.begin(), built.file.end() - 0x42216 - 24), c.expected + "SVxMega\n");
    }
}

TEST(Builder, RefusesContentThatCannotBeProgrammed) {
    Bytes last_page(0x1FE03, 0xFF);
    last_page[0x1FE02] = 0x00;
    const struct {
        int region;
        Bytes content;
        std::string error;
    } cases[] = {
        {0, {}, "region 0 is empty"},
        {1, Bytes(0x20001, 0xFF), "region 1 is longer than 0x20000 bytes"},
        {0, Bytes(0x1FE01, 0x00), "region 0 holds 0x00 at offset 0x1fe00, in its last page, which is never programmed"},
        {1, last_page, "region 1 holds 0x00 at offset 0x1fe02, in its last page, which is never programmed"}};
    for (const auto& c : cases) {
        BuildInput input = small_input();
        input.regions[c.region] = c.content;
        const BuildResult built = build_update_file(input);
        EXPECT_EQ(built.error, c.error);
        EXPECT_TRUE(built.file.empty());
    }
    BuildInput input = small_input();
    input.regions[0] = Bytes(0x1FE00, 0x00);  // all that is programmed
    EXPECT_EQ(build_update_file(input).error, "");
    input.swid = 0;
    EXPECT_EQ(build_update_file(input).error, "software id 0 means to the MCU that a region holds nothing");
}

}  // namespace

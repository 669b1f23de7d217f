// SPDX-License-Identifier: MIT
#include "image/builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <tuple>

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

constexpr size_t kBuiltImage = 5 + 8;  // behind "a: b\n" and the magic
constexpr size_t kBuiltMap = kBuiltImage + 0x42000;
constexpr size_t kBuiltInfo = kBuiltMap + 528 + 6;

// The expected checksums come from a bitwise CRC-16/MODBUS in another language.

TEST(Builder, EveryByteOfASmallFileStandsWhereItBelongs) {
    const BuildResult built = build_update_file(small_input());
    ASSERT_EQ(built.error, "");
    ASSERT_EQ(built.file.size(), kBuiltInfo + 24);
    EXPECT_EQ(std::string(built.file.begin(), built.file.begin() + kBuiltImage), "a: b\nSVxMega\n");
    Bytes image(0x42000, 0xFF);
    std::iota(image.begin(), image.begin() + 9, uint8_t{'1'});
    image[0x20200] = 0x5A;
    EXPECT_TRUE(std::equal(image.begin(), image.end(), built.file.begin() + kBuiltImage));
    Bytes map_and_free(528 + 6, 0);
    map_and_free[0] = 1;
    map_and_free[257] = 1;
    EXPECT_TRUE(std::equal(map_and_free.begin(), map_and_free.end(), built.file.begin() + kBuiltMap));
    const Bytes info = {0x00, 0x00, 0x02, 0x01, 0x02, 0x01, 0x83, 0xEB, 0x08, 0xA7, 0x00, 0x00,
                        0x00, 0x00, 0x02, 0x00, 0x00, 0x02, 0x00, 0x20, 0x04, 0x00, 0x88, 0x88};
    EXPECT_EQ(Bytes(built.file.begin() + kBuiltInfo, built.file.end()), info);
}

/// What stands before the image, or the error.
std::string head_or_error(const std::string& prefix, const std::vector<std::string>& notes) {
    BuildInput input = small_input();
    input.prefix = prefix;
    input.notes = notes;
    const BuildResult built = build_update_file(input);
    return built.file.empty() ? built.error : std::string(built.file.begin(), built.file.end() - 0x42216 - 24);
}

TEST(Builder, PrefixAndNotes) {
    const std::string bad_note = "a note is not one \"key: value\" line of printable ASCII";
    const std::string magic_inside = "prefix or notes hold the magic of the file";
    const std::string too_long = "prefix and notes are longer than 1016 bytes";
    const std::tuple<std::string, std::vector<std::string>, std::string> cases[] = {
        {"", {}, "SVxMega\n"},
        {"raw\x01", {}, "raw\x01SVxMega\n"},
        {"no line end", {"k: v", "k: : w"}, "no line end\nk: v\nk: : w\nSVxMega\n"},
        {"line\n", {"k: v"}, "line\nk: v\nSVxMega\n"},
        {"SVxM", {}, "SVxMSVxMega\n"},  // the start of a magic before the real one
        {std::string(1016, 'x'), {}, std::string(1016, 'x') + "SVxMega\n"},
        {std::string(1017, 'x'), {}, too_long},
        {std::string(1012, 'x'), {"k: v"}, too_long},
        {std::string("a\0b", 3), {}, "the prefix holds a NUL, which would hide the magic"},
        {"..SVxMega\n..", {}, magic_inside},
        {"", {"k: SVxMega"}, magic_inside},
        {"", {"novalue"}, bad_note},
        {"", {": v"}, bad_note},
        {"", {"k: two\nlines"}, bad_note},
        {"", {"k: \x1b[2J"}, bad_note}};
    for (const auto& [prefix, notes, expected] : cases) {
        EXPECT_EQ(head_or_error(prefix, notes), expected);
    }
}

TEST(Builder, TakesOnlyContentThatCanBeProgrammed) {
    Bytes last_page(0x1FE03, 0xFF);
    last_page[0x1FE02] = 0x00;
    const std::tuple<int, Bytes, std::string> cases[] = {
        {0, Bytes(0x1FE00, 0x00), ""},  // all that is programmed
        {1, Bytes(0x20000, 0xFF), ""},  // reaches into the last page, but holds nothing there
        {0, {}, "region 0 is empty"},
        {1, Bytes(0x20001, 0xFF), "region 1 is longer than 0x20000 bytes"},
        {0, Bytes(0x1FE01, 0x00), "region 0 holds 0x00 at offset 0x1fe00, in its last page, which is never programmed"},
        {1, last_page, "region 1 holds 0x00 at offset 0x1fe02, in its last page, which is never programmed"}};
    for (const auto& [region, content, error] : cases) {
        BuildInput input = small_input();
        input.regions[region] = content;
        EXPECT_EQ(build_update_file(input).error, error);
    }
}

}  // namespace

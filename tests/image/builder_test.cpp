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
    input.prefix.notes = {"a: b"};
    return input;
}

constexpr size_t kBuiltImage = 5 + 8;  // after "a: b\n" and the magic
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

TEST(Builder, MarksPagesWithContentOrAllThatCanBeProgrammed) {
    BuildInput input = small_input();
    input.regions[0] = Bytes(0x200, 0xFF);
    input.regions[0].back() = 0x00;
    const auto map = [&] {
        const Bytes file = build_update_file(input).file;
        return Bytes(file.begin() + kBuiltMap, file.begin() + kBuiltMap + 528);
    };
    Bytes expected(528, 0);
    expected[0] = expected[257] = 1;
    EXPECT_EQ(map(), expected);
    input.mark_all = true;
    std::fill_n(expected.begin(), 255, uint8_t{1});
    std::fill_n(expected.begin() + 256, 255, uint8_t{1});
    EXPECT_EQ(map(), expected);
}

TEST(Builder, NamesTheSha256OfWhatFollowsThePrefix) {
    BuildInput input = small_input();
    input.name_sha256 = true;
    const BuildResult built = build_update_file(input);
    EXPECT_EQ(std::string(built.file.begin(), built.file.end() - 0x42216 - 24),
              "a: b\nsha256: 5780d9c620e17626a3614fef0f6144f064e0ba34b23abd921c20722bd9b60d3d\nSVxMega\n");
    input.prefix.notes = {"no note"};
    EXPECT_EQ(build_update_file(input).error, "a note is not one \"key: value\" line of printable ASCII");
}

TEST(Builder, RefusesMoreThanARegion) {
    BuildInput input = small_input();
    input.regions[1] = Bytes(0x20001, 0xFF);
    EXPECT_EQ(build_update_file(input).error, "region 1 is longer than 131072 bytes");
}

}  // namespace

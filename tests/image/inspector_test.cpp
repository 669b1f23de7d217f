// SPDX-License-Identifier: MIT
#include "image/inspector.h"

#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kImage = 2 + 8;  // after "p\n" and the magic
constexpr size_t kMap = kImage + 0x42000;
constexpr size_t kSize = kMap + 528 + 6 + 24;

/// Every byte of the info structure has a value of its own; byte 0 of region 0 is programmed if its page is marked. The
/// last pages of both regions hold something, too.
Bytes sample(uint8_t mark_of_page_0) {
    Bytes file(kSize, 0);
    std::fill_n(file.begin() + kImage, 0x42000, uint8_t{0xFF});
    const std::string head = "p\nSVxMega\n";
    std::copy(head.begin(), head.end(), file.begin());
    file[kImage] = 0x00;
    file[kImage + 0x1FE00] = 0x00;
    file[kImage + 0x3FFFF] = 0x00;
    const std::string digits = "123456789";
    std::copy(digits.begin(), digits.end(), file.begin() + kImage + 0x20000);
    file[kMap] = mark_of_page_0;
    for (const size_t page : {255U, 256U, 511U, 512U, 527U}) {
        file[kMap + page] = 0x80;
    }
    std::iota(file.begin() + kMap + 528, file.begin() + kMap + 528 + 6, uint8_t{0xA1});
    std::iota(file.end() - 24, file.end(), uint8_t{1});
    return file;
}

TEST(Inspector, DecodesEveryField) {
    const Inspection found = inspect_update_file(sample(1));
    EXPECT_EQ(found.expected_size, kSize);
    EXPECT_EQ(found.prefix, "p\n");
    ASSERT_TRUE(found.info && found.body);
    const InfoStructure& info = *found.info;
    EXPECT_EQ((std::vector<uint32_t>{info.reserved_0, info.swid_region0, info.swid_region1, info.crc_region0,
                                     info.crc_region1, info.reserved_10, info.region_size, info.page_size,
                                     info.memory_size, info.file_crc}),
              (std::vector<uint32_t>{0x0201, 0x0403, 0x0605, 0x0807, 0x0A09, 0x0C0B, 0x100F0E0D, 0x1211, 0x16151413,
                                     0x1817}));
    EXPECT_EQ(found.body->free_bytes, (std::array<uint8_t, 6>{0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6}));
    EXPECT_EQ(found.body->marked_pages, (std::vector<uint16_t>{0, 255, 256, 511, 512, 527}));
}

// The expected checksums come from a bitwise CRC-16/MODBUS in another language.
TEST(Inspector, AnUnmarkedPageCountsAsErasedAndTheLastOfARegionNever) {
    const Inspection marked = inspect_update_file(sample(1));
    EXPECT_EQ(marked.computed_file_crc, 0x79EC);
    EXPECT_EQ(marked.body->regions[0]->computed_crc, 0x250D);
    EXPECT_EQ(marked.body->regions[1]->computed_crc, 0xEB83);
    const Inspection unmarked = inspect_update_file(sample(0));
    EXPECT_EQ(unmarked.computed_file_crc, 0x8CF0);
    EXPECT_EQ(unmarked.body->regions[0]->computed_crc, 0x1CC1);  // an erased region's
}

TEST(Inspector, TellsOfATruncatedFileWhatIsThere) {
    const Bytes whole = sample(1);
    using Case = std::tuple<size_t, bool, bool, bool>;
    constexpr Case cases[] = {
        {0, false, false, false},        {9, false, false, false},       {10, true, false, false},
        {10 + 23, true, false, false},   {10 + 24, true, false, true},   {kMap, true, false, true},
        {kSize - 25, true, false, true}, {kSize - 24, true, true, true}, {kSize - 1, true, true, true}};
    for (const auto& [size, magic, body, info] : cases) {
        const Inspection found = inspect_update_file(Bytes(whole.begin(), whole.begin() + static_cast<long>(size)));
        EXPECT_EQ(Case(size, found.magic_offset.has_value(), found.body.has_value(), found.info.has_value()),
                  Case(size, magic, body, info));
    }
}

TEST(Inspector, PagesAsRanges) {
    EXPECT_EQ(page_ranges({}), "none");
    EXPECT_EQ(page_ranges({7}), "7");
    EXPECT_EQ(page_ranges({0, 1, 2, 256, 300, 301}), "0-2, 256, 300-301");
    const std::vector<uint16_t> pages = {0, 254, 255, 256, 257, 510, 511, 512, 527};
    EXPECT_EQ(programmed_in(pages, 0), (std::vector<uint16_t>{0, 254}));
    EXPECT_EQ(programmed_in(pages, 1), (std::vector<uint16_t>{256, 257, 510}));
    EXPECT_EQ(never_programmed(pages), (std::vector<uint16_t>{255, 511, 512, 527}));
}

}  // namespace

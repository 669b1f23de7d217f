// SPDX-License-Identifier: MIT
#include "image/comparison.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Pages = std::vector<uint16_t>;

FlashCopy erased(bool is_update_file) {
    FlashCopy copy;
    copy.format = is_update_file ? Format::kUpdateFile : Format::kReadBack;
    copy.memory.assign(0x42000, 0xFF);
    copy.pages.set();
    return copy;
}

void fill(FlashCopy& copy, size_t offset, size_t count, uint8_t byte) {
    std::fill_n(copy.memory.begin() + static_cast<long>(offset), count, byte);
}

TEST(Comparison, TellsUnreadSegmentsFromDifferences) {
    for (const bool a_is_file : {false, true}) {
        FlashCopy a = erased(a_is_file);
        FlashCopy b = erased(false);
        fill(b, 0x1FF, 1, 0x00);      // the last byte of page 0
        fill(b, 0x400, 32, 0x55);     // page 2: the first segment is unread
        fill(b, 0x600, 31, 0x55);     // page 3: one byte of it is there
        fill(b, 0x810, 32, 0x55);     // page 4: no whole segment
        fill(b, 0xA00, 0x200, 0x55);  // page 5: unread but for one segment, which differs
        fill(b, 0xA40, 32, 0x56);
        fill(a, 0xC00, 32, 0x55);  // page 6: both are 0x55
        fill(b, 0xC00, 32, 0x55);
        fill(a, 0xE20, 32, 0x55);    // page 7: only the first is
        fill(b, 0x41FE0, 32, 0x55);  // page 527: the last segment
        const Comparison found = compare_copies(a, b);
        EXPECT_EQ(found.differing, a_is_file ? (Pages{0, 3, 4, 5, 7}) : (Pages{0, 3, 4, 5}));
        EXPECT_EQ(found.unread, a_is_file ? (Pages{2, 5, 527}) : (Pages{2, 5, 6, 7, 527}));
        const Comparison swapped = compare_copies(b, a);
        EXPECT_EQ(swapped.differing, found.differing);
        EXPECT_EQ(swapped.unread, found.unread);
    }
}

TEST(Comparison, UpdateFilesHaveNoUnreadSegments) {
    FlashCopy a = erased(true);
    const FlashCopy b = erased(true);
    EXPECT_EQ(compare_copies(a, b).differing, Pages{});
    fill(a, 0x20000, 32, 0x55);
    EXPECT_EQ(compare_copies(a, b).differing, Pages{256});
    EXPECT_EQ(compare_copies(a, b).unread, Pages{});
}

TEST(Comparison, ComparesThePagesOfBoth) {
    FlashCopy a = erased(true);
    const FlashCopy b = erased(false);
    fill(a, 0, 0x42000, 0x00);
    a.pages.reset();
    a.pages.set(7).set(300);
    EXPECT_EQ(compare_copies(a, b).differing, (Pages{7, 300}));
    EXPECT_EQ(compare_copies(b, a).differing, (Pages{7, 300}));
}

TEST(ProgrammedFlash, HoldsMarkedPagesOfTheRegionsWithoutTheirLast) {
    const std::vector<uint8_t> image(0x42000, 0x11);
    std::vector<uint8_t> page_map(528, 0);
    for (const size_t page : {0U, 254U, 255U, 256U, 510U, 511U, 512U, 527U}) {
        page_map[page] = 0x80;
    }
    std::vector<uint8_t> expected(0x42000, 0xFF);
    for (const size_t offset : {0x00000U, 0x1FC00U, 0x20000U, 0x3FC00U}) {
        std::fill_n(expected.begin() + static_cast<long>(offset), 0x200, uint8_t{0x11});
    }
    EXPECT_EQ(programmed_flash(image.data(), page_map.data()), expected);
}

}  // namespace

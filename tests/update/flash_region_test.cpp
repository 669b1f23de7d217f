// SPDX-License-Identifier: MIT
#include "update/flash_region.h"

#include <numeric>

#include "tests/support/device_test.h"

namespace {

class FlashRegion : public DeviceTest {};

}  // namespace

TEST_F(FlashRegion, PageGoesOutAsSegmentsAndACommit) {
    Bytes data(512);
    std::iota(data.begin(), data.end(), uint8_t{0});
    ASSERT_TRUE(write_page(device, 0x1A2, data.data(), 512)) << last_error();
    ASSERT_EQ(kernel.wire.size(), 34U);
    EXPECT_EQ(
        kernel.wire[30],
        "W 08 80: e0 e1 e2 e3 e4 e5 e6 e7 e8 e9 ea eb ec ed ee ef f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff "
        "a2 01 0f 00 00 42 40");
    // CRC-16/MODBUS of the bytes 00 to ff, twice, is 0xFD70.
    EXPECT_EQ(kernel.wire[32], "W 08 a0: a2 01 00 70 fd 42 41");
    EXPECT_TRUE(std::equal(data.begin(), data.end(), board.flash.memory().begin() + 0x34400));
    EXPECT_EQ(board.violations, Words{});
}

TEST_F(FlashRegion, PageSizesThatFitAndThatDoNot) {
    board.flash.install(1, Bytes{1}, 0x0200);
    board.flash.boot(1);
    const Bytes data(0x2000);
    const std::tuple<uint16_t, const char*, size_t> cases[] = {
        {496, "invalid page size (does not fit segment size)", 0},
        {8192, "invalid page size (too large)", 0},
        {0, "could not write page 001 (read poll error, cmd start a0, size 07, data 01, read size 00, error 80)", 2},
        // The board refuses segment 16; 8160 bytes are 255 of them.
        {8160,
         "could not write segment 0001 10 (read poll error, cmd start 80, size 27, data 00, read size 00, error 80)",
         34}};
    for (const auto& [size, text, transfers] : cases) {
        kernel.wire.clear();
        EXPECT_FALSE(write_page(device, 0x001, data.data(), size));
        EXPECT_EQ(last_error(), text);
        EXPECT_EQ(kernel.wire.size(), transfers);
    }
}

TEST_F(FlashRegion, ProgressTakesAnotherBackspaceAboveTenPercent) {
    device.page_size = 512;
    Bytes buffer(10 * 512);
    const ToolRun run = capture([&] { return read_memory(device, 0, 10, buffer.data(), 10 * 512) ? 1 : 0; });
    EXPECT_EQ(run.out.substr(0, 37), "* 0.0%\b\b\b\b\b* 10.0%\b\b\b\b\b* 20.0%\b\b\b\b\b\b*");
}

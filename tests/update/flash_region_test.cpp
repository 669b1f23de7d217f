// SPDX-License-Identifier: MIT
#include "update/flash_region.h"

#include <numeric>

#include "mcu/identity.h"
#include "tests/support/device_test.h"

namespace {

class FlashRegion : public DeviceTest {};

}  // namespace

TEST_F(FlashRegion, EraseSaysWhichRegionItTakesForTheOtherOne) {
    EXPECT_EQ(capture([&] { return erase_other_region(device) ? 1 : 0; }).out, "erase other region 1\n");
    device.active_region = 7;
    EXPECT_EQ(capture([&] { return erase_other_region(device) ? 1 : 0; }).out, "erase other region 0\n");
    board.add_fault("fail@erase");
    EXPECT_EQ(capture([&] { return erase_other_region(device) ? 1 : 0; }).out, "");
    EXPECT_EQ(device.last_error,
              "could not erase other region (0, read poll error, cmd start a5, size 02, data 42, read size 00, error "
              "80)");
}

TEST_F(FlashRegion, PageGoesOutAsSegmentsAndACommit) {
    std::vector<uint8_t> data(512);
    std::iota(data.begin(), data.end(), uint8_t{0});
    ASSERT_TRUE(write_page(device, 0x101, data.data(), 512)) << device.last_error.c_str();
    ASSERT_EQ(kernel.wire.size(), 34U);
    EXPECT_EQ(
        kernel.wire[30],
        "W 08 80: e0 e1 e2 e3 e4 e5 e6 e7 e8 e9 ea eb ec ed ee ef f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff "
        "01 01 0f 00 00 42 40");
    // CRC-16/MODBUS of the bytes 00 to ff, twice, is 0xFD70.
    EXPECT_EQ(kernel.wire[32], "W 08 a0: 01 01 00 70 fd 42 41");
    EXPECT_TRUE(std::equal(data.begin(), data.end(), board.flash.memory().begin() + 0x20200));
    EXPECT_EQ(board.violations, std::vector<std::string>{});
}

TEST_F(FlashRegion, PageSizesThatFitAndThatDoNot) {
    const std::vector<uint8_t> data(0x2000);
    const struct {
        uint16_t size;
        const char* text;
        size_t transfers;
    } cases[] = {
        {500, "invalid page size (does not fit segment size)", 0},
        {8192, "invalid page size (too large)", 0},
        {0, "could not write page 101 (read poll error, cmd start a0, size 07, data 01, read size 00, error 80)", 2},
        // The board refuses segment 16; 8160 bytes are 255 of them.
        {8160,
         "could not write segment 0101 10 (read poll error, cmd start 80, size 27, data 00, read size 00, error 80)",
         34}};
    for (const auto& c : cases) {
        kernel.wire.clear();
        EXPECT_FALSE(write_page(device, 0x101, data.data(), c.size));
        EXPECT_EQ(device.last_error, c.text);
        EXPECT_EQ(kernel.wire.size(), c.transfers);
    }
    EXPECT_EQ(kernel.wire.front().substr(0, 8), "W 08 80:");
}

TEST_F(FlashRegion, FailedSegmentIsNotCommitted) {
    board.add_fault("nack@7");
    const std::vector<uint8_t> data(512, 0xAA);
    EXPECT_FALSE(write_page(device, 0x101, data.data(), 512));
    EXPECT_EQ(device.last_error, "could not write segment 0101 03 (I2C write error, start 80, size 27)");
    EXPECT_EQ(kernel.wire.size(), 7U);
}

TEST_F(FlashRegion, ReadMemoryNeedsAPageSizeAndABuffer) {
    std::vector<uint8_t> buffer(0x42000, 0x55);
    EXPECT_FALSE(read_memory(device, 0, 528, buffer.data(), 0x42000));
    EXPECT_EQ(device.last_error, "version info not available");
    ASSERT_TRUE(read_version(device, nullptr));
    kernel.wire.clear();
    EXPECT_FALSE(read_memory(device, 0, 528, buffer.data(), 0x41FFF));
    EXPECT_EQ(device.last_error, "buffer too small");
    EXPECT_EQ(kernel.wire.size(), 0U);
    EXPECT_EQ(capture([&] { return read_memory(device, 3, 3, buffer.data(), 0) ? 1 : 0; }).out, " done \n");
    EXPECT_EQ(capture([&] { return read_memory(device, 4, 3, buffer.data(), 0) ? 1 : 0; }).out, " done \n");
}

TEST_F(FlashRegion, ReadMemoryShowsProgressAndKeepsTheFillOfUnreadSegments) {
    ASSERT_TRUE(read_version(device, nullptr));
    kernel.wire.clear();
    board.add_fault("fail@read-segment/1#3");
    std::vector<uint8_t> buffer(10 * 512, 0x55);
    const ToolRun run = capture([&] { return read_memory(device, 0, 10, buffer.data(), 10 * 512) ? 1 : 0; });
    const std::string back5(5, '\b');
    const std::string back6(6, '\b');
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "* 0.0%" + back5 + "* 10.0%" + back5 + "* 20.0%" + back6 + "* 30.0%" + back6 + "* 40.0%" +
                           back6 + "* 50.0%" + back6 + "* 60.0%" + back6 + "* 70.0%" + back6 + "* 80.0%" + back6 +
                           "* 90.0%" + back6 + " done \n");
    EXPECT_EQ(kernel.wire[0], "W 08 a0: 00 00 00 00 00 da 81");
    EXPECT_EQ(kernel.wire[1], "R 08 a6 1");
    EXPECT_EQ(kernel.wire[2], "R 08 80 32");
    std::vector<uint8_t> expected(board.flash.memory().begin(), board.flash.memory().begin() + 10 * 512);
    std::fill_n(expected.begin() + 512 + 64, 32, uint8_t{0x55});
    EXPECT_EQ(buffer, expected);
}

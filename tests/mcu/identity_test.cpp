// SPDX-License-Identifier: MIT
#include "mcu/identity.h"

#include "tests/support/device_test.h"

namespace {

class Identity : public DeviceTest {};

}  // namespace

TEST_F(Identity, DecodesTheVersionBlock) {
    board.scenario.hwid = 2;
    board.scenario.serial = "123A00000000000000000000000000000099";
    board.scenario.production_minutes = 30'000'000;
    McuInfo copy;
    EXPECT_TRUE(read_version(device, &copy));
    EXPECT_EQ(kernel.wire, (Wire{"W 08 a6: 00", "R 08 a6 1", "R 08 80 32", "W 08 a6: 05", "R 08 a6 1", "R 08 80 32"}));
    EXPECT_EQ(copy.hwid, 2);
    EXPECT_EQ(copy.swid, 0x0100);
    EXPECT_EQ(copy.other_swid, 0);
    EXPECT_EQ(copy.active_region, 0);
    EXPECT_STREQ(copy.serial, "123?00000000000000000000000000000099");
    EXPECT_EQ(copy.production_time, 1'800'000'000U);
    EXPECT_EQ(copy.version1_crc_ok, 1);
    EXPECT_EQ(copy.version1[8], 0x12);
    EXPECT_EQ(copy.region_size, 0x20000U);
    EXPECT_EQ(copy.page_size, 0x200);
    EXPECT_EQ(copy.segment_size, 0x20);
    EXPECT_EQ(copy.memory_size, 0x42000U);
}

TEST_F(Identity, PutsTheIdsOfBothRegionsInPlace) {
    board.flash.install(1, std::vector<uint8_t>{1, 2, 3}, 0x0200);
    EXPECT_TRUE(read_version(device, nullptr));
    EXPECT_EQ(device.swid0, 0x0100);
    EXPECT_EQ(device.swid1, 0x0200);
    board.mcu.restart();  // the region enabled last starts
    kernel.now_us += 1'000'000;
    EXPECT_TRUE(read_version(device, nullptr));
    EXPECT_EQ(device.active_region, 1);
    EXPECT_EQ(device.swid, 0x0200);
    EXPECT_EQ(device.other_swid, 0x0100);
    EXPECT_EQ(device.swid0, 0x0100);
    EXPECT_EQ(device.swid1, 0x0200);
}

TEST_F(Identity, SecondVersionBlock) {
    const std::string zeros_30(60, '0');
    const struct {
        std::string block;
        int empty;
        int crc_ok;
        int first_byte;
    } cases[] = {{"empty", 1, 1, 0xFF},
                 {std::string(60, 'f') + "1234", 1, 1, 0xFF},
                 {"none", 1, 1, 0x11},
                 {zeros_30 + "fe4f", 0, 1, 0x00},  // CRC-16/MODBUS of 30 zero bytes is 0x4FFE
                 {zeros_30 + "fe5f", 0, 0, 0x00}};
    for (const auto& c : cases) {
        board.scenario.version2 = c.block;
        device.last_error = "";
        EXPECT_TRUE(read_version(device, nullptr)) << c.block;
        EXPECT_EQ(device.version2_empty, c.empty) << c.block;
        EXPECT_EQ(device.version2_crc_ok, c.crc_ok) << c.block;
        EXPECT_EQ(device.version2[0], c.first_byte) << c.block;
        EXPECT_EQ(device.last_error, c.block == "none"
                                         ? "read poll error, cmd start a6, size 01, data 05, read size 20, "
                                           "error 80"
                                         : "");
    }
}

TEST_F(Identity, UnknownHardwareIdFailsWithEverythingStored) {
    for (const uint16_t hwid : std::initializer_list<uint16_t>{0, 4, 0x0103}) {
        board.scenario.hwid = hwid;
        McuInfo copy;
        EXPECT_FALSE(read_version(device, &copy));
        EXPECT_EQ(device.last_error, "unknown HWID");
        EXPECT_EQ(copy.hwid, hwid);
        EXPECT_EQ(copy.page_size, 0x200);
        EXPECT_EQ(device.swid, 0x0100);
    }
}

TEST_F(Identity, FailedVersionBlockChangesNothing) {
    board.add_fault("fail@read-version");
    EXPECT_FALSE(read_version(device, nullptr));
    EXPECT_EQ(device.last_error,
              "could not read version (read poll error, cmd start a6, size 01, data 00, read size 20, error 80)");
    EXPECT_EQ(device.page_size, 0);
}

TEST_F(Identity, WrongChecksumOfTheVersionBlockIsNoFailure) {
    board.scenario.version_crc_good = false;
    EXPECT_TRUE(read_version(device, nullptr));
    EXPECT_EQ(device.version1_crc_ok, 0);
}

TEST_F(Identity, FlashStatusGivesChecksumsAndChecksTheGeometry) {
    const struct {
        uint32_t region_size;
        uint16_t page_size;
        const char* text;
    } cases[] = {{0x20000, 0x200, ""},
                 {0x10000, 0x200, "invalid region size (hwid vs. read, 0003 20000 10000)"},
                 {0x20000, 0x100, "invalid page size (hwid vs. read, 0003 00200 00100)"}};
    ASSERT_TRUE(read_version(device, nullptr));
    for (const auto& c : cases) {
        board.scenario.reported_region_size = c.region_size;
        board.scenario.reported_page_size = c.page_size;
        device.last_error = "";
        device.crc1 = 0;
        McuInfo copy;
        EXPECT_EQ(read_flash_status(device, &copy), *c.text == '\0');
        EXPECT_EQ(device.last_error, c.text);
        EXPECT_EQ(device.crc1, 0x1CC1);
        EXPECT_EQ(copy.crc1, 0x1CC1);
    }
}

TEST_F(Identity, FlashStatusNeedsTheVersionFirst) {
    EXPECT_FALSE(read_flash_status(device, nullptr));
    EXPECT_EQ(device.last_error, "invalid region size (hwid vs. read, 0000 00000 20000)");
    board.add_fault("nack@4");
    EXPECT_FALSE(read_flash_status(device, nullptr));
    EXPECT_EQ(device.last_error, "could not read status (I2C write error, start a6, size 01)");
}

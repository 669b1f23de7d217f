// SPDX-License-Identifier: MIT
#include "util/crc.h"

#include <gtest/gtest.h>

#include "tests/support/update_file_bytes.h"

namespace {

constexpr uint8_t kDigits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

}  // namespace

TEST(Crc16, KnownValues) {
    EXPECT_EQ(crc16_buffer(0xFFFF, kDigits, sizeof kDigits), 0x4B37);  // the check value of CRC-16/MODBUS
    EXPECT_EQ(textbook_crc16(kDigits), 0x4B37);
    EXPECT_EQ(crc16_buffer(0x1234, kDigits, 0), 0x1234);
    const std::vector<uint8_t> erased(0x1FE00, 0xFF);
    EXPECT_EQ(crc16_buffer(0xFFFF, erased.data(), erased.size()), 0x1CC1);
}

TEST(Crc16, TablesAgreeWithTheTextbookAtEveryLengthAndSplit) {
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 40; ++i) {
        for (size_t split = 0; split <= bytes.size(); ++split) {
            const uint16_t first = crc16_buffer(0xFFFF, bytes.data(), split);
            EXPECT_EQ(crc16_buffer(first, bytes.data() + split, bytes.size() - split), textbook_crc16(bytes));
        }
        bytes.push_back(static_cast<uint8_t>(i * 37 + 200));
    }
}

TEST(Crc8OneWire, KnownValues) {
    const uint8_t message[] = {0x12, 0x34, 0x56, 0x70};
    EXPECT_EQ(crc8_1wire(0xFF, message, 4), 0xB1);
    EXPECT_EQ(crc8_1wire(0x5A, message, 0), 0x5A);
    EXPECT_EQ(crc8_1wire(0x00, kDigits, sizeof kDigits), 0xA1);  // the check value of CRC-8/MAXIM
}

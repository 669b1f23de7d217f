// SPDX-License-Identifier: MIT
#include "mcu/i2c_bus.h"

#include "mcu/charger.h"
#include "tests/support/device_test.h"

namespace {

class Transfers : public DeviceTest {};

}  // namespace

TEST_F(Transfers, PutRegisterAndBytesOnTheWire) {
    const uint8_t bytes[] = {0xAB, 0xCD};
    uint8_t read[3] = {};
    EXPECT_TRUE(i2c_write(bus, 8, 0x60, 2, bytes));
    EXPECT_TRUE(i2c_write(bus, 8, 0x61, 0, nullptr));
    EXPECT_TRUE(i2c_write_byte(bus, 8, 0x62, 0xEF));
    EXPECT_TRUE(i2c_read(bus, 8, 0x60, 3, read));
    EXPECT_FALSE(i2c_read(bus, 0x33, 0x60, 1, read));
    EXPECT_EQ(kernel.wire, (Wire{"W 08 60: ab cd", "W 08 61:", "W 08 62: ef", "R 08 60 3", "R 33 60 1"}));
    EXPECT_EQ(Bytes(read, read + 3), (Bytes{0xAB, 0xCD, 0xEF}));
}

TEST_F(Transfers, SplitLongOnesIntoChunksAtTheSameRegister) {
    Bytes bytes(600);
    Wire chunks;  // direction, length of the last message, its first and its last byte
    kernel.on_bus = [&](std::span<const sim::Message> messages) {
        const sim::Message& last = messages.back();
        if (last.read) {
            std::fill(last.bytes.begin(), last.bytes.end(), static_cast<uint8_t>(chunks.size()));
        }
        chunks.push_back((last.read ? "R " : "W ") + std::to_string(last.bytes.size()) + " " +
                         std::to_string(messages[0].bytes[0]) + " " + std::to_string(last.bytes.back()));
        return true;
    };
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(i + i / 256 * 50);
    }
    EXPECT_TRUE(i2c_write(bus, 8, 0x40, 256, bytes.data()));
    EXPECT_TRUE(i2c_write(bus, 8, 0x40, 257, bytes.data()));
    EXPECT_TRUE(i2c_read(bus, 8, 0x40, 600, bytes.data()));
    // 257: the register and 256 bytes.
    EXPECT_EQ(chunks, (Wire{"W 257 64 255", "W 257 64 255", "W 2 64 50", "R 256 64 3", "R 256 64 4", "R 88 64 5"}));
    EXPECT_EQ((Bytes{bytes[0], bytes[255], bytes[256], bytes[511], bytes[512], bytes[599]}), (Bytes{3, 3, 4, 4, 5, 5}));
}

TEST_F(Transfers, StopAtTheFirstChunkThatFails) {
    board.add_fault("nack@2");
    Bytes bytes(600);
    EXPECT_FALSE(i2c_read(bus, 9, 0, 600, bytes.data()));
    EXPECT_EQ(kernel.wire, (Wire{"R 09 00 256", "R 09 00 256"}));
}

TEST_F(Transfers, OfTheChargerLeaveZerosFromTheFailedOneOn) {
    board.add_fault("nack@2");
    CapRegisters words{1, 2, 3, 4, 5};
    EXPECT_FALSE(read_charger_registers(bus, words));
    EXPECT_EQ(words.cap_vin + words.cap_iin + words.cap_vcap + words.cap_ichg, 0);
}

// SPDX-License-Identifier: MIT
#include "mcu/i2c_bus.h"

#include <gtest/gtest.h>

#include <numeric>

#include "tests/support/fake_kernel.h"

using Wire = std::vector<std::string>;

TEST(OpenBus, OpensTheDeviceFileOfTheNumber) {
    sim::Board board;
    FakeKernel kernel(board);
    kernel.buses = {{1, &board}, {2, &board}, {8, &board}};
    const struct {
        const char* text;
        bool ok;
        int32_t number;
        int32_t fd;
    } cases[] = {{"1", true, 1, 100'001}, {"0x2", true, 2, 100'002}, {"010", true, 8, 100'008},
                 {"1a", false, 5, 55},    {"-1", false, -1, 55},     {"3", false, 3, -1}};
    for (const auto& c : cases) {
        I2cBus bus{5, 55};
        EXPECT_EQ(open_bus(bus, c.text), c.ok) << c.text;
        EXPECT_EQ(bus.bus_number, c.number) << c.text;
        EXPECT_EQ(bus.fd, c.fd) << c.text;
    }
}

TEST(Transfers, MakeNoSystemCallWithoutABus) {
    sim::Board board;
    FakeKernel kernel(board);
    const I2cBus bus;
    uint8_t byte = 0;
    EXPECT_FALSE(i2c_write(bus, 8, 0, 1, &byte));
    EXPECT_FALSE(i2c_read(bus, 8, 0, 1, &byte));
    EXPECT_EQ(kernel.wire, Wire{});
}

TEST(Transfers, PutRegisterAndBytesOnTheWire) {
    sim::Board board;
    FakeKernel kernel(board);
    I2cBus bus;
    open_bus(bus, "0");
    const uint8_t bytes[] = {0xAB, 0xCD};
    uint8_t read[3] = {};
    EXPECT_TRUE(i2c_write(bus, 8, 0x60, 2, bytes));
    EXPECT_TRUE(i2c_write(bus, 8, 0x61, 0, nullptr));
    EXPECT_TRUE(i2c_write_byte(bus, 8, 0x62, 0xEF));
    EXPECT_TRUE(i2c_read(bus, 8, 0x60, 3, read));
    EXPECT_FALSE(i2c_read(bus, 0x33, 0x60, 1, read));
    EXPECT_EQ(kernel.wire, (Wire{"W 08 60: ab cd", "W 08 61:", "W 08 62: ef", "R 08 60 3", "R 33 60 1"}));
    EXPECT_EQ(std::vector<uint8_t>(read, read + 3), (std::vector<uint8_t>{0xAB, 0xCD, 0xEF}));
}

TEST(Transfers, SplitLongOnesIntoChunksAtTheSameRegister) {
    sim::Board board;
    FakeKernel kernel(board);
    I2cBus bus;
    open_bus(bus, "0");
    std::vector<uint8_t> sent(300);
    std::vector<std::pair<size_t, uint8_t>> chunks;  // bytes of each write message, and its first data byte
    board.on_transfer = [&](const sim::Transfer& t) {
        chunks.emplace_back(t.messages.back().bytes.size(), t.messages[0].bytes.back());
    };
    std::iota(sent.begin(), sent.end(), uint8_t{0});
    // Registers of the charger: a write there starts nothing.
    EXPECT_TRUE(i2c_write(bus, 9, 0x40, 256, sent.data()));
    EXPECT_TRUE(i2c_write(bus, 9, 0x40, 257, sent.data()));
    EXPECT_TRUE(i2c_read(bus, 9, 0x40, 300, sent.data()));
    EXPECT_EQ(chunks,
              (std::vector<std::pair<size_t, uint8_t>>{{257, 255}, {257, 255}, {2, 0}, {256, 0x40}, {44, 0x40}}));
}

TEST(Transfers, StopAtTheFirstChunkThatFails) {
    sim::Board board;
    board.add_fault("nack@2");
    FakeKernel kernel(board);
    I2cBus bus;
    open_bus(bus, "0");
    std::vector<uint8_t> bytes(600);
    EXPECT_FALSE(i2c_read(bus, 9, 0, 600, bytes.data()));
    EXPECT_EQ(kernel.wire, (Wire{"R 09 00 256", "R 09 00 256"}));
}

// SPDX-License-Identifier: MIT
#include "ctl/identify.h"

#include <gtest/gtest.h>

#include "mcu/i2c_bus.h"
#include "tests/support/tool_run.h"

namespace {

struct Case {
    Words situation;
    uint8_t address;
    Reason reason;
    const char* text;  ///< a part of it
};

class IdentifyTest : public testing::TestWithParam<Case> {};

TEST_P(IdentifyTest, ReadsOrSaysWhyNot) {
    sim::Board board;
    set_up(board, GetParam().situation);
    FakeKernel kernel(board);
    I2cBus bus;
    ASSERT_TRUE(open_bus(bus, "0"));
    McuDevice device(&bus);
    device.address = GetParam().address;
    device.swid = 0x7777;  // of a time before a reset
    Failure failure;
    EXPECT_EQ(identify(device, failure), GetParam().reason == Reason::kNone);
    EXPECT_EQ(failure.reason, GetParam().reason) << failure.text;
    EXPECT_NE(std::string(failure.text).find(GetParam().text), std::string::npos) << failure.text;
    EXPECT_NE(device.swid, 0x7777);
    EXPECT_EQ(board.violations, Words{});
}

INSTANTIATE_TEST_SUITE_P(
    Ctl, IdentifyTest,
    testing::Values(
        Case{{}, 0x08, Reason::kNone, ""}, Case{{"mcu_address=0x20"}, 0x20, Reason::kNone, ""},
        Case{{"nack@read-versionx2"}, 0x08, Reason::kNone, ""},
        Case{{"fail@read-flash-statusx2"}, 0x08, Reason::kNone, ""},
        Case{{"mcu=off"}, 0x08, Reason::kNoAnswer, "nothing answers at address 0x08 of /dev/i2c-0: No such device"},
        Case{{"mcu=off"}, 0x21, Reason::kNoAnswer, "address 0x21"},
        Case{{"dead@5"}, 0x08, Reason::kNoAnswer, "nothing answers"},
        Case{{}, 0x21, Reason::kWrongAddress, "nothing answers at address 0x21 of /dev/i2c-0; the MCU is at 0x08"},
        Case{{}, 0x09, Reason::kWrongAddress, "another device answers at address 0x09"},
        Case{{"mcu=off"}, 0x09, Reason::kBusyMcu, "address 0x09"},
        Case{{"hang@read-versionx*"}, 0x08, Reason::kBusyMcu, "could not read version (read poll error"},
        Case{{"fail@read-flash-statusx*"}, 0x08, Reason::kBusyMcu, "could not read status (read poll error"},
        Case{{"hwid=7"}, 0x08, Reason::kWrongHardware, "unknown HWID (id 0007)"},
        Case{{"reported_page_size=256"}, 0x08, Reason::kWrongHardware, "invalid page size"}));

}  // namespace

// SPDX-License-Identifier: MIT
#include "mcu/transactions.h"

#include "tests/support/device_test.h"

namespace {

class Transactions : public DeviceTest {};

}  // namespace

TEST_F(Transactions, LastErrorIsCutAt127CharactersAndMayQuoteItself) {
    device.last_error = std::string(200, 'a');
    EXPECT_FALSE(fail(device, "why (%s)", device.last_error.c_str()));
    EXPECT_EQ(last_error(), "why (" + std::string(122, 'a'));
}

// The other frames stand in the tests of what they do.
TEST_F(Transactions, EnableAndDisableOnTheWire) {
    run_frame_command(device, enable_frame(0x0123, 0xBEEF));
    run_frame_command(device, disable_frame());
    const std::string zeros =
        " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
    EXPECT_EQ(kernel.wire,
              (Wire{"W 08 80: 23 01" + zeros + " ef be 42 45", "R 08 a6 1", "W 08 a5: 42 46", "R 08 a6 1"}));
}

TEST_F(Transactions, FrameCommandReportsEveryFailure) {
    const std::string poll_error = "read poll error, cmd start a6, size 01, data 00, read size 20, error ";
    const struct {
        const char* fault;
        std::string text;
        uint8_t status;
        uint64_t slept_ms;
        size_t transfers;
    } cases[] = {{"nack@1", "I2C write error, start a6, size 01", 0x00, 0, 1},
                 {"fail=0x81@read-version", poll_error + "81", 0x81, 0, 3},
                 {"fail=0xbf@read-version", poll_error + "bf", 0xBF, 0, 3},
                 {"hang@read-version", poll_error + "00", 0, 5001, 5002},
                 {"nack@2x*", poll_error + "00", 0, 5001, 5002},
                 {"nack@3", poll_error + "00", 0x00, 0, 3}};
    for (const auto& c : cases) {
        sim::Board faulty;
        faulty.add_fault(c.fault);
        FakeKernel own(faulty);
        const BareFrame frame(FrameCommand::kReadVersion);
        uint8_t response[32] = {0x99};
        uint8_t status = 0x77;
        EXPECT_FALSE(run_frame_command(device, 0xA6, frame.bytes, 1, response, 32, &status)) << c.fault;
        EXPECT_EQ(last_error(), c.text) << c.fault;
        EXPECT_EQ(status, c.status) << c.fault;
        EXPECT_EQ(own.slept_us, c.slept_ms * 1000) << c.fault;
        EXPECT_EQ(own.wire.size(), c.transfers) << c.fault;
        EXPECT_EQ(response[0] == 0x99, std::string(c.fault) == "nack@1") << c.fault;
    }
}

TEST_F(Transactions, RegisterCommandReportsEveryFailure) {
    const std::tuple<const char*, const char*, uint16_t, size_t> cases[] = {
        // The fault; the text, the result and the number of transfers that it leaves.
        {"nack@1", "I2C write error, start 0c, size 02", 0x7777, 1},
        {"nack@2", "I2C write error, start 0e, size 01, cmd 80", 0x7777, 2},
        {"fail@read-powerrail", "read cmd error, cmd 80, start 0e, result 80", 0, 3},
        {"hang@read-powerrail", "read cmd error, cmd 80, start 0e, result 00", 0, 5003},
        {"nack@4", "I2C read error, cmd 80, start 0c, size 02", 0, 4}};
    for (const auto& [fault, text, left, transfers] : cases) {
        sim::Board faulty;
        faulty.add_fault(fault);
        FakeKernel own(faulty);
        uint16_t result = 0x7777;
        EXPECT_FALSE(run_register_command_with_param(device, 1, RegisterCommand::kReadPowerrail, &result)) << fault;
        EXPECT_EQ(last_error(), text);
        EXPECT_EQ(result, left) << fault;
        EXPECT_EQ(own.wire.size(), transfers) << fault;
    }
}

TEST_F(Transactions, PollsUpTo5001TimesWithAMillisecondAfterEachUnfinishedRead) {
    const std::tuple<uint32_t, bool, size_t> cases[] = {
        {1, true, 0}, {2, true, 1}, {5000, true, 4999}, {5001, true, 5000}, {5002, false, 5001}};
    for (const auto& [polls, ok, sleeps] : cases) {
        sim::Board slow;
        slow.scenario.polls = polls;
        FakeKernel own(slow);
        EXPECT_EQ(run_frame_command(device, BareFrame(FrameCommand::kReadVersion)), ok) << polls;
        EXPECT_EQ(own.sleeps_us, std::vector<uint32_t>(sleeps, 1000)) << polls;
        own.sleeps_us.clear();
        EXPECT_EQ(reset_diagnostics(device), ok) << polls;
        EXPECT_EQ(own.sleeps_us, std::vector<uint32_t>(sleeps, 1000)) << polls;
    }
}

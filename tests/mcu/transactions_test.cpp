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

TEST_F(Transactions, FramesOnTheWire) {
    uint8_t data[32];
    for (uint8_t i = 0; i < 32; ++i) {
        data[i] = static_cast<uint8_t>(0xC0 + i);
    }
    const std::string bytes_0_to_31 =
        " c0 c1 c2 c3 c4 c5 c6 c7 c8 c9 ca cb cc cd ce cf d0 d1 d2 d3 d4 d5 d6 d7 d8 d9 da db dc dd de df";
    const std::string zeros_2_to_34 =
        " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
    const std::string pattern =
        " 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 21 22";
    const std::pair<std::function<bool()>, std::string> cases[] = {
        {[&] { return run_frame_command(device, BareFrame(FrameCommand::kReadVersion)); }, "W 08 a6: 00"},
        {[&] { return run_frame_command(device, BareFrame(FrameCommand::kReadFlashStatus)); }, "W 08 a6: 01"},
        {[&] { return run_frame_command(device, BareFrame(FrameCommand::kReadVersion2)); }, "W 08 a6: 05"},
        {[&] { return run_frame_command(device, segment_frame(0x1A2, 7, data)); },
         "W 08 80:" + bytes_0_to_31 + " a2 01 07 00 00 42 40"},
        {[&] { return run_frame_command(device, commit_frame(0x1A2, 0xBEEF)); }, "W 08 a0: a2 01 00 ef be 42 41"},
        {[&] { return run_frame_command(device, erase_frame()); }, "W 08 a5: 42 43"},
        {[&] { return run_frame_command(device, enable_frame(0x0123, 0xBEEF)); },
         "W 08 80: 23 01" + zeros_2_to_34 + " ef be 42 45"},
        {[&] { return run_frame_command(device, disable_frame()); }, "W 08 a5: 42 46"},
        {[&] { return run_frame_command(device, delayed_reset_frame(50)); }, "W 08 80: 32" + pattern + " cd ff 42 48"},
        {[&] { return run_frame_command(device, read_segment_frame(0x20F, 15)); }, "W 08 a0: 0f 02 0f 00 00 da 81"}};
    for (const auto& [send, expected] : cases) {
        kernel.wire.clear();
        send();
        EXPECT_EQ(kernel.wire, (Wire{expected, "R 08 a6 1"}));
    }
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

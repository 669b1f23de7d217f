// SPDX-License-Identifier: MIT
#include "mcu/reset.h"

#include "tests/support/device_test.h"
#include "util/clock.h"

namespace {

/// The request for a delayed reset; the delay and its complement.
std::string delayed(const std::string& delay, const std::string& complement) {
    return "W 08 80: " + delay +
           " 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 21 22 " +
           complement + " ff 42 48";
}

const std::string kRequest = delayed("32", "cd");

/// Unanswered tries, 100 ms and a dot after each; the first dot follows what was printed before.
Wire unanswered(const std::string& frame, int tries, const std::string& before = "") {
    Wire wire;
    for (int i = 1; i <= tries; ++i) {
        wire.insert(wire.end(),
                    {frame, "sleep 100000", "out " + (i == 1 ? before : "") + ".(" + std::to_string(100 * i) + ")"});
    }
    return wire;
}

}  // namespace

TEST(Reset, TransfersPausesAndDots) {
    const Wire poll = {"R 08 a6 1"};
    const Wire settle = {"sleep 10000"};
    const Wire reset_now = {"W 08 a5: 42 47", "sleep 10000"};
    const Wire reachable = {"W 08 a5: 42"};
    const Wire line_end = {"out \n"};
    const struct {
        const char* situation;
        uint8_t delay;  // tenths of a second
        bool sync;
        const char* report;
        Wire wire;
    } cases[] = {{"", 50, false, "MCU will reset in 5.0s", settle + Wire{kRequest} + poll},
                 {"", 0, false, "MCU will reset now", settle + Wire{delayed("00", "ff")} + poll},
                 {"", 255, false, "MCU will reset in 25.5s", settle + Wire{delayed("ff", "00")} + poll},
                 {"", 1, false, "MCU will reset in 0.1s", settle + Wire{delayed("01", "fe")} + poll},
                 {"nack@1x2", 50, false, "MCU will reset in 5.0s",
                  settle + unanswered(kRequest, 2) + Wire{kRequest} + poll + line_end},
                 // A refusal is not repeated.
                 {"nack@1 fail=0x80@reset-delayedx2", 50, false, "MCU has been reset (80)",
                  settle + unanswered(kRequest, 1) + Wire{kRequest} + poll + reachable + reset_now + line_end},
                 {"", 255, true, "MCU has been reset (ff)", settle + reachable + reset_now},
                 {"nack@1x2", 255, true, "MCU has been reset (ff)",
                  settle + unanswered("W 08 a5: 42", 2) + reachable + reset_now + line_end},
                 {"mcu=0", 50, false, "MCU could not be reached within 4.0s - but it may has been reset (00)",
                  settle + unanswered(kRequest, 30) + unanswered("W 08 a5: 42", 10, "\n") + reset_now + line_end}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.situation) + c.report);
        sim::Board board;
        set_up(board, split(c.situation));
        FakeKernel kernel(board);
        kernel.keep_order = true;
        I2cBus bus;
        open_bus(bus, "0");
        McuDevice device(&bus);
        device.reset_delay = c.delay;
        device.reset_now_sync = c.sync ? 1 : 0;
        device.page_size = 0x200;
        EXPECT_EQ(capture([&] { return reset_mcu(device) ? 1 : 0; }).status, 1);
        EXPECT_EQ(std::string(device.last_error.c_str()), c.report);
        EXPECT_EQ(kernel.wire, c.wire);
        EXPECT_EQ(device.page_size, 0);  // what was known of the MCU
        EXPECT_EQ(board.violations, Words{});
    }
}

TEST(Reset, RequestThatNeverFinishesIsMadeFourTimes) {
    const BoardRun run = run_on_board({"hang@reset-delayedx*"}, {"--reset"});
    EXPECT_EQ(run.out, ".(5101).(10202).(15303).(20404)\n");
    EXPECT_EQ(run.err, "info  : MCU has been reset (00)\n");
}

TEST(ElapsedMs, CountsAcrossSeconds) {
    EXPECT_EQ(elapsed_ms({1, 900'000'000}, {2, 100'000'000}), 200U);
    EXPECT_EQ(elapsed_ms({1, 0}, {1, 999'999}), 0U);
    EXPECT_EQ(elapsed_ms({1, 999'999'999}, {2, 0}), 1U);  // cut toward zero: -999 + 1000
    EXPECT_EQ(elapsed_ms({0, 0}, {70'000, 0}), 70'000'000U);
    EXPECT_EQ(elapsed_ms({0, 0}, {100, 5'000'000}), 100'005U);
}

// SPDX-License-Identifier: MIT
#include "mcu/reset.h"

#include "tests/support/device_test.h"

namespace {

class Reset : public DeviceTest {
protected:
    ToolRun reset() {
        return capture([&] { return reset_mcu(device) ? 1 : 0; });
    }

    size_t count(const std::string& line) const {
        return static_cast<size_t>(std::count(kernel.wire.begin(), kernel.wire.end(), line));
    }
};

const std::string kPattern =
    " 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 21 22";

}  // namespace

TEST_F(Reset, AcceptedRequestIsAllThereIs) {
    const struct {
        uint8_t delay;
        std::string frame;
        const char* text;
    } cases[] = {{50, "W 08 80: 32" + kPattern + " cd ff 42 48", "MCU will reset in 5.0s"},
                 {0, "W 08 80: 00" + kPattern + " ff ff 42 48", "MCU will reset now"},
                 {255, "W 08 80: ff" + kPattern + " 00 ff 42 48", "MCU will reset in 25.5s"},
                 {1, "W 08 80: 01" + kPattern + " fe ff 42 48", "MCU will reset in 0.1s"}};
    for (const auto& c : cases) {
        sim::Board fresh;
        FakeKernel own(fresh);
        device.reset_delay = c.delay;
        device.hwid = 3;
        device.page_size = 0x200;
        EXPECT_EQ(reset().out, "");
        EXPECT_EQ(device.last_error, c.text);
        EXPECT_EQ(own.wire, (Wire{c.frame, "R 08 a6 1"}));
        EXPECT_EQ(own.sleeps_us, std::vector<uint32_t>{10'000});
        EXPECT_EQ(device.hwid, 0);
        EXPECT_EQ(device.page_size, 0);
        EXPECT_EQ(fresh.violations, std::vector<std::string>{});
    }
}

TEST_F(Reset, RefusedRequestIsNotRepeated) {
    board.add_fault("fail=0x80@reset-delayed");
    EXPECT_EQ(reset().out, "");
    EXPECT_EQ(device.last_error, "MCU has been reset (80)");
    EXPECT_EQ(kernel.wire.size(), 4U);
    EXPECT_EQ(kernel.wire[2], "W 08 a5: 42");
    EXPECT_EQ(kernel.wire[3], "W 08 a5: 42 47");
    EXPECT_EQ(kernel.sleeps_us, (std::vector<uint32_t>{10'000, 10'000}));
}

TEST_F(Reset, SynchronousResetAsksNoQuestions) {
    device.reset_now_sync = 1;
    device.reset_delay = 255;
    EXPECT_EQ(reset().out, "");
    EXPECT_EQ(device.last_error, "MCU has been reset (ff)");
    EXPECT_EQ(kernel.wire, (Wire{"W 08 a5: 42", "W 08 a5: 42 47"}));
}

TEST_F(Reset, UnansweredRequestIsRepeatedForThreeSeconds) {
    board.scenario.mcu = false;
    const ToolRun run = reset();
    std::string dots;
    for (int ms = 100; ms <= 3000; ms += 100) {
        dots += ".(" + std::to_string(ms) + ")";
    }
    dots += "\n";
    for (int ms = 100; ms <= 1000; ms += 100) {
        dots += ".(" + std::to_string(ms) + ")";
    }
    EXPECT_EQ(run.out, dots + "\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(device.last_error, "MCU could not be reached within 4.0s - but it may has been reset (00)");
    EXPECT_EQ(count("W 08 80: 32" + kPattern + " cd ff 42 48"), 30U);
    EXPECT_EQ(count("W 08 a5: 42"), 10U);
    EXPECT_EQ(count("W 08 a5: 42 47"), 1U);
    EXPECT_EQ(kernel.slept_us, 10'000U + 3'000'000U + 1'000'000U + 10'000U);
}

TEST_F(Reset, RequestThatNeverFinishesIsMadeFourTimes) {
    board.add_fault("hang@reset-delayedx*");
    EXPECT_EQ(reset().out, ".(5101).(10202).(15303).(20404)\n");
    EXPECT_EQ(device.last_error, "MCU has been reset (00)");
}

TEST_F(Reset, LateAnswerEndsTheLine) {
    board.add_fault("nack@1x2");
    EXPECT_EQ(reset().out, ".(100).(200)\n");
    EXPECT_EQ(device.last_error, "MCU will reset in 5.0s");
    board.add_fault("nack@5x2");
    device.reset_now_sync = 1;
    EXPECT_EQ(reset().out, ".(100).(200)\n");
    EXPECT_EQ(device.last_error, "MCU has been reset (ff)");
}

TEST(ElapsedMs, CountsAcrossSeconds) {
    EXPECT_EQ(elapsed_ms({1, 900'000'000}, {2, 100'000'000}), 200U);
    EXPECT_EQ(elapsed_ms({1, 0}, {1, 999'999}), 0U);
    EXPECT_EQ(elapsed_ms({1, 999'999'999}, {2, 0}), 1U);  // cut toward zero: -999 + 1000
    EXPECT_EQ(elapsed_ms({0, 0}, {100, 5'000'000}), 100'005U);
}

// SPDX-License-Identifier: MIT
// Fixtures and checks on the simulated board.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "mcu/i2c_bus.h"
#include "mcu/mcu_device.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/tool_run.h"

using Bytes = std::vector<uint8_t>;
using Wire = std::vector<std::string>;

inline Wire operator+(Wire a, const Wire& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// Hides the template in gtest's printer of containers.
inline std::string joined(const Words& words) {
    std::string text;
    for (const std::string& word : words) {
        text += "'" + word + "' ";
    }
    return text;
}

/// A file of tests/cli/expected.
inline std::string expected_text(const char* name) {
    std::ifstream file(std::string(SV_SOURCE_FOLDER "/tests/cli/expected/") + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A command line, the situation of the board, and what must come of them.
struct Outcome {
    Words words;
    Words situation;
    int status;
    std::string out;
    std::string err;  ///< without the times of the log
    size_t transfers;
};

inline void expect_outcomes(const std::vector<Outcome>& outcomes) {
    for (const Outcome& expected : outcomes) {
        SCOPED_TRACE(joined(expected.words) + "on " + joined(expected.situation));
        const BoardRun run = run_on_board(expected.situation, expected.words);
        EXPECT_EQ(run.status, expected.status);
        EXPECT_EQ(run.out, expected.out);
        EXPECT_EQ(run.err, expected.err);
        EXPECT_EQ(run.wire.size(), expected.transfers);
        EXPECT_EQ(run.violations, Words{});
    }
}

/// A device on a board, for tests below the command line.
class DeviceTest : public testing::Test {
protected:
    DeviceTest() {
        open_bus(bus, "0");
    }

    std::string last_error() const {
        return device.last_error.c_str();
    }

    sim::Board board;
    FakeKernel kernel{board};
    I2cBus bus;
    McuDevice device{&bus};
};

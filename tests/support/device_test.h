// SPDX-License-Identifier: MIT
// A device on the simulated board, for tests below the command line.
#pragma once

#include <gtest/gtest.h>

#include <ostream>

#include "mcu/mcu_device.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/tool_run.h"

using Wire = std::vector<std::string>;

/// For the messages of failed tests.
inline void PrintTo(const ErrorText& text, std::ostream* out) {
    *out << '"' << text.c_str() << '"';
}

class DeviceTest : public testing::Test {
protected:
    DeviceTest() {
        open_bus(bus, "0");
    }

    sim::Board board;
    FakeKernel kernel{board};
    I2cBus bus;
    McuDevice device{&bus};
};

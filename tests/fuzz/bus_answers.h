// SPDX-License-Identifier: MIT
// One run of the tool on a bus whose answers are the input. The fuzz target checks it; tests/matrix prints it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/fuzz/target.h"
#include "tests/support/tool_run.h"

/// The words of the command line, what the run printed, and what the kernel saw of it.
using ShowRun = std::function<void(const std::vector<std::string>&, const ToolRun&, const FakeKernel&)>;

/// Runs the input and aborts when a property is broken. With `show`, the kernel keeps transfers and sleeps.
void run_bus_answers(Input input, const ShowRun& show);

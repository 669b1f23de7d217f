// SPDX-License-Identifier: MIT
// Whole command lines of the tool inside a test.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/fake_kernel.h"

using Words = std::vector<std::string>;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

/// What the tool's own code prints while `body` runs. The body returns the status.
ToolRun capture(const std::function<int()>& body);

/// Runs "sv_updater WORDS…". REQUIRES: a FakeKernel lives.
ToolRun run_tool_words(Words words);

/// Runs "sv_ctl WORDS…" in the same way; see ctl_run.cpp.
ToolRun run_ctl_words(Words words);

/// The JSON value of a key, as it stands.
std::string member(const std::string& json, const std::string& key);

/// The words of a text, which blanks separate.
Words split(const std::string& text);

/// The log on standard error without its times: "info  : text\n".
std::string without_times(const std::string& log);

/// Puts a board into a situation: knobs ("hwid=4", and "marker=0x05") and faults ("fail@erase"), as sv_board takes
/// them. Aborts the program on a mistake.
void set_up(sim::Board& board, const Words& situation);

/// A run of the tool on a new board, and all it did. The log in `err` has no times.
struct BoardRun : ToolRun {
    Words wire;
    std::vector<uint32_t> sleeps_us;
    std::vector<SyslogLine> syslog;
    Words violations;
};

BoardRun run_on_board(const Words& situation, const Words& words);

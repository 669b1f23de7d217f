// SPDX-License-Identifier: MIT
// Whole command lines of the tool inside a test.
#pragma once

#include <string>
#include <vector>

#include "tests/support/fake_kernel.h"

struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

/// What the tool's own code prints while `body` runs.
template <typename Body>
ToolRun capture(Body body);

/// Runs "sv_updater WORDS…". REQUIRES: a FakeKernel lives.
ToolRun run_tool_words(std::vector<std::string> words);

/// The text of a log line of the tool on standard error at the fake kernel's first second, with its line end.
std::string log_line(const std::string& level, const std::string& text);

/// Swaps standard output and standard error for memory while it lives.
class OutputCapture {
public:
    OutputCapture();
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    std::string out();
    std::string err();

private:
    struct Stream {
        char* bytes = nullptr;
        size_t size = 0;
        std::FILE* file = nullptr;
        std::FILE* replaced = nullptr;
    };

    static std::string text(Stream& stream);

    Stream out_;
    Stream err_;
};

template <typename Body>
ToolRun capture(Body body) {
    OutputCapture streams;
    const int status = body();
    return {status, streams.out(), streams.err()};
}

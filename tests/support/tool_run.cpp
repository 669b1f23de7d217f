// SPDX-License-Identifier: MIT
#include "tests/support/tool_run.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <sstream>

#include "cli/commands.h"

namespace {

constexpr size_t kBufferSize = 65536;  // as the tool's own for a pipe

ssize_t write_text(void* cookie, const char* bytes, size_t count) {
    const OwnCalls own;
    static_cast<std::string*>(cookie)->append(bytes, count);
    return static_cast<ssize_t>(count);
}

ssize_t write_output(void* cookie, const char* bytes, size_t count) {
    const OwnCalls own;
    FakeKernel* kernel = FakeKernel::current();
    if (kernel != nullptr && kernel->keep_order) {
        kernel->wire.push_back("out " + std::string(bytes, count));
    }
    return write_text(cookie, bytes, count);
}

/// Swaps a standard stream for memory while it lives.
class Captured {
public:
    Captured(std::FILE*& standard, cookie_write_function_t* write) : standard_(standard), replaced_(standard) {
        standard = fopencookie(&text_, "w", {nullptr, write, nullptr, nullptr});
        std::setvbuf(standard, buffer_.get(), _IOFBF, kBufferSize);
    }
    ~Captured() {
        std::fclose(standard_);
        standard_ = replaced_;
    }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;

    const std::string& text() const {
        std::fflush(standard_);
        return text_;
    }

private:
    std::FILE*& standard_;
    std::FILE* replaced_;
    std::unique_ptr<char[]> buffer_{new char[kBufferSize]};  // not cleared: that would take longer than most runs
    std::string text_;
};

}  // namespace

ToolRun capture(const std::function<int()>& body) {
    const Captured out(stdout, write_output);
    const Captured err(stderr, write_text);
    const int status = body();
    return {status, out.text(), err.text()};
}

ToolRun run_tool_words(Words words) {
    words.insert(words.begin(), "sv_updater");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    return capture([&] { return run_tool(static_cast<int>(words.size()), argv.data()); });
}

Words split(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

std::string without_times(const std::string& log) {
    std::string text;
    for (size_t at = 0; at < log.size();) {
        const size_t end = std::min(log.find('\n', at), log.size() - 1) + 1;
        at += log[at] == '[' ? sizeof "[21:53:20]" : 0;
        text += log.substr(at, end - at);
        at = end;
    }
    return text;
}

void set_up(sim::Board& board, const Words& situation) {
    for (const std::string& word : situation) {
        const size_t equals = word.find('=');
        if (word.find('@') != std::string::npos) {
            board.add_fault(word);
        } else if (word.rfind("marker=", 0) == 0) {
            board.mcu.set_marker(static_cast<uint8_t>(std::stoul(word.substr(equals + 1), nullptr, 0)));
        } else if (equals == std::string::npos ||
                   !sim::set_knob(board.scenario, word.substr(0, equals), word.substr(equals + 1)).empty()) {
            std::fprintf(stderr, "no such situation: %s\n", word.c_str());
            std::abort();
        }
    }
}

BoardRun run_on_board(const Words& situation, const Words& words) {
    sim::Board board;
    FakeKernel kernel(board);
    set_up(board, situation);
    ToolRun run = run_tool_words(words);
    run.err = without_times(run.err);
    return {std::move(run), kernel.wire, kernel.sleeps_us, kernel.syslog, board.violations};
}

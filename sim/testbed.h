// SPDX-License-Identifier: MIT
// The board as files of a host: /dev/i2c-N and what else the tool looks at, for unmodified programs.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim/board.h"

namespace sim {

struct TestbedOptions {
    int bus = 0;
    bool fast = false;
    std::string syslog_path;       ///< empty: the lines are not shown
    uint64_t clock_offset_us = 0;  ///< how far the board's clock is ahead of the host's
    std::string preload_path;      ///< sv_board_preload.so
};

class Testbed {
public:
    Testbed(Board& board, TestbedOptions options);
    ~Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;

    /// Empty, or what went wrong while it was set up.
    const std::string& problem() const {
        return problem_;
    }

    /// Runs the program with the board in its view of the system, and waits for its end. Returns its exit status, 128
    /// and its signal, or 127 when there is no such program.
    int run(const std::vector<std::string>& command);

    /// Ends this process, and removes the files. What the program has left behind may be at the bus in that moment, in
    /// a thread of libumockdev's that nobody can wait for. REQUIRES: the mutex is held, so that it does no more
    /// transfers.
    [[noreturn]] void leave(int status);

    /// How far the board's clock is ahead of the host's by now.
    uint64_t clock_offset_us() const;

    /// The board's time.
    uint64_t now_us() const;

    /// Serialises the bus with whoever looks at the board.
    std::mutex& mutex() {
        return mutex_;
    }

private:
    struct Parts;
    void set_up();
    void add_bus();
    void add_host_files();
    void add_clock();

    Board& board_;
    TestbedOptions options_;
    std::string problem_;
    std::string missing_;
    std::mutex mutex_;
    std::unique_ptr<Parts> parts_;
};

/// The board's time for a given offset.
uint64_t board_time_us(uint64_t offset_us);

}  // namespace sim

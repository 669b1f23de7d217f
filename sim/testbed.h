// SPDX-License-Identifier: MIT
// Presents the board to unmodified programs as files: /dev/i2c-N and the host files that the tool reads.
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
    bool fast = false;             ///< skip sleeps
    std::string syslog_path;       ///< for system-log lines; empty: they are dropped
    uint64_t clock_offset_us = 0;  ///< how far the board's clock is ahead of the host's
    std::string preload_path;      ///< of sv_board_preload.so
};

class Testbed {
public:
    Testbed(Board& board, TestbedOptions options);
    ~Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;

    /// Empty, or why the setup or the start of the program failed.
    const std::string& problem() const {
        return problem_;
    }

    /// Runs the program on the board, and waits for its end. Returns its exit status, 128 + the signal that killed it,
    /// or 127 when it could not be started.
    int run(const std::vector<std::string>& command);

    /// Removes the files and exits. Does not return, because a child that the program left running may still use the
    /// bus, in a thread of libumockdev that cannot be joined. REQUIRES: the mutex is held, which stops that thread's
    /// transfers.
    [[noreturn]] void leave(int status);

    /// How far the board's clock is ahead of the host's now.
    uint64_t clock_offset_us() const;

    /// The board's time, in microseconds.
    uint64_t now_us() const;

    /// Held during each transfer. Lock it to read the board while a program runs.
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

/// The board's time, in microseconds, when its clock is ahead of the host's by this offset.
uint64_t board_time_us(uint64_t offset_us);

}  // namespace sim

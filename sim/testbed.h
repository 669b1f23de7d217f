// SPDX-License-Identifier: MIT
// Presents the board to unmodified programs as files: /dev/i2c-N and the host files that the tool reads.
#pragma once

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "sim/board.h"
#include "sim/scratch_folder.h"
#include "sim/shared_board.h"

namespace sim {

struct TestbedOptions {
    int bus = 0;
    bool fast = false;         ///< skip sleeps
    std::string syslog_path;   ///< for system-log lines; empty: they are dropped
    std::string preload_path;  ///< of sv_board_preload.so
};

class Testbed {
public:
    /// From here on, signals that would end this process wait until run() passes them on.
    /// REQUIRES: this process has one thread.
    Testbed(Board& board, SharedBoard& shared, SavedClock& clock, ScratchFolder& folder, TestbedOptions options);
    ~Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;

    /// Empty, or why the setup or the start of the program failed.
    const std::string& problem() const {
        return problem_;
    }

    /// Runs the program on the board, passes signals on to it, and waits for its end. Returns its exit status, 128 +
    /// the signal that killed it, or 127 when it could not be started.
    int run(const std::vector<std::string>& command);

    /// Removes the files and exits. Does not return, because a child that the program left running may still use the
    /// bus, in a thread of libumockdev that cannot be joined. REQUIRES: the shared board is locked, which stops that
    /// thread's transfers.
    [[noreturn]] void leave(int status);

    /// Adds the sleeps that were skipped to the board's clock. REQUIRES: the shared board is locked.
    void advance_clock();

private:
    struct Parts;
    void set_up();
    void add_bus();
    void add_host_files();
    void add_clock();

    Board& board_;
    SharedBoard& shared_;
    SavedClock& clock_;
    ScratchFolder& folder_;
    TestbedOptions options_;
    std::string problem_;
    std::string missing_;
    sigset_t held_;
    sigset_t program_mask_;
    uint64_t skipped_us_ = 0;  ///< of which the board's clock knows
    std::unique_ptr<Parts> parts_;
};

}  // namespace sim

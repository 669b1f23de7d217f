// SPDX-License-Identifier: MIT
// What must hold at every moment of `sv_ctl update`, whatever happens to it. The board judges, not the program.
#pragma once

#include <string>
#include <vector>

#include "tests/sweep/watcher.h"

namespace sweep {

/// How sv_ctl finds the board.
struct Beginning {
    bool could_start;  ///< the next start would find a region
    Window window;     ///< that this state leads through, if any
};

Beginning find_beginning(const sim::Board& board);

class CtlJudge final : public Watcher {
public:
    CtlJudge(sim::Board& board, const Setup& setup, const Beginning& beginning)
        : Watcher(board, setup), beginning_(beginning) {}

    /// The answer to the Nth command, if it is a success, becomes a failure on its way to the host.
    void deny(uint64_t command) {
        denied_ = command;
    }

    /// Runs these words, and compares the status with the flash.
    Run run(const std::vector<std::string>& words);

    /// The same undisturbed: it must end with the file running.
    void run_undisturbed(const std::vector<std::string>& words);

    /// What is to be done after this run: what it advises, or the same again.
    std::vector<std::string> next_words(const Run& run);

    /// Which region would start now.
    void check_now();

    /// How a further run begins.
    const Beginning& beginning() const {
        return beginning_;
    }

private:
    void watch(const sim::Transfer& transfer) override;
    void check_status(const Run& run, const std::string& content_before);
    bool is_lost() const;
    bool file_runs() const;

    Beginning beginning_;
    uint64_t denied_ = 0;
    uint64_t commands_ = 0;
    uint64_t changes_ = 0;  // frames sent by this process
};

}  // namespace sweep

// SPDX-License-Identifier: MIT
// What must hold at every moment of an update, whatever happens to it. The board judges, not the tool.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mcu/registers.h"
#include "tests/sweep/watcher.h"

namespace sweep {

/// What a run through the faults may need at most.
struct Limits {
    uint64_t attempts;      ///< complete ones
    uint64_t timeouts;      ///< commands polled in vain
    uint64_t page_retries;  ///< each after a pause
};

class Judge final : public Watcher {
public:
    Judge(sim::Board& board, const Setup& setup) : Watcher(board, setup) {}

    /// A process of the tool starts.
    void begin_run();

    /// Checks which region would start now, and that the running one is complete.
    void check_now();

    /// After a run that may have failed: its verdict, then the board once it has settled. `transfers` are those of an
    /// undisturbed run.
    void end_run(const Run& run, const Limits& limits, uint64_t transfers);

    /// After an undisturbed run: it must have succeeded with `transfers` transfers, and its firmware must run.
    void end_undisturbed_run(const Run& run, uint64_t transfers);

    /// No region will ever start again: a further run is pointless.
    bool is_lost() const;

private:
    void watch(const sim::Transfer& transfer) override;
    void watch_answers(const sim::Transfer& transfer);
    void check_power_cycle();
    void check_violations();
    void check_verdict(const Run& run, const std::vector<std::string>& flags);
    void check_new_firmware(const std::vector<std::string>& flags);
    bool is_complete(int region);
    Window open_window() const;
    Window why_old_firmware() const;
    Window when_misled() const;
    bool happened(sim::RegionEvent::Kind kind) const;  // in the latest attempt

    size_t run_begin_ = 0;  // index in the board's history, as attempt_begin_
    size_t attempt_begin_ = 0;
    int attempt_running_ = 0;
    // What the tool can know: whether it has read a success after the latest frame of that command in this run.
    FrameCommand frame_ = FrameCommand::kReadVersion;
    bool disable_answered_ = true;
    bool reset_answered_ = false;
    bool reset_now_sent_ = false;
    bool false_success_ = false;
    size_t seen_violations_ = 0;
    bool complete_[2] = {};
    uint64_t complete_writes_[2] = {UINT64_MAX, UINT64_MAX};
};

}  // namespace sweep

// SPDX-License-Identifier: MIT
// What must hold at every moment of an update, whatever happens to it. The board judges, not the tool.
#pragma once

#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "mcu/registers.h"
#include "sim/board.h"
#include "tests/sweep/setup.h"

namespace sweep {

/// The windows that the procedure leaves open, as docs/safety.md describes them.
enum class Window {
    kNone,
    kLostAnswer,       ///< the answer to a disable is lost, and the next attempt erases
    kBeforeRestart,    ///< another update before the MCU has restarted
    kRestartBetween,   ///< the MCU restarts between enable and disable
    kRegionsSwitched,  ///< the MCU restarts into its other enabled region during an update
    kResetLost,        ///< the new firmware is ready, and the MCU has not restarted
    kFalseSuccess,     ///< the MCU restarts while its status is read, and the bus reads as success
    // How sv_ctl may find a board.
    kUnstartableBefore,  ///< no region could start: neither is enabled
    kOverwritten,        ///< no region could start: two programs wrote at once into what one of them then enabled
    kIdZero,             ///< the only region that can start is the other one, and its software id is 0
};

inline constexpr const char* kWindowNames[] = {
    "",           "answer-lost",   "before-restart",     "restart-between", "regions-switched",
    "reset-lost", "false-success", "unstartable-before", "overwritten",     "id-zero"};
inline constexpr size_t kWindows = std::size(kWindowNames);

/// What a run through the faults may need at most.
struct Limits {
    uint64_t attempts;      ///< complete ones
    uint64_t timeouts;      ///< commands polled in vain
    uint64_t page_retries;  ///< each after a pause
};

class Judge {
public:
    /// Watches the board while it exists.
    Judge(sim::Board& board, const Setup& setup);
    ~Judge();
    Judge(const Judge&) = delete;
    Judge& operator=(const Judge&) = delete;

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

    Window window() const {
        return window_;
    }

    /// Empty: every rule held, or was broken only as the window explains.
    const std::string& failure() const {
        return failure_;
    }

private:
    void watch(const sim::Transfer& transfer);
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
    void fail(const std::string& text);
    void excuse(Window window, const std::string& text);

    sim::Board& board_;
    const Setup& setup_;
    const Material& material_;
    size_t run_begin_ = 0;  // index in the board's history, as attempt_begin_
    size_t attempt_begin_ = 0;
    int attempt_running_ = 0;
    // What the tool can know: whether it has read a success after the latest frame of that command in this run.
    FrameCommand frame_ = FrameCommand::kReadVersion;
    bool disable_answered_ = true;
    bool reset_answered_ = false;
    bool reset_now_sent_ = false;
    bool false_success_ = false;
    size_t seen_history_ = 0;
    uint64_t seen_writes_[2];
    size_t seen_violations_ = 0;
    bool complete_[2] = {};
    uint64_t complete_writes_[2] = {UINT64_MAX, UINT64_MAX};
    Window window_ = Window::kNone;
    std::string failure_;
};

}  // namespace sweep

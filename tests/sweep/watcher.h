// SPDX-License-Identifier: MIT
// What both judges have: an eye on the board, and the verdict so far.
#pragma once

#include <iterator>
#include <string>

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

/// Watches the board while it exists.
class Watcher {
public:
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    Window window() const {
        return window_;
    }

    /// Empty: every rule held, or was broken only as the window explains.
    const std::string& failure() const {
        return failure_;
    }

protected:
    Watcher(sim::Board& board, const Setup& setup);
    virtual ~Watcher();

    /// After each transfer.
    virtual void watch(const sim::Transfer& transfer) = 0;

    /// Since the last call: whether each region was written, and whether anything changed.
    struct Changes {
        bool written[2];
        bool any;
    };
    Changes find_changes();

    void fail(const std::string& text);

    /// A broken rule that the window explains; kNone: it does not.
    void excuse(Window window, const std::string& text);

    sim::Board& board_;
    const Setup& setup_;
    const Material& material_;

private:
    size_t seen_history_;
    uint64_t seen_writes_[2];
    Window window_ = Window::kNone;  // the first one leads to the others
    std::string failure_;
};

}  // namespace sweep

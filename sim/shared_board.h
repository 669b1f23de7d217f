// SPDX-License-Identifier: MIT
// Several runs on one state file share the board: flash, MCU, kept knobs and the board's clock lie in a mapped file
// beside it, FILE.shared, which exists while a run uses it. Presets, other knobs and faults belong to each run.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "sim/board.h"
#include "sim/state_file.h"

namespace sim {

/// Locked during each transfer, against the threads of this process and against other runs. Without a state file only
/// against the threads.
class SharedBoard {
public:
    SharedBoard(Board& board, SavedClock& clock);
    ~SharedBoard();
    SharedBoard(const SharedBoard&) = delete;
    SharedBoard& operator=(const SharedBoard&) = delete;

    /// Locks, and loads the board, if `path` is not empty: from the other runs or, when there are none, from the file.
    /// A file that does not exist leaves the board as it is, and `known` false. Returns an empty text, or what went
    /// wrong. From here to leave() or the destructor, nobody else gives up or creates the board.
    std::string join(const std::string& path, bool& known);

    /// Brings board and clock up to date with what other runs did.
    void lock();

    /// Hands board and clock over to the other runs.
    void unlock();

    /// Brings the board to this moment, and writes the state file. Does nothing without one. Returns an empty text, or
    /// what went wrong. REQUIRES: it is locked.
    std::string save();

    /// Leaves the board to the other runs. It remains locked against the threads of this process.
    void leave();

private:
    struct Slot;
    struct Area;
    std::string open_area(bool& alone);
    void take_over();
    void publish();

    Board& board_;
    SavedClock& clock_;
    std::string path_;
    std::mutex mutex_;
    int fd_ = -1;
    Area* area_ = nullptr;
    std::unique_ptr<Slot> slot_;  ///< what was taken over or published last
    uint64_t generation_ = UINT64_MAX;
    uint64_t flash_writes_ = UINT64_MAX;
    Scenario scenario_;  ///< when its kept knobs were last written as text
};

}  // namespace sim

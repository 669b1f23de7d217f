// SPDX-License-Identifier: MIT
// Where a point of the sweep begins: a board, an update file, and the words of the command line.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/board.h"
#include "sim/command_names.h"

namespace sweep {

enum class Pages {
    kAll,     ///< all 255 of both regions, and some that are never programmed
    kThree,   ///< the first three
    kEighth,  ///< every eighth
    kEdges,   ///< the first and the last
    kNone,
};

enum class Start {
    kUsual,        ///< one region runs; the other one holds older firmware and is disabled
    kBothEnabled,  ///< the other one is enabled, too
    kUpdated,      ///< an update is done, and the MCU has not restarted yet
    kUpToDate,     ///< the file's firmware runs already
    kRebootOnly,   ///< what runs has no software id, and the other region holds the file's firmware, enabled
};

struct Setup {
    int running = 0;
    Pages pages = Pages::kAll;
    const char* boot_choice = "latest";
    uint32_t boot_ms = 5;
    Start start = Start::kUsual;
    std::vector<std::string> flags;  ///< commands before --update
};

/// For reports: "region 0 runs, all pages, …".
std::string describe(const Setup& setup);

/// What an undisturbed update consists of.
struct Counts {
    uint64_t transfers = 0;
    uint64_t commands = 0;
    uint64_t frames = 0;
    uint64_t changes = 0;  ///< frames from the erase to the reset
};

struct Material {
    std::string path;                 ///< of the update file
    std::vector<uint8_t> regions[2];  ///< what each region holds once the file has been programmed
};

/// Made at the first call for these pages. The files go with the process that made them.
const Material& material(Pages pages);

/// Of an update from this start with these pages and flags.
const Counts& counts(const Setup& setup);

/// What a region holds before the update.
const std::vector<uint8_t>& old_firmware(int region);

/// A new board in this setup.
std::unique_ptr<sim::Board> make_board(const Setup& setup);

struct Run {
    int status = 0;
    std::string verdict;  ///< the last line in the system log
    uint64_t transfers = 0;
    uint64_t slept_us = 0;
};

/// One process of the tool, on a bus of 400 kHz.
Run run_update(sim::Board& board, const std::vector<std::string>& flags, Pages pages);

/// The form of the frame that a transfer writes; null when it writes none.
const sim::FrameForm* frame_of(const sim::Transfer& transfer);

/// The board after a minute, without faults.
void settle(sim::Board& board);

}  // namespace sweep

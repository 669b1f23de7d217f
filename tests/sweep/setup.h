// SPDX-License-Identifier: MIT
// The start of each point of the sweep: a board, an update file, and the words of the command line.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/board.h"
#include "sim/frame_table.h"

namespace sweep {

enum class Start {
    kUsual,        ///< one region runs; the other one holds older firmware and is disabled
    kBothEnabled,  ///< the other region is enabled, too
    kUpdated,      ///< an update is done, and the MCU has not restarted yet
    kUpToDate,     ///< the file's firmware runs already
    kRebootOnly,   ///< the running firmware has no software id; the other region holds the file's firmware, enabled
};

struct Setup {
    std::string text;  ///< what parse_setup made it from
    int running = 0;
    /// Marked in the file: "all" 255 of both regions and some that are never programmed, the first "three", every
    /// "eighth", the first and the last ("edges"), or "none". Two more for reached_states(): "other" marks the first,
    /// which is the same in "three", and the fourth; "zero" is "other" with software id 0.
    std::string pages = "all";
    std::string boot_choice = "latest";
    uint32_t boot_ms = 5;
    Start start = Start::kUsual;
    std::vector<std::string> flags;  ///< commands before --update
    bool ctl = false;                ///< `sv_ctl update` in place of sv_updater
    int state = -1;                  ///< the board begins in this one of reached_states()
};

/// From words like "runs=1 boots=0 pages=three start=updated boot_ms=0 --update-without-reset"
/// or "sv_ctl state=7 boots=0 pages=other". Throws on any other.
Setup parse_setup(const std::string& text);

/// An undisturbed update in numbers.
struct Counts {
    uint64_t transfers = 0;
    uint64_t commands = 0;
    uint64_t frames = 0;
    uint64_t changes = 0;  ///< frames from the erase to the reset
};

struct Material {
    std::string file;  ///< the bytes of the update file
    uint16_t swid = 0;
    std::vector<uint8_t> regions[2];  ///< what each region holds once the file has been programmed
};

/// Made at the first call with these pages.
const Material& material(const std::string& pages);

/// Of an update in this setup.
const Counts& counts(const Setup& setup);

/// What a region holds before the update.
const std::vector<uint8_t>& old_firmware(int region);

/// A new board in this setup.
std::unique_ptr<sim::Board> make_board(const Setup& setup);

/// Of a setup that names no state.
std::unique_ptr<sim::Board> make_start(const Setup& setup);

struct Run {
    int status = 0;
    std::string verdict;  ///< the last line in the system log
    std::string out;      ///< of sv_ctl
    uint64_t transfers = 0;
    uint64_t slept_us = 0;
};

/// One process of "sv_updater WORDS" or "sv_ctl WORDS", on a bus of 400 kHz. A word that names the pages of a file
/// stands for this file.
Run run_words(sim::Board& board, std::vector<std::string> words);

/// `sv_ctl update --json` with the file of the setup.
std::vector<std::string> ctl_words(const Setup& setup);

/// The update that the setup describes, by either program.
Run run_setup(sim::Board& board, const Setup& setup);

/// The same with the words for an update.
Run run_update(sim::Board& board, const std::vector<std::string>& flags, const std::string& pages);

/// The form of the frame that a transfer writes; null when it writes none.
const sim::FrameForm* frame_of(const sim::Transfer& transfer);

/// Whether the region holds these bytes.
bool holds(const sim::Board& board, int region, const std::vector<uint8_t>& expected);

/// Clears all faults and lets a minute pass.
void settle(sim::Board& board);

}  // namespace sweep

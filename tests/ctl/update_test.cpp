// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "mcu/flash_geometry.h"
#include "tests/support/tool_run.h"
#include "tests/support/update_file_bytes.h"

namespace {

constexpr const char* kFile = "new.svu";
UpdateFileBytes make_file() {
    UpdateFileBytes file;
    file.fill_pages({0, 1, 256, 257});
    return file;
}

/// A board, a file, and one call after the other.
struct Trial {
    sim::Board board;
    FakeKernel kernel{board};
    UpdateFileBytes file = make_file();

    Trial() {
        kernel.keep_wire = false;
    }

    void save() {
        const std::vector<uint8_t> bytes = file.bytes();
        kernel.files[kFile].assign(bytes.begin(), bytes.end());
    }

    ToolRun update(Words options = {}) {
        save();
        Words words = {"update", "--json", kFile};
        words.insert(words.end(), options.begin(), options.end());
        return run_ctl_words(words);
    }

    bool holds_file(int region) const {
        const std::vector<uint8_t> wanted = file.programmed(region);
        return std::equal(wanted.begin(), wanted.end(), board.flash.memory().begin() + region * ptrdiff_t{kRegionSize});
    }
};

struct Case {
    const char* name;
    const char* situation;  ///< of the board
    const char* options;
    const char* end;  ///< status, reason, row, next_start and resets in the JSON
    void (*prepare)(Trial& trial) = [](Trial&) {};
};

/// The file's program in a region; without an id, as before the enable.
void install(Trial& trial, int region, uint16_t swid, bool enabled) {
    trial.board.flash.install(region, trial.file.programmed(region), swid);
    trial.board.flash.regions[static_cast<size_t>(region)].enabled = enabled;
    trial.board.flash.latest = 0;
}

void older_beside(Trial& trial) {
    trial.board.flash.regions[1].swid = 0x0100;
}
void runs(Trial& trial) {
    install(trial, 0, 0x0123, true);
}
void runs_beside_older(Trial& trial) {
    runs(trial);
    older_beside(trial);
}
void no_program(Trial& trial) {
    trial.file.image[kRegionSize + 1] = 0x00;
}

const Case kCases[] = {
    {"a first update", "", "", "0 null blank same 1"},
    {"the same without reading back", "", "--no-verify", "0 null blank same 1"},
    {"checked only", "", "--check", "0 null blank null 0"},
    {"it runs already", "", "", "3 null runs-alone same 0", runs},
    {"it runs, and another one may start", "", "", "3 null runs unknown 0", runs_beside_older},
    {"that must be proved", "", "--sure", "3 null runs same 1", runs_beside_older},
    {"it runs disabled: only --sure repairs it", "", "--sure", "0 null runs-alone same 1",
     [](Trial& trial) { install(trial, 0, 0x0123, false); }},
    {"the other region holds it, enabled", "", "", "0 null held unknown 1",
     [](Trial& trial) {
         install(trial, 1, 0x0123, true);
         trial.board.flash.regions[0].enabled = false;
     }},
    {"the other region holds it, disabled", "", "", "0 null held same 2",
     [](Trial& trial) { install(trial, 1, 0x0123, false); }},
    {"programmed and never enabled", "", "", "0 null never-enabled same 1",
     [](Trial& trial) { install(trial, 1, 0, false); }},
    {"over an older firmware", "", "", "0 null former same 2", older_beside},
    {"a page that is lost unnoticed", "skip@commit/256", "", "0 null blank same 1"},
    {"a page that is lost each time", "skip@commit/256x*", "", "6 verify-failed blank null 0"},
    {"nothing is written any more", "fail@commit/257x*", "", "6 write-failed blank null 0"},
    {"the same, the old one seen to start", "fail@commit/257x*", "", "5 write-failed former null 1", older_beside},
    {"no reset happens", "skip@reset-delayedx*", "", "6 reset-not-seen former null 0", older_beside},
    {"one reset is lost", "skip@reset-delayed", "", "0 null blank same 1"},
    {"disabled, and never says so", "lost@disablex*", "", "0 null former unknown 2", older_beside},
    {"the old one disabled, a restart before the disable", "restart@reg-0f#3 boot_ms=0", "", "0 null blank unknown 0",
     [](Trial& trial) { trial.board.flash.regions[0].enabled = false; }},
    {"the enable is lost", "skip@enablex*", "", "6 enable-failed blank null 0"},
    {"the enable is refused", "fail@enablex*", "", "6 enable-failed blank null 0"},
    {"no MCU", "mcu=off", "", "4 no-answer null null 0"},
    {"an MCU that is never done", "hang@read-versionx*", "", "4 busy-mcu null null 0"},
    {"unknown hardware", "hwid=4", "", "4 wrong-hardware null null 0"},
    {"no power", "source=0 teko1_connected=0", "", "4 no-power blank null 0"},
    {"no power, and who cares", "source=0 teko1_connected=0", "--any-power", "0 null blank same 1"},
    {"another bus", "", "--bus 3", "4 no-bus null null 0"},
    {"a broken file", "", "", "4 bad-file null null 0", [](Trial& trial) { trial.file.crc_error = 1; }},
    {"software id 0", "", "", "4 bad-file null null 0", [](Trial& trial) { trial.file.swid0 = trial.file.swid1 = 0; }},
    {"another SHA-256", "", "", "4 bad-file null null 0", [](Trial& trial) { trial.file.prefix = "sha256: 00\n"; }},
    {"for other hardware", "", "", "4 wrong-hardware blank null 0",
     [](Trial& trial) { trial.file.prefix = "hwid: 0001 0003x -fffffffffffffffd\n"; }},
    {"for this hardware", "", "", "0 null blank same 1", [](Trial& trial) { trial.file.prefix = "hwid: 0001 0003\n"; }},
    {"no program", "", "", "4 bad-file blank null 0", no_program},
    {"a program cut off", "", "", "4 bad-file blank null 0",
     [](Trial& trial) { std::fill_n(&trial.file.image[kRegionSize + 0x1F4], 2, uint8_t{0xFF}); }},
    {"a jump to page 288, which is not marked", "", "", "4 bad-file blank null 0",
     [](Trial& trial) { trial.file.image[kRegionSize + 3] = 0x20; }},
    {"no program, and meant so", "", "--any-content", "0 null blank same 1", no_program},
};

TEST(CtlUpdate, EachEndHasItsStatusReasonAndRow) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        Trial trial;
        set_up(trial.board, split(c.situation));
        c.prepare(trial);
        trial.board.flash.history.clear();
        const uint64_t writes = trial.board.flash.writes(1);
        const ToolRun run = trial.update(split(c.options));
        std::string end;
        for (const char* key : {"exit", "reason", "row", "next_start", "resets"}) {
            end += (end.empty() ? "" : " ") + member(run.out, key);
        }
        std::erase(end, '"');
        EXPECT_EQ(end, c.end);
        EXPECT_EQ(member(run.out, "exit"), std::to_string(run.status));
        EXPECT_EQ(trial.board.violations, Words{});
        if (run.status == 0 && std::string(c.options) != "--check") {
            EXPECT_TRUE(trial.holds_file(trial.board.flash.running()));
        } else if (run.status <= 4 && end.ends_with(" 0")) {
            EXPECT_TRUE(trial.board.flash.history.empty());
            EXPECT_EQ(trial.board.flash.writes(1), writes);
        }
        if (end.find(" held ") != std::string::npos || end.find(" never-enabled ") != std::string::npos) {
            EXPECT_EQ(trial.board.flash.writes(1), writes);  // nothing is programmed again
        }
    }
}

/// The other region is the only one that can start, and once its id is read as 0.
TEST(CtlUpdate, AnIdThatIsMisreadOnceErasesNothing) {
    Trial trial;
    trial.board.flash.install(1, std::vector<uint8_t>(kRegionSize / 2, 0x55), 0x0100);
    trial.board.flash.regions[0].enabled = false;
    int identities = 0;
    trial.board.on_transfer = [&](const sim::Transfer& transfer) {
        const bool is_identity = transfer.messages.size() == 2 && transfer.messages[1].bytes.size() == 32;
        if (is_identity && ++identities == 1) {
            transfer.messages[1].bytes[4] = transfer.messages[1].bytes[5] = 0;
        }
    };
    EXPECT_EQ(trial.update().status, 0);
    ASSERT_FALSE(trial.board.flash.history.empty());
    EXPECT_EQ(trial.board.flash.history[0], (sim::RegionEvent{sim::RegionEvent::kStarted, 1}));
}

/// The path leads to another file as soon as the bus is used.
TEST(CtlUpdate, WhatWasCheckedIsProgrammed) {
    Trial trial;
    trial.board.on_transfer = [&](const sim::Transfer&) { trial.kernel.files[kFile] = "something else"; };
    EXPECT_EQ(trial.update().status, 0);
    EXPECT_TRUE(trial.holds_file(1));
}

/// Whatever call fails: one object, a status of sv_ctl's own that is true about the flash, and a board that can start.
TEST(CtlUpdate, AnyCallMayFail) {
    std::map<int, int> statuses;
    for (uint64_t failing = 1;; ++failing) {
        Trial trial;
        trial.board.flash.regions[1].swid = 0x0100;
        trial.kernel.failing_call = failing;
        const std::string backup = testing::TempDir() + "sv_backup_" + std::to_string(getpid());
        const ToolRun run = trial.update({"--backup", backup});
        const bool kept = unlink(backup.c_str()) == 0;
        SCOPED_TRACE(std::to_string(failing) + ": " + run.out + run.err);
        EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1);
        EXPECT_TRUE(run.out.starts_with("{\"result\":\"") && run.out.ends_with("}\n"));
        EXPECT_TRUE(run.status == 0 || run.status == 4);
        EXPECT_EQ(run.status == 0, trial.holds_file(1) && trial.board.flash.running() == 1);
        EXPECT_EQ(run.status == 4, trial.board.flash.history.size() == 0);
        EXPECT_GE(trial.board.flash.next_start(-1), 0);
        EXPECT_TRUE(kept || run.status == 4);
        ++statuses[run.status];
        if (trial.kernel.calls < failing || HasFailure()) {
            break;
        }
    }
    EXPECT_GT(statuses[0], 10);
    EXPECT_GT(statuses[4], 100);
}

}  // namespace

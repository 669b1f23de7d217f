// SPDX-License-Identifier: MIT
// The table "How an update can end" is carried out. The runs are below; what is expected of them stands in the table.
#include <algorithm>
#include <csignal>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>

#include "mcu/flash_geometry.h"
#include "tests/cli/ends_document.h"
#include "tests/cli/update_fixture.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// Where a run is set up: FILE of its words holds `bytes`.
struct Stage {
    sim::Board& board;
    FakeKernel& kernel;
    Bytes bytes;

    /// Puts the file's program into a region.
    void install_new(int region) const {
        const auto start = bytes.begin() + 8 + region * std::ptrdiff_t{kRegionSize};
        board.flash.install(region, Bytes(start, start + std::ptrdiff_t{2 * kPageSize}), 0x0123);
        board.flash.regions[1].enabled = false;
    }

    void enable(bool region0, bool region1) const {
        board.flash.regions[0].enabled = region0;
        board.flash.regions[1].enabled = region1;
    }

    /// What runs has no software id, and the other region holds the file's program.
    void reboot_only(bool other_enabled) const {
        install_new(1);
        enable(true, other_enabled);
        board.flash.regions[0].swid = 0;
    }
};

Bytes whole_image() {
    UpdateFileBytes file;
    file.fill_all_pages();
    return file.bytes();
}

Bytes image_of_region_0() {
    UpdateFileBytes file;
    file.fill_page(0);
    return file.bytes();
}

struct Case {
    const char* row;
    Words words;
    std::vector<const char*> faults;
    void (*arrange)(Stage&) = nullptr;
};

// The default reset delay ends while two pages are programmed, with or without a second before them.
constexpr uint64_t kSlowBitNs = 400'000;
constexpr uint64_t kMinuteUs = 60'000'000;

const Words kForce = {"--update", "FILE"};
const Words kCalm = {"--without-force-update", "--update", "FILE"};
const Words kCalmNoReset = {"--without-force-update", "--update-without-reset", "--update", "FILE"};
const Words kNoReset = {"--update-without-reset", "--update", "FILE"};
const Words kTwice = {"--update-without-reset", "--update", "FILE", "--update-with-reset", "--update", "FILE"};

const std::vector<Case> kCases = {
    {"E1", {"--update"}, {}},
    {"E1", {"--reset-delay", "x", "--update", "FILE"}, {}},
    {"E2", {"--update", "/does/not/exist"}, {}},
    {"E2", {"--update", "/dev/null"}, {}},
    {"E2", kForce, {}, [](Stage& s) { s.bytes.back() ^= 1; }},
    {"E2", kForce, {}, [](Stage& s) { s.bytes.resize(8); }},
    {"E2", kForce, {}, [](Stage& s) { s.bytes[s.bytes.size() - 20] ^= 1; }},
    {"E2", kForce, {}, [](Stage& s) { s.bytes[s.bytes.size() - 8] ^= 1; }},
    {"E3", kForce, {}, [](Stage& s) { s.board.scenario.mcu = false; }},
    {"E3", {"--addr", "0x33", "--upd", "FILE"}, {}},
    {"E4", kForce, {"fail@read-versionx*"}},
    {"E4", kForce, {"hang@read-flash-statusx*"}},
    {"E5", kForce, {}, [](Stage& s) { s.board.scenario.hwid = 4; }},
    {"E5", kForce, {}, [](Stage& s) { s.board.scenario.hwid = 0; }},
    {"E6", kForce, {}, [](Stage& s) { s.board.scenario.reported_region_size = 0x10000; }},
    {"E6", kForce, {}, [](Stage& s) { s.board.scenario.reported_page_size = 0x100; }},
    {"E7", {"--upd", "FILE"}, {}, [](Stage& s) { s.install_new(0); }},
    {"E8", kCalmNoReset, {}, [](Stage& s) { s.install_new(0); }},
    {"E9", kCalm, {}, [](Stage& s) { s.install_new(0), s.enable(true, true); }},
    {"E10", kCalm, {}, [](Stage& s) { s.install_new(0), s.enable(false, true); }},
    {"E11", kCalm, {}, [](Stage& s) { s.reboot_only(true); }},
    {"E12", kCalm, {}, [](Stage& s) { s.reboot_only(false); }},
    {"E13", kCalmNoReset, {}, [](Stage& s) { s.reboot_only(true); }},
    {"E14", kForce, {"fail@erasex*"}},
    {"E14", kForce, {"hang@erasex*"}},
    {"E14", kForce, {"restart@erase"}},
    {"E15", kForce, {"lost@erasex*"}},
    {"E16", kForce, {"fail@commit/257x*"}},
    {"E16", kForce, {"nack@segment/257x*"}},
    {"E17", kForce, {"dead@segment/257"}},
    {"E18", kForce, {"skip@commit/257x*"}},
    {"E19", kForce, {"fail@enablex*"}},
    {"E19", kForce, {"hang@enablex*"}},
    {"E19", kForce, {"restart@enable"}},
    {"E20", kForce, {"lost@enablex*"}},
    {"E21", kForce, {"fail@disablex*"}},
    {"E21", kForce, {"hang@disablex*"}},
    {"E22", kForce, {"lost@disablex*"}},
    {"E23", kForce, {"lost@disable", "fail@commit/257#2x*"}},
    {"E23", kTwice, {"fail@commit/257#2x*"}},
    {"E24",
     {"--update", "FILE", "--update", "FILE"},
     {},
     [](Stage& s) {
         s.bytes = whole_image();
         s.kernel.bit_ns = 2'500;
     }},
    {"E24", kForce, {"lost@disable", "restart@segment/257#17"}},  // on its second way
    {"E25", kForce, {"restart@disable"}},
    {"E26", kForce, {"restart@disable"}, [](Stage& s) { s.board.scenario.boot_ms = 0; }},
    {"E27", kForce, {}},
    {"E28", {"--upd", "FILE"}, {}},
    {"E28", {"--reset-delay", "0", "--update", "FILE"}, {}},
    {"E29", {"--reset-now-sync", "--update", "FILE"}, {}},
    {"E29", kForce, {"fail@reset-delayed"}},
    {"E29", kForce, {"hang@reset-delayedx*"}},
    {"E29", kForce, {"lost@reset-delayedx*"}},
    {"E30", kForce, {"fail@reset-delayed", "nack@reset-now"}},
    {"E31", kForce, {"dead@reset-delayed"}},
    {"E32", kForce, {"skip@reset-delayed"}},
    {"E33", kNoReset, {}},
    {"E34", {"--update-without-disable", "--update", "FILE"}, {}},
    {"E35", {"--update-without-disable", "--update-without-reset", "--update", "FILE"}, {}},
    {"E36", kForce, {"fail@erase#1x2", "fail@commit/257x4"}},
    {"E36", kForce, {"restart@segment/257"}},
    {"E37", kForce, {"lost@disable"}},
    {"E37", kTwice, {}},
    {"E38",
     kForce,
     {},
     [](Stage& s) {
         s.board.on_transfer = [&board = s.board](const sim::Transfer&) {
             if (board.flash.regions[1].swid != 0x00FF) {  // from the erase on
                 std::raise(SIGHUP);
                 std::raise(SIGPIPE);
             }
         };
     }},
    {"E39", kForce, {}, [](Stage& s) { s.bytes = image_of_region_0(); }},
    {"E40", {"--update", "FILE", "--nonsense"}, {}},
    {"E41", kForce, {"kill@any-command#30"}},
    {"E42", kForce, {"tear=7@erase", "kill@erase"}},
    {"E43", kForce, {"kill@commit/256"}},
    {"E43", kForce, {"kill@segment/257#16"}},
    {"E44", kForce, {"kill@commit/257"}},
    {"E45", kForce, {"kill@enable"}},
    {"E46", kForce, {"kill@disable"}},
    {"E47", kForce, {"kill@reset-delayed"}},
    {"E48", kTwice, {"kill@commit/256#2"}},
    {"E49",
     {"--upd", "FILE"},
     {},
     [](Stage& s) {
         s.install_new(0), s.enable(false, false);
         s.board.flash.tear_erase(7);
     }},
    {"E50", kCalm, {"skip@reset-delayed"}, [](Stage& s) { s.reboot_only(true); }},
    {"E50", kCalm, {"dead@reset-delayed"}, [](Stage& s) { s.reboot_only(true); }},
    {"E51", kTwice, {"fail@erase#2x*"}},
    {"E52", kTwice, {"fail@enable#2x*"}}};

/// The lines of the log without time and level, or of standard output when nothing was logged.
Words lines_of(const ToolRun& run) {
    Words lines;
    std::istringstream in(run.err.empty() ? run.out : run.err);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line.substr(run.err.empty() ? 0 : std::min<size_t>(line.size(), 19)));
    }
    return lines;
}

/// What the flash holds, by its checksum.
using Names = std::map<uint16_t, std::string>;

std::string content(const sim::Board& board, int region, const Names& names) {
    const auto name = names.find(board.flash.checksum(region));
    return name == names.end() ? "part" : name->second;
}

std::string regions(const sim::Board& board, const Names& names) {
    std::string text;
    for (const int region : {0, 1}) {
        const bool enabled = board.flash.regions[static_cast<size_t>(region)].enabled;
        const std::string state = content(board, region, names) + (enabled ? "+" : "-");
        text += (region == 0 ? "" : " ") + (board.flash.running() == region ? "[" + state + "]" : state);
    }
    return text + (board.mcu.state().reset_due_us ? " due" : "");
}

/// Restarts the board with either preference.
std::string next_start(sim::Board& board, const Names& names) {
    std::string found[2];
    for (const int preferred : {0, 1}) {
        board.scenario.boot_choice = std::to_string(preferred);
        board.mcu.restart();
        const int running = board.flash.running();
        found[preferred] = running < 0 ? "nothing" : content(board, running, names);
    }
    return found[0] == found[1] ? found[0] : found[0] + " or " + found[1];
}

bool is_disabled(const sim::RegionState& region) {
    return !region.enabled;
}

}  // namespace

class UpdateEnds : public Update {
protected:
    UpdateEnds() {
        for (const int page : {0, 1, 256, 257}) {
            file.fill_page(static_cast<uint16_t>(page));
        }
        whole = file.bytes();
        names = {{uint16_t{0x1CC1}, "erased"}, {file.region_crc(0), "new"}, {file.region_crc(1), "new"}};
    }

    void carry_out(const Case& c, Row& row) {
        sim::Board own;
        own.flash.install(1, Bytes(0x2000, 0x5A), 0x00FF);
        own.flash.regions[1].enabled = false;
        own.flash.latest = 0;
        names.emplace(own.flash.checksum(0), "old");
        names.emplace(own.flash.checksum(1), "older");
        FakeKernel own_kernel(own);
        Stage stage{own, own_kernel, whole};
        if (c.arrange != nullptr) {
            c.arrange(stage);
        }
        bool gap = false;
        own.on_transfer = [&, inner = own.on_transfer](const sim::Transfer& transfer) {
            gap = gap || std::all_of(own.flash.regions.begin(), own.flash.regions.end(), is_disabled);
            if (inner) {
                inner(transfer);
            }
        };
        for (const char* fault : c.faults) {
            own.add_fault(fault);
        }
        // What a killed run leaves: the rest of it is another story.
        std::unique_ptr<sim::Board> left;
        bool left_gap = false;
        own.on_kill = [&] {
            left.reset(new sim::Board(own.clone()));
            left_gap = gap;
        };
        path = write_temporary("update.svu", stage.bytes);
        Words words = c.words;
        std::replace(words.begin(), words.end(), std::string("FILE"), path);
        const ToolRun tool = run_tool_words(words);
        ++row.runs;
        EXPECT_EQ(own.violations, Words{});
        if (left == nullptr) {
            compare(tool, row);
            compare(own, gap, row);
            follow_advice(own, own_kernel.now_us, row);
        } else {
            EXPECT_EQ(row.status, "signal");
            compare(*left, left_gap, row);
            follow_advice(*left, own_kernel.now_us, row);
        }
    }

    void compare(sim::Board& own, bool gap, const Row& row) const {
        EXPECT_EQ("`" + regions(own, names) + (gap ? " gap`" : "`"), row.regions);
        sim::Board copy = own.clone();
        EXPECT_EQ(next_start(copy, names), row.next_start);
    }

    /// Runs the command lines that the document gives, at once or, if it says so, after the reset. The board must be
    /// able to start then, and start the file's firmware if it was updated.
    void follow_advice(sim::Board& own, uint64_t now_us, const Row& row) {
        own.clear_faults();
        own.on_transfer = nullptr;
        FakeKernel clock(own);
        clock.bit_ns = kSlowBitNs;
        clock.now_us = now_us + (row.advice.find("after the reset") == std::string::npos ? 0 : kMinuteUs);
        own.mcu.advance(clock.now_us);
        bool updated = false;
        for (const std::string& line : texts_of(row.advice)) {
            std::istringstream in(line);
            Words words(std::istream_iterator<std::string>(in), {});
            std::replace(words.begin(), words.end(), std::string("FILE"), path);
            if (words[0].rfind("--", 0) == 0 && words != Words{"--upd"}) {
                updated = run_tool_words(words).status == 0 && line.find("--update") != std::string::npos;
            }
        }
        own.mcu.advance(clock.now_us + kMinuteUs);
        const std::string start = next_start(own, names);
        const bool beyond_help = row.advice.find("programming adapter") != std::string::npos;
        EXPECT_EQ(start == "nothing", beyond_help && row.next_start == "nothing") << row.advice;
        EXPECT_TRUE(!updated || start == "new") << row.advice << ": " << start;
    }

    static void compare(const ToolRun& tool, Row& row) {
        EXPECT_EQ(std::to_string(tool.status), row.status);
        const Words lines = lines_of(tool);
        ASSERT_FALSE(lines.empty());
        const auto shown = [&](const std::string& text) {
            return std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return shows(row, text, line); });
        };
        EXPECT_GT(std::count_if(row.last.begin(), row.last.end(),
                                [&](const auto& text) { return shows(row, text, lines.back()); }),
                  0)
            << tool.err;
        EXPECT_TRUE(row.log.empty() || std::count_if(row.log.begin(), row.log.end(), shown) > 0) << tool.err;
    }

    Bytes whole;
    Names names;
};

TEST_F(UpdateEnds, AreThoseOfTheDocument) {
    std::map<std::string, Row> rows = read_document();
    for (const Case& c : kCases) {
        SCOPED_TRACE(std::string(c.row) + " " + (c.faults.empty() ? "" : c.faults[0]));
        ASSERT_EQ(rows.count(c.row), 1U);
        carry_out(c, rows.at(c.row));
    }
    for (const auto& [name, row] : rows) {
        EXPECT_GT(row.runs, 0) << name;
        for (const auto& [text, seen] : row.seen) {
            EXPECT_TRUE(seen) << name << ": " << text;
        }
    }
}

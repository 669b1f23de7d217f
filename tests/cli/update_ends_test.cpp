// SPDX-License-Identifier: MIT
// The table "How an update can end" is carried out. The runs are below; what is expected of them stands in the table.
#include <csignal>
#include <memory>
#include <optional>

#include "tests/cli/ends_document.h"
#include "tests/cli/update_fixture.h"

namespace {

/// Where a run is set up: FILE of its words holds `bytes`.
struct Stage {
    sim::Board& board;
    FakeKernel& kernel;
    UpdateFileBytes file;
    Bytes bytes = file.bytes();

    /// Puts the file's program into a region.
    void install_new(int region) const {
        const auto start = file.image.begin() + region * std::ptrdiff_t{0x20000};
        board.flash.install(region, Bytes(start, start + 0x400), 0x0123);
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

void install_running(Stage& s) {
    s.install_new(0);
}
void enable_both(Stage& s) {
    s.install_new(0);
    s.enable(true, true);
}
void enable_other(Stage& s) {
    s.install_new(0);
    s.enable(false, true);
}
void reboot_only(Stage& s) {
    s.reboot_only(true);
}
void slow_update(Stage& s) {
    s.file.fill_all_pages();
    s.bytes = s.file.bytes();
    s.kernel.bit_ns = 2'500;
}
void hang_up(Stage& s) {
    s.board.on_transfer = [&board = s.board](const sim::Transfer&) {
        if (board.flash.regions[1].swid != 0x00FF) {  // from the erase on
            std::raise(SIGHUP);
            std::raise(SIGPIPE);
        }
    };
}
void one_region(Stage& s) {
    s.file = UpdateFileBytes{};
    s.file.fill_page(0);
    s.bytes = s.file.bytes();
}
void disabled_after_torn_erase(Stage& s) {
    s.install_new(0);
    s.enable(false, false);
    s.board.flash.tear_erase(7);
}

struct Case {
    const char* row;
    Words words;
    Words situations;  ///< a run for each; knobs and faults
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
    {"E1", {"--update"}, {""}},
    {"E1", {"--reset-delay", "x", "--update", "FILE"}, {""}},
    {"E2", {"--update", "/does/not/exist"}, {""}},
    {"E2", {"--update", "/dev/null"}, {""}},
    {"E2", kForce, {""}, [](Stage& s) { s.bytes.back() ^= 1; }},
    {"E2", kForce, {""}, [](Stage& s) { s.bytes.resize(8); }},
    {"E2", kForce, {""}, [](Stage& s) { s.bytes[s.bytes.size() - 20] ^= 1; }},
    {"E2", kForce, {""}, [](Stage& s) { s.bytes[s.bytes.size() - 8] ^= 1; }},
    {"E3", kForce, {"mcu=0"}},
    {"E3", {"--addr", "0x33", "--upd", "FILE"}, {""}},
    {"E4", kForce, {"fail@read-versionx*", "hang@read-flash-statusx*"}},
    {"E5", kForce, {"hwid=4", "hwid=0"}},
    {"E6", kForce, {"reported_region_size=0x10000", "reported_page_size=0x100"}},
    {"E7", {"--upd", "FILE"}, {""}, install_running},
    {"E8", kCalmNoReset, {""}, install_running},
    {"E9", kCalm, {""}, enable_both},
    {"E10", kCalm, {""}, enable_other},
    {"E11", kCalm, {""}, reboot_only},
    {"E12", kCalm, {""}, [](Stage& s) { s.reboot_only(false); }},
    {"E13", kCalmNoReset, {""}, reboot_only},
    {"E14", kForce, {"fail@erasex*", "hang@erasex*", "restart@erase"}},
    {"E15", kForce, {"lost@erasex*"}},
    {"E16", kForce, {"fail@commit/257x*", "nack@segment/257x*"}},
    {"E17", kForce, {"dead@segment/257"}},
    {"E18", kForce, {"skip@commit/257x*"}},
    {"E19", kForce, {"fail@enablex*", "hang@enablex*", "restart@enable"}},
    {"E20", kForce, {"lost@enablex*"}},
    {"E21", kForce, {"fail@disablex*", "hang@disablex*"}},
    {"E22", kForce, {"lost@disablex*"}},
    {"E23", kForce, {"lost@disable fail@commit/257#2x*"}},
    {"E23", kTwice, {"fail@commit/257#2x*"}},
    {"E24", {"--update", "FILE", "--update", "FILE"}, {""}, slow_update},
    {"E24", kForce, {"lost@disable restart@segment/257#17"}},  // on its second way
    {"E25", kForce, {"restart@disable"}},
    {"E26", kForce, {"boot_ms=0 restart@disable"}},
    {"E27", kForce, {""}},
    {"E28", {"--upd", "FILE"}, {""}},
    {"E28", {"--reset-delay", "0", "--update", "FILE"}, {""}},
    {"E29", {"--reset-now-sync", "--update", "FILE"}, {""}},
    {"E29", kForce, {"fail@reset-delayed", "hang@reset-delayedx*", "lost@reset-delayedx*"}},
    {"E30", kForce, {"fail@reset-delayed nack@reset-now"}},
    {"E31", kForce, {"dead@reset-delayed"}},
    {"E32", kForce, {"skip@reset-delayed"}},
    {"E33", kNoReset, {""}},
    {"E34", {"--update-without-disable", "--update", "FILE"}, {""}},
    {"E35", {"--update-without-disable", "--update-without-reset", "--update", "FILE"}, {""}},
    {"E36", kForce, {"fail@erase#1x2 fail@commit/257x4", "restart@segment/257"}},
    {"E37", kForce, {"lost@disable", "slow=5002@disable"}},
    {"E37", kTwice, {""}},
    {"E38", kForce, {""}, hang_up},
    {"E39", kForce, {""}, one_region},
    {"E40", {"--update", "FILE", "--nonsense"}, {""}},
    {"E41", kForce, {"kill@any-command#30"}},
    {"E42", kForce, {"tear=7@erase kill@erase"}},
    {"E43", kForce, {"kill@commit/256", "kill@segment/257#16"}},
    {"E44", kForce, {"kill@commit/257"}},
    {"E45", kForce, {"kill@enable"}},
    {"E46", kForce, {"kill@disable"}},
    {"E47", kForce, {"kill@reset-delayed"}},
    {"E48", kTwice, {"kill@commit/256#2"}},
    {"E49", {"--upd", "FILE"}, {""}, disabled_after_torn_erase},
    {"E50", kCalm, {"skip@reset-delayed", "dead@reset-delayed"}, reboot_only},
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

class UpdateEnds : public Update {
protected:
    void carry_out(const Case& c, const std::string& situation, Row& row) {
        sim::Board own;
        own.flash.install(1, Bytes(0x2000, 0x5A), 0x00FF);
        own.flash.regions[1].enabled = false;
        own.flash.latest = 0;
        names = {{uint16_t{0x1CC1}, "erased"},
                 {file.region_crc(0), "new"},
                 {file.region_crc(1), "new"},
                 {own.flash.checksum(0), "old"},
                 {own.flash.checksum(1), "older"}};
        FakeKernel own_kernel(own);
        Stage stage{own, own_kernel, file};
        if (c.arrange != nullptr) {
            c.arrange(stage);
        }
        set_up(own, split(situation));
        bool gap = false;  // neither region was enabled at some time
        own.on_transfer = [&, inner = own.on_transfer](const sim::Transfer& transfer) {
            gap = gap || (!own.flash.regions[0].enabled && !own.flash.regions[1].enabled);
            if (inner) {
                inner(transfer);
            }
        };
        // What a killed run leaves: the rest of it is another story.
        std::unique_ptr<sim::Board> left;
        bool left_gap = false;
        own.on_kill = [&] {
            left.reset(new sim::Board(own.clone()));
            left_gap = gap;
        };
        write_temporary("update.svu", stage.bytes);
        Words words = c.words;
        std::replace(words.begin(), words.end(), std::string("FILE"), path);
        const ToolRun tool = run_tool_words(words);
        ++row.runs;
        EXPECT_EQ(own.violations, Words{});
        if (left == nullptr) {
            compare(tool, row);
        } else {
            EXPECT_EQ(row.status, "signal");
            gap = left_gap;
        }
        sim::Board& found = left == nullptr ? own : *left;
        EXPECT_EQ("`" + regions(found, names) + (gap ? " gap`" : "`"), row.regions);
        sim::Board copy = found.clone();
        EXPECT_EQ(next_start(copy, names), row.next_start);
        follow_advice(found, own_kernel.now_us, row);
    }

    static void compare(const ToolRun& tool, Row& row) {
        EXPECT_EQ(std::to_string(tool.status), row.status);
        const Words lines = lines_of(tool);
        ASSERT_FALSE(lines.empty());
        bool last_shown = false;
        for (const std::string& text : row.last) {
            last_shown = row.shows(text, lines.back()) || last_shown;
        }
        EXPECT_TRUE(last_shown) << tool.err;
        bool log_shown = row.log.empty();
        for (const std::string& text : row.log) {
            for (const std::string& line : lines) {
                log_shown = row.shows(text, line) || log_shown;
            }
        }
        EXPECT_TRUE(log_shown) << tool.err;
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
            Words words = split(line);
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

    Names names;
};

}  // namespace

TEST_F(UpdateEnds, AreThoseOfTheDocument) {
    std::map<std::string, Row> rows = read_document();
    for (const Case& c : kCases) {
        for (const std::string& situation : c.situations) {
            SCOPED_TRACE(std::string(c.row) + " " + situation);
            ASSERT_EQ(rows.count(c.row), 1U);
            carry_out(c, situation, rows.at(c.row));
        }
    }
    for (const auto& [name, row] : rows) {
        EXPECT_GT(row.runs, 0) << name;
        for (const auto& [text, seen] : row.seen) {
            EXPECT_TRUE(seen) << name << ": " << text;
        }
    }
}

// SPDX-License-Identifier: MIT
#include "sim/fault.h"

#include <gtest/gtest.h>

#include "tests/sim/wire.h"

namespace {

using sim::Board;

/// Reads the marker register six times, 10 ms apart: "+" is answered, "-" is not, "!" is wrong data.
std::string six_reads(const std::string& fault) {
    Board board;
    board.add_fault(fault);
    std::string answers;
    for (int i = 0; i < 6; ++i, board.now_us += 10'000) {
        const auto marker = read_bytes(board, 0x0F, 1);
        answers += !marker ? '-' : *marker == Bytes{0xFF} ? '!' : '+';
    }
    return answers;
}

TEST(Fault, StrikesTheTransfersThatItNames) {
    constexpr std::pair<const char*, const char*> cases[] = {
        {"nack@2", "+-++++"},          {"nack@2x*", "+-----"},      {"nack@2#3x2", "+++--+"},
        {"nack@2+25ms", "+---++"},     {"nack@2#2+10ms", "++-+++"}, {"nack@reg-0f", "-+++++"},
        {"nack@reg-0f#4x*", "+++---"}, {"nack@reg-0e", "++++++"},   {"dead@3", "++----"},
        {"lost@3", "++-+++"},          {"restart@3", "++-+++"},     {"flip@3x2", "++!!++"},
        {"flip@reg-0fx*", "!!!!!!"},   {"nack@commit", "++++++"}};
    for (const auto& [fault, answers] : cases) {
        EXPECT_EQ(six_reads(fault), answers) << fault;
    }
}

/// The statuses of the two pages' commits, and "w" for each page that was written.
std::string two_pages(const std::string& fault) {
    Board board;
    board.scenario.boot_ms = 0;
    board.add_fault(fault);
    std::string text;
    for (const uint16_t page : {uint16_t{256}, uint16_t{257}}) {
        write_segments(board, page);
        const auto status = run_frame(board, commit_of(page));
        char digits[4] = "--";
        if (status) {
            std::snprintf(digits, sizeof digits, "%02x", status->at(0));
        }
        text += digits;
        text += board.flash.memory()[page * 0x200U] == 0x00 ? "w " : "  ";
    }
    if (!board.violations.empty()) {
        text += board.violations.front();
    }
    return text;
}

TEST(Fault, CommandsEndAsTheFaultSays) {
    constexpr std::pair<const char*, const char*> cases[] = {
        {"fail@commit/257", "c0w 80  "},
        {"fail@commitx*", "80  80  "},
        {"fail@commit#2", "c0w 80  "},
        {"fail=0xa1@commit/256", "a1  c0w "},
        {"hang@commit/256", "00  c0w "},
        {"skip@commit/256", "c0  c0w "},
        {"lost@commit/256", "--w c0w "},
        {"nack@commit/256", "--  c0w "},
        {"dead@segment/257", "c0w --  "},
        {"nack@segment/256", "80  c0w page 256 is committed without all its segments"},
        {"restart@segment/256#9", "80  c0w "},  // the host can't know that the segments are lost
        {"cut@commit/256", "00w c0w "},
        {"cut@segment/256#9", "80  c0w "},
        {"tear=0@commit/256", "00  c0w "},
        {"tear=1@commit/256", "00w c0w "},
        {"slow=2@commit/256", "00w c0w "},
        {"slow=1@commit/256", "c0w c0w "},
        {"fail@commitx2", "80  80  "},
        {"fail@any-command#17", "80  c0w "},
        {"lost@any-change#17", "--w c0w "},
        {"hang@any-frame#34", "c0w 00  "}};
    for (const auto& [fault, outcome] : cases) {
        EXPECT_EQ(two_pages(fault), outcome) << fault;
    }
}

/// How many pages of region 1 are cleared, and whether its record is.
TEST(Fault, TornErasesAndRecords) {
    const struct {
        const char* fault;
        Bytes frame;
        size_t cleared;
        bool enabled0;
        bool enabled1;
        int running;
    } cases[] = {
        {"tear=0@erase", kErase, 0, true, true, 1},      {"tear=7@erase", kErase, 7, true, true, 0},
        {"tear=256@erase", kErase, 256, true, true, 0},  {"cut@erase", kErase, 256, true, false, 0},
        {"tear=0@disable", kDisable, 0, true, true, 1},  {"tear=1@disable", kDisable, 0, false, true, 1},
        {"slow=9@disable", kDisable, 0, false, true, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        Board board;
        board.scenario.boot_ms = 0;
        board.flash.install(1, Bytes(0x1FE00, 0x5A), 2);
        board.add_fault(c.fault);
        EXPECT_EQ(run_frame(board, c.frame), Bytes{0x00});
        size_t cleared = 0;
        while (cleared < 256 && board.flash.memory()[0x20000 + cleared * 0x200 + 0x1FF] == 0xFF) {
            ++cleared;
        }
        EXPECT_EQ(cleared, c.cleared);
        EXPECT_EQ(board.flash.regions[0].enabled, c.enabled0);
        EXPECT_EQ(board.flash.regions[1].enabled, c.enabled1);
        EXPECT_EQ(board.flash.running(), c.running);
        EXPECT_EQ(board.violations, std::vector<std::string>{});
    }
}

TEST(Fault, TheProgramIsKilledAfterItsTransfer) {
    Board board;
    std::vector<uint64_t> kills;
    board.on_kill = [&] { kills.push_back(board.transfers()); };
    board.add_fault("kill@2x2");
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(read_bytes(board, 0x0F, 1));
    }
    EXPECT_EQ(kills, (std::vector<uint64_t>{2, 3}));
}

std::string problem_of(const std::string& text) {
    std::string problem;
    return sim::parse_fault(text, problem) ? "none" : problem;
}

TEST(Fault, AMistakeIsExplained) {
    for (const std::string text :
         {"", "nack", "nack@", "nack@-1", "nack@1 ", "nack@1x", "nack@1x2+5ms", "nack@1+5s", "nack@1#", "nack@commit/",
          "nack@0", "nack@1#0", "nack@1x0", "nack@commit/65792", "fail=0x100@erase", "fail=@erase", "NACK@1"}) {
        EXPECT_EQ(problem_of(text), text + ": not a fault; it is written KIND[=VALUE]@WHERE[#N][xCOUNT]");
    }
    constexpr std::pair<const char*, const char*> cases[] = {{"nak@1", "no such kind of fault: nak"},
                                                             {"nack@reg-1", "no such command: reg-1"},
                                                             {"fail@1", "fail needs the name of a command"},
                                                             {"skip@2", "skip needs the name of a command"},
                                                             {"nack=0x80@1", "nack takes no value"},
                                                             {"fail@erase/5", "erase has no page"},
                                                             {"slow@erase", "slow needs a value"},
                                                             {"tear=513@erase", "tear takes a value up to 512"},
                                                             {"fail=256@erase", "fail takes a value up to 255"},
                                                             {"fail@any-frame/3", "no such command: any-frame"}};
    for (const auto& [text, reason] : cases) {
        EXPECT_EQ(problem_of(text), std::string(text) + ": " + reason);
    }
}

}  // namespace

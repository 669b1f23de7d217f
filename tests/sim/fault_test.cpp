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
        {"restart@segment/256#9", "80  c0w page 256 is committed without all its segments"}};
    for (const auto& [fault, outcome] : cases) {
        EXPECT_EQ(two_pages(fault), outcome) << fault;
    }
}

std::string problem_of(const std::string& text) {
    std::string problem;
    return sim::parse_fault(text, problem) ? "none" : problem;
}

TEST(Fault, AMistakeIsExplained) {
    for (const std::string text :
         {"", "nack", "nack@", "nack@-1", "nack@1 ", "nack@1x", "nack@1x2+5ms", "nack@1+5s", "nack@1#", "nack@commit/",
          "nack@0", "nack@1#0", "nack@1x0", "nack@commit/65792", "fail=0x100@erase", "fail=@erase", "NACK@1"}) {
        EXPECT_EQ(problem_of(text), text + ": not a fault; it is written KIND[=STATUS]@WHERE[#N][xCOUNT]");
    }
    constexpr std::pair<const char*, const char*> cases[] = {
        {"nak@1", "no such kind of fault: nak"},        {"nack@reg-1", "no such command: reg-1"},
        {"fail@1", "fail needs the name of a command"}, {"skip@2", "skip needs the name of a command"},
        {"nack=0x80@1", "nack takes no status"},        {"fail@erase/5", "erase has no page"}};
    for (const auto& [text, reason] : cases) {
        EXPECT_EQ(problem_of(text), std::string(text) + ": " + reason);
    }
}

}  // namespace

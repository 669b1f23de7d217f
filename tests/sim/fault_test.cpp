// SPDX-License-Identifier: MIT
#include "sim/fault.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/sim/wire.h"

namespace {

using sim::Board;

std::string status_of(const std::optional<Bytes>& read) {
    char digits[4] = "--";
    if (read) {
        std::snprintf(digits, sizeof digits, "%02x", read->at(0));
    }
    return digits;
}

/// Reads the marker register six times, 10 ms apart: "+" is answered, "-" is not, "!" is wrong data; "k" is a kill.
std::string six_reads(const std::string& fault) {
    Board board;
    std::string answers;
    board.on_kill = [&] { answers += 'k'; };
    board.add_fault(fault);
    for (int i = 0; i < 6; ++i, board.now_us += 10'000) {
        const auto marker = read_bytes(board, 0x0F, 1);
        answers += !marker ? '-' : *marker == Bytes{0xFF} ? '!' : '+';
    }
    EXPECT_EQ(board.faults[0].has_struck(), answers != "++++++") << fault;
    return answers;
}

TEST(Fault, StrikesTheTransfersThatItNames) {
    constexpr std::pair<const char*, const char*> cases[] = {
        {"nack@2", "+-++++"},          {"nack@2x*", "+-----"},      {"nack@2#3x2", "+++--+"},
        {"nack@2+25ms", "+---++"},     {"nack@2#2+10ms", "++-+++"}, {"nack@reg-0f", "-+++++"},
        {"nack@reg-0f#4x*", "+++---"}, {"nack@reg-0e", "++++++"},   {"dead@3", "++----"},
        {"lost@3", "++-+++"},          {"restart@3", "++-+++"},     {"flip@3x2", "++!!++"},
        {"flip@reg-0fx*", "!!!!!!"},   {"nack@commit", "++++++"},   {"kill@2x2", "+k+k++++"}};
    for (const auto& [fault, answers] : cases) {
        EXPECT_EQ(six_reads(fault), answers) << fault;
    }
}

/// The statuses of the two pages' commits; then "w" for each page that is written, " " for one that is not, and "1" for
/// one with a single byte; "v" for each violation.
std::string two_pages(const std::string& fault) {
    Board board;
    board.scenario.boot_ms = 0;
    board.add_fault(fault);
    Bytes content(0x200);
    std::iota(content.begin(), content.end(), uint8_t{0});
    std::string text;
    run_frame(board, segment_of(300, 0));  // the next page drops this one
    for (const uint16_t page : {uint16_t{256}, uint16_t{257}}) {
        write_segments(board, page);
        text += status_of(run_frame(board, commit_of(page)));
        const auto written = std::mismatch(content.begin(), content.end(), board.flash.memory().begin() + page * 0x200);
        const auto count = written.first - content.begin();
        text += count == 0x200 ? "w " : count == 1 ? "1 " : count == 0 ? "  " : "? ";
    }
    return text + std::string(board.violations.size(), 'v');
}

TEST(Fault, CommandsEndAsTheFaultSays) {
    // After restart@segment and cut@segment the host cannot know that segments are lost: no violation.
    constexpr std::pair<const char*, const char*> cases[] = {
        {"fail@commit/257", "c0w 80  "},       {"fail@commit#2", "c0w 80  "},     {"fail=0xa1@commit/256", "a1  c0w "},
        {"hang@commit/256", "00  c0w "},       {"skip@commit/256", "c0  c0w "},   {"lost@commit/256", "--w c0w "},
        {"nack@commit/256", "--  c0w "},       {"dead@segment/257", "c0w --  "},  {"nack@segment/256", "80  c0w v"},
        {"restart@segment/256#9", "80  c0w "}, {"cut@commit/256", "00w c0w "},    {"cut@segment/256#9", "80  c0w "},
        {"tear=0@commit/256", "00  c0w "},     {"tear=1@commit/256", "001 c0w "}, {"slow=2@commit/256", "00w c0w "},
        {"slow=1@commit/256", "c0w c0w "},     {"fail@commitx2", "80  80  "},     {"fail@any-command#18", "80  c0w "},
        {"lost@any-change#18", "--w c0w "},    {"hang@any-frame#35", "c0w 00  "}, {"tear=512@commit/256", "00w c0w "},
        {"slow=10000@commit/256", "00w c0w "}};
    for (const auto& [fault, outcome] : cases) {
        EXPECT_EQ(two_pages(fault), outcome) << fault;
    }
}

/// An erase or a disable while region 1 is full and enabled: its status, the number of erased pages, the regions ("+"
/// enabled, "-" disabled, "0" without a software id), and the running region.
std::string erase_or_disable(const std::string& fault) {
    Board board;
    board.scenario.boot_ms = 0;
    board.flash.install(1, Bytes(0x20000, 0x5A), 2);
    board.add_fault(fault);
    std::vector<uint8_t> memory = board.flash.memory();
    std::string text = status_of(run_frame(board, fault.ends_with("disable") ? kDisable : kErase)) + " ";
    size_t pages = 0;
    while (pages < 256 && board.flash.memory()[0x20000 + pages * 0x200] == 0xFF) {
        ++pages;
    }
    std::fill_n(memory.begin() + 0x20000, pages * 0x200, uint8_t{0xFF});
    EXPECT_EQ(board.flash.memory(), memory);
    EXPECT_TRUE(board.violations.empty());
    text += std::to_string(pages) + " ";
    for (const sim::RegionState& region : board.flash.regions) {
        text += region.enabled ? '+' : region.swid == 0 ? '0' : '-';
    }
    return text + " " + std::to_string(board.flash.running());
}

TEST(Fault, AnEraseOrADisableIsTornOrWhole) {
    constexpr std::pair<const char*, const char*> cases[] = {
        {"nack@9", "c0 256 +0 0"},       {"cut@erase", "00 256 +0 0"},      {"tear=0@erase", "00 0 ++ 1"},
        {"tear=7@erase", "00 7 ++ 0"},   {"tear=256@erase", "00 256 ++ 0"}, {"tear=0@disable", "00 0 ++ 1"},
        {"tear=1@disable", "00 0 -+ 1"}, {"slow=9@disable", "00 0 -+ 0"}};
    for (const auto& [fault, outcome] : cases) {
        EXPECT_EQ(erase_or_disable(fault), outcome) << fault;
    }
}

}  // namespace

// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "capture/model_comparison.h"
#include "capture/rebuilt_board.h"
#include "capture/sigrok_text.h"
#include "capture/tracepoints.h"
#include "sim/state_file.h"
#include "tests/sim/recorded.h"
#include "tests/support/tool_run.h"

namespace {

using sim::RecordedTransfer;

/// A file that sv_record wrote in scripts/kernel.
sim::Recording recorded_by_kernel(const std::string& name) {
    std::ifstream file(SV_SOURCE_FOLDER "/tests/capture/" + name);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return read_tracepoints(text);
}

TEST(Tracepoints, ReadsWhatTracefsShows) {
    const sim::Recording version = recorded_by_kernel("version.txt");
    EXPECT_EQ(version.problem, "");
    const Words words = words_of(version);
    ASSERT_EQ(words.size(), 9);
    // sv_record wrote second 29 when the kernel's clock showed 29.961542.
    EXPECT_EQ(words[0], "3 29045819 mcu frame read-version | a6 00");
    EXPECT_EQ(words[8], "3 29146463 mcu response of read-flash-status | 80 -> 49 f8 c1 1c 00 00 02 00 00 02");

    // A read of 100 bytes, of which 64 are shown; then nobody answers, once to a write, once to a read
    sim::Recording read = recorded_by_kernel("long_and_failed.txt");
    ASSERT_EQ(read.transfers.size(), 3);
    const sim::RecordedMessage& reply = read.transfers[0].messages[1];
    EXPECT_EQ(reply.size, 100);
    EXPECT_EQ(reply.bytes.size(), 64);
    EXPECT_EQ(reply.bytes[19], 0x3F);
    EXPECT_FALSE(read.transfers[0].complete());
    read.transfers.erase(read.transfers.begin());
    EXPECT_EQ(words_of(read), (Words{"3 1795493458073988 33 write at 00 - not acknowledged | 00",
                                     "3 1795493458092442 33 read - not acknowledged | 00"}));
}

TEST(Tracepoints, ReadsOtherSpellingsAndCountsWhatIsMissing) {
    const Words erase{"0 11371259 mcu frame erase | a5 42 43"};
    const struct {
        std::string text;
        Words words;
        std::string problem;
    } rows[] = {
        {"  sv_updater-106   [000]    11.371259: i2c_write:            i2c-0 #0 a=008 f=0200 l=3 [a5-42-43]\n"
         "  sv_updater-106   [000]    11.371318: i2c_result:           i2c-0 n=1 ret=1\n",
         erase, ""},
        {"sv_updater   106 [000]    11.371259:             i2c:i2c_write: i2c-0 #0 a=008 f=0200 l=3 [a5-42-43]\n"
         "sv_updater   106 [000]    11.371318:            i2c:i2c_result: i2c-0 n=1 ret=1",
         erase, ""},
        {"i2c_x y-1 [000] ..... 11.371259123: i2c_write: i2c-0 #0 a=008 f=0200 l=3 [a5-42-43]\n"
         "i2c_x y-1 [000] ..... 11.371318: i2c_result: i2c-0 n=1 ret=-6",
         {"0 11371259 mcu frame erase - not acknowledged | a5 42 43"},
         ""},
        // Two buses at once, and an address without data
        {"a-1 [0] 1.0: i2c_write: i2c-1 #0 a=008 f=0200 l=1 [0f]\na-1 [0] 1.1: i2c_read: i2c-1 #1 a=008 f=0201 l=1\n"
         "b-2 [1] 1.2: i2c_write: i2c-2 #0 a=050 f=0000 l=0 []\na-1 [0] 1.3: i2c_reply: i2c-1 #1 a=008 f=0201 l=1 "
         "[11]\n"
         "b-2 [1] 1.4: i2c_result: i2c-2 n=1 ret=1\na-1 [0] 1.5: i2c_result: i2c-1 n=2 ret=2\n",
         {"2 1200000 display address only |", "1 1000000 mcu reset marker | 0f -> 11"},
         ""},
        // The beginning is missing; events are missing in the middle; ten-bit addresses; no bus of a capture
        {"a-1 [0] 1.0: i2c_reply: i2c-1 #1 a=008 f=0201 l=1 [11]\na-1 [0] 1.1: i2c_result: i2c-1 n=2 ret=2\n",
         {},
         "1 transfers left out, 0 events lost"},
        {"# entries-in-buffer/entries-written: 31/60   #P:1\nCPU:10 [LOST EVENTS]\na-1 [0] 1.0: i2c_read: i2c-1 #0 "
         "a=008 "
         "f=0201 l=1\nCPU:0 [LOST 2 EVENTS]\nCPU:1 [4 EVENTS DROPPED]\na-1 [0] 1.1: i2c_result: i2c-1 n=1 ret=1\n",
         {},
         "1 transfers left out, 36 events lost"},
        // The end is missing
        {"a-1 [0] 1.0: i2c_write: i2c-1 #0 a=008 f=0200 l=1 [a6]\n", {}, "1 transfers left out, 0 events lost"},
        {"a-1 [0] 1.0: i2c_write: i2c-1 #0 a=008 f=0010 l=1 [0f]\na-1 [0] 1.1: i2c_result: i2c-1 n=1 ret=1\n",
         {},
         "1 transfers left out, 0 events lost"},
        {"a-1 [0] 1.0: i2c_write: i2c-256 #0 a=008 f=0000 l=1 [0f]\na-1 [0] 1.1: i2c_result: i2c-256 n=1 ret=1\n",
         {},
         "1 transfers left out, 0 events lost"},
        {"", {}, ""},
        {"a line: of i2c_ text\n1-2 i2c-1: Start\n", {}, ""},
    };
    for (const auto& row : rows) {
        const sim::Recording read = read_tracepoints(row.text);
        EXPECT_EQ(words_of(read), row.words) << row.text;
        EXPECT_EQ(read.problem, row.problem) << row.text;
    }
}

TEST(SigrokText, ReadsAnnotationsOfItsI2cDecoder) {
    // sigrok-cli prints the bit of the direction before the address.
    const std::string text =
        "37-37 i2c-1: Start\n237-262 i2c-1: Write\n62-237 i2c-1: Address write: 08\n262-287 i2c-1: ACK\n"
        "287-487 i2c-1: Data write: A6\n487-512 i2c-1: ACK\n524-524 i2c-1: Start repeat\n"
        "62-237 i2c-1: Address read: 08\n262-287 i2c-1: ACK\n287-487 i2c-1: Data read: C0\n487-512 i2c-1: NACK\n"
        "589-589 i2c-1: Stop\n15000000-15000000 i2c-1: Start\nx i2c-1: Address write: 33\n1-2 i2c-1: Address write: "
        "33\n"
        "1-2 i2c-1: NACK\n1-2 i2c-1: Stop\n"
        "20000000-20000000 i2c-1: Start\n1-2 i2c-1: Address read: 33\n1-2 i2c-1: NACK\n1-2 i2c-1: Stop\n";
    EXPECT_EQ(words_of(read_sigrok_text(text, 10'000'000, 2)),
              (Words{"2 3 mcu status of nothing: finished, succeeded | a6 -> c0",
                     "2 1500000 33 address only - not acknowledged |", "2 2000000 33 read - not acknowledged |"}));
    EXPECT_EQ(read_sigrok_text("1-1 i2c-1: Stop\n" + text, 10'000'000, 2).problem, "");
    std::string messages;
    for (int i = 0; i < 43; ++i) {
        messages += "4-4 i2c-1: Address read: 08\n";
    }
    for (const std::string& more : Words{"", "4-4 i2c-1: Stop\n", messages + "5-5 i2c-1: Stop\n",
                                         "3-3 i2c-1: Start\n4-4 i2c-1: Address read: 08\n5-5 i2c-1: Stop\n"}) {
        EXPECT_EQ(read_sigrok_text(text + "3-3 i2c-1: Start\n" + more, 10'000'000, 2).problem,
                  "some transfers left out: cut off, too long, or without a 7-bit address")
            << more;
    }
    EXPECT_EQ(read_sigrok_text(text + "3-3 i2c-2: Start\n", 1, 0).problem,
              "annotations of more than one decoder of I2C");
}

/// Every transfer of a run of the tool.
std::vector<RecordedTransfer> recorded(sim::Board& board, const Words& words) {
    FakeKernel kernel(board);
    std::vector<RecordedTransfer> transfers;
    board.on_transfer = [&](const sim::Transfer& transfer) { transfers.push_back(sim::record(0, transfer)); };
    run_tool_words(words);
    board.on_transfer = nullptr;
    return transfers;
}

TEST(ModelComparison, ListsEachKindOfDifferenceOnce) {
    sim::Board other;
    set_up(other, {"hwid=2", "slow=3@erase", "nack@read-version2"});
    std::vector<RecordedTransfer> transfers = recorded(other, {"--version", "--erase"});
    sim::Board model;
    const ModelComparison found = compare_with_model(transfers, model);
    EXPECT_EQ(found.transfers, 11);
    EXPECT_EQ(found.skipped, 1);
    Words differences;
    for (const Difference& difference : found.differences) {
        differences.push_back(std::to_string(difference.count) + " from " + std::to_string(difference.first) + ": " +
                              difference.recorded + ", " + difference.simulated);
    }
    EXPECT_EQ(
        differences,
        (Words{"1 from 3: mcu response of read-version | 80 -> 02 00 00 01 00 00 00 00 20 26 11 22 00 00 00 00 00 00 "
               "00 00 00 00 00 00 00 01 60 22 c2 01 26 42, mcu response of read-version | 80 -> 03 00 00 01 00 00 00 "
               "00 20 26 11 22 00 00 00 00 00 00 00 00 00 00 00 00 00 01 60 22 c2 01 26 42",
               "1 from 4: mcu frame read-version2 - not acknowledged | a6 05, not sent",
               "2 from 9: mcu status of erase: busy | a6 -> 00, mcu status of erase: finished, succeeded | a6 -> c0"}));
    EXPECT_TRUE(model.violations.empty());
    // What was not sent has a name all the same.
    transfers = {{0, 1, false, {{0x08, false, 3, kErase}}},
                 {0, 1, true, {{0x08, false, 1, {0xA6}}, {0x08, true, 1, {0xC0}}}}};
    EXPECT_EQ(compare_with_model(transfers, model).differences.size(), 1);
    // A delayed reset comes at the recorded time.
    transfers = {{0, 1'000'000, true, {{0x08, false, 2, {0x0F, 0x11}}}},
                 {0, 1'000'001, true, {{0x08, false, 40, delayed_reset_of(1)}}},
                 {0, 9'000'000, true, {{0x08, false, 1, {0x0F}}, {0x08, true, 1, {0x00}}}}};
    sim::Board younger;
    EXPECT_TRUE(compare_with_model(transfers, younger).differences.empty());
    // Only the MCU counts, and what its host must not do.
    transfers = {{0, 1, true, {{0x09, false, 1, {0x25}}}}, {0, 1, true, {{0x08, false, 2, {0xA6, 0x43}}}}};
    EXPECT_EQ(compare_with_model(transfers, model).transfers, 1);
    EXPECT_EQ(model.violations.size(), 1);
}

TEST(RebuiltBoard, IsTheBoardThatWasReadWhenAllOfItIsThere) {
    sim::Board board;
    set_up(board, {"hwid=2", "serial=123456789012345678901234567890123456", "production_minutes=1234567",
                   "version2=000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"});
    board.flash.install(1, Bytes(5000, 0x5A), 0x0203);
    board.flash.restore(board.flash.memory(), 1);
    board.flash.regions[0].enabled = false;
    const std::vector<RecordedTransfer> transfers = recorded(board, {"--version", "--read", "/dev/null"});
    ASSERT_EQ(transfers.size(), 9 + 25350);
    sim::Board rebuilt;
    EXPECT_EQ(rebuild_board(transfers, rebuilt), "");
    EXPECT_EQ(sim::state_text(rebuilt, {}), sim::state_text(board, {}));
    EXPECT_TRUE(rebuilt.flash.memory() == board.flash.memory());

    const std::vector<RecordedTransfer> no_end(transfers.begin(), transfers.end() - 1);
    EXPECT_EQ(rebuild_board(no_end, rebuilt),
              "no complete --read in it: 1 segments are missing, the first in page 527");
    EXPECT_EQ(rebuild_board({transfers.begin() + 9, transfers.end()}, rebuilt), "no --version in it");
    std::vector<RecordedTransfer> changed = transfers;
    changed[101].messages.back().bytes[0] ^= 1;
    EXPECT_EQ(rebuild_board(changed, rebuilt).substr(0, 34), "region 0 as read has the checksum ");
    // A response after a command that failed is not one.
    changed[changed.size() - 2].messages.back().bytes[0] = 0x80;
    changed[101] = transfers[101];
    EXPECT_EQ(rebuild_board(changed, rebuilt).substr(0, 25), "no complete --read in it:");
}

}  // namespace

// SPDX-License-Identifier: MIT
#include "sim/capture_file.h"

#include <gtest/gtest.h>

#include "sim/cassette.h"
#include "tests/sim/recorded.h"

namespace {

using sim::RecordedTransfer;

const Bytes kHeader{0x0A, 0x0D, 0x0D, 0x0A, 28,   0,    0,    0,    0x4D, 0x3C, 0x2B, 0x1A, 1,    0,
                    0,    0,    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 28,   0,    0,    0,  // section
                    1,    0,    0,    0,    20,   0,    0,    0,    209,  0,    0,    0,    0xFF, 0xFF,
                    0,    0,    20,   0,    0,    0};  // interface

/// A read of 0xA6 on bus 3 that failed, 2^32 + 5 microseconds after 1970.
const Bytes kFailedRead{6,   0,   0,  0, 40,  0,   0,   0,   0,   0,   0,   0,   1,   0,    0,   0,    5,    0,
                        0,   0,   7,  0, 0,   0,   7,   0,   0,   0,   3,   0,   0,   0,    0,   0x10, 0xA6, 0,
                        40,  0,   0,  0,  //
                        6,   0,   0,  0, 64,  0,   0,   0,   0,   0,   0,   0,   1,   0,    0,   0,    5,    0,
                        0,   0,   6,  0, 0,   0,   7,   0,   0,   0,   3,   0,   0,   0x80, 1,   0x11, 0,    0,  //
                        1,   0,   16, 0, 'n', 'o', 't', ' ', 'a', 'c', 'k', 'n', 'o', 'w',  'l', 'e',  'd',  'g',
                        'e', 'd', 0,  0, 0,   0,   64,  0,   0,   0};

/// The same kind of file from a big-endian machine that counts milliseconds, with a block and options of its own: a
/// write of 0F 11 to 0x08 at 1.5 s, and an event of the bus, which is none of the transfers.
const Bytes kForeign{
    0x0A, 0x0D, 0x0D, 0x0A, 0, 0, 0, 28, 0x1A, 0x2B, 0x3C, 0x4D, 0, 1,    0,    0,    0xFF, 0xFF, 0xFF, 0xFF,
    0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 28,  //
    0,    0,    0,    1,    0, 0, 0, 40, 0,    209,  0,    0,    0, 0,    0,    0,    0,    2,    0,    1,
    'x',  0,    0,    0,    0, 9, 0, 1,  3,    0,    0,    0,    0, 0,    0,    0,    0,    0,    0,    40,  //
    0,    0,    0,    5,    0, 0, 0, 16, 1,    2,    3,    4,    0, 0,    0,    16,                          //
    0,    0,    0,    6,    0, 0, 0, 40, 0,    0,    0,    0,    0, 0,    0,    0,    0,    0,    5,    0xDC,
    0,    0,    0,    6,    0, 0, 0, 6,  0x80, 0,    0,    0,    1, 0x10, 0,    0,    0,    0,    0,    40,  //
    0,    0,    0,    6,    0, 0, 0, 44, 0,    0,    0,    0,    0, 0,    0,    0,    0,    0,    5,    0xDC,
    0,    0,    0,    8,    0, 0, 0, 8,  0,    0,    0,    0x80, 0, 0x10, 0x0F, 0x11, 0,    1,    0,    0,
    0,    0,    0,    44};

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST(CaptureFile, HasTheBytesThatOtherProgramsRead) {
    const RecordedTransfer failed{3, 0x100000005, false, {{0x08, false, 1, {0xA6}}, {0x08, true, 1, {}}}};
    EXPECT_EQ(joined({sim::capture_header(), sim::capture_packets(failed)}), joined({kHeader, kFailedRead}));
    const auto read = sim::read_capture(joined({kHeader, kFailedRead}));
    EXPECT_EQ(words_of(read), Words{"3 4294967301 mcu read - not acknowledged | a6"});
    EXPECT_TRUE(read.transfers.at(0).complete());
    EXPECT_EQ(words_of(sim::read_capture(joined({kForeign, kHeader, kFailedRead}))),
              (Words{"0 1500000 mcu reset marker := 11 | 0f 11", "3 4294967301 mcu read - not acknowledged | a6"}));
}

std::vector<RecordedTransfer> every_kind() {
    return {{0, 5, true, {{0x50, false, 0, {}}}},
            {1, 6, true, {{0x08, false, 256, Bytes(256, 0x5A)}}},
            {0, 7, false, {{0x08, false, 2, {0x0F, 0x11}}}},
            {127, 8, true, {{0x09, false, 1, {0x25}}, {0x09, true, 2, {1, 2}}}},
            {0, 9, false, {{0x08, false, 1, {0xA6}}, {0x08, true, 32, {}}}},
            {0, 10, true, {{0x08, true, 100, Bytes(64, 7)}}}};
}

TEST(CaptureFile, ReadsBackWhatWasWrittenAndSaysWhereItWasCutOff) {
    sim::Recording all{every_kind(), ""};
    Bytes bytes = sim::capture_header();
    std::vector<size_t> ends{bytes.size() - 20, bytes.size()};  // where nothing is missing
    for (const RecordedTransfer& transfer : all.transfers) {
        const Bytes packets = sim::capture_packets(transfer);
        bytes.insert(bytes.end(), packets.begin(), packets.end());
        ends.push_back(bytes.size());
    }
    const Words wanted = words_of(all);
    for (size_t size = 4; size <= bytes.size(); ++size) {
        const sim::Recording read = sim::read_capture({bytes.data(), size});
        const bool whole = std::count(ends.begin(), ends.end(), size) > 0;
        const auto count =
            static_cast<size_t>(std::count_if(ends.begin() + 2, ends.end(), [&](size_t end) { return end <= size; }));
        ASSERT_EQ(read.problem, whole ? "" : "cut off") << size;
        ASSERT_EQ(words_of(read), Words(wanted.begin(), wanted.begin() + static_cast<std::ptrdiff_t>(count))) << size;
    }
    EXPECT_FALSE(sim::read_capture(bytes).transfers.back().complete());
    EXPECT_EQ(sim::read_capture({bytes.data(), 3}).problem, "not a pcapng file");
}

TEST(CaptureFile, StopsAtDamage) {
    const struct {
        size_t offset;
        uint8_t byte;
        std::string problem;
    } damages[] = {
        {32, 10, "damaged block"},    {36, 1, "not an I2C bus: its link type is another than 209"},
        {56, 1, "damaged packet"},     // another interface
        {68, 13, "damaged packet"},    // captured length
        {72, 6, "damaged packet"},     // length on the bus below the captured one
        {73, 0x21, "damaged packet"},  // above what a message can have
        {52, 0xFC, "cut off"},         // block length
    };
    for (const auto& damage : damages) {
        Bytes bytes = joined({kHeader, kFailedRead});
        bytes[damage.offset] = damage.byte;
        const sim::Recording read = sim::read_capture(bytes);
        EXPECT_EQ(read.problem, damage.problem) << damage.offset;
        EXPECT_TRUE(read.transfers.empty());
    }
    Bytes endless = kHeader;
    for (int i = 0; i < 42; ++i) {
        endless.insert(endless.end(), kFailedRead.begin(), kFailedRead.begin() + 40);
    }
    EXPECT_EQ(sim::read_capture(endless).problem, "messages without an end of their transfer");
}

TEST(Cassette, AnswersInOrderAndNamesTheFirstOtherRequest) {
    const std::vector<RecordedTransfer> tape{{0, 1, true, {{0x08, false, 2, {0xA6, 0x00}}}},
                                             {0, 2, false, {{0x08, false, 1, {0xA6}}, {0x08, true, 1, {}}}},
                                             {0, 3, true, {{0x08, false, 1, {0xA6}}, {0x08, true, 1, {0xC0}}}},
                                             {0, 4, true, {{0x08, false, 2, {0x0F}}}}};  // not all of it was recorded
    const struct {
        Words program;
        Words answers;
        std::string mismatch;
    } runs[] = {
        {{"a6 00", "a6 r1", "a6 r1"}, {"yes", "no", "c0"}, ""},
        {{"a6 05", "a6 r1"},
         {"no", "no"},
         "transfer 1 is another one than was recorded\n  recorded: mcu frame read-version | a6 00\n"
         "  program:  mcu frame read-version2 | a6 05"},
        {{"a6 00", "a6 r2"},
         {"yes", "no"},
         "transfer 2 is another one than was recorded\n  recorded: mcu read 1 bytes | a6\n  program:  mcu read 2 bytes "
         "| a6"},
        {{"a6 00", "a6 r1", "a6"},
         {"yes", "no", "no"},
         "transfer 3 is another one than was recorded\n  recorded: mcu read 1 bytes | a6\n"
         "  program:  mcu select register a6 | a6"},
        {{"a6 00", "a6 r1", "a6 r1", "0f 00"},
         {"yes", "no", "c0", "no"},
         "transfer 4 was not recorded with all its bytes\n  program:  mcu reset marker := 00 | 0f 00"},
    };
    for (const auto& run : runs) {
        sim::Cassette cassette(tape, 0x08);
        sim::Board board;
        board.replay = [&](std::span<const sim::Message> messages) { return cassette.transfer(messages); };
        Words answers;
        for (const std::string& request : run.program) {
            answers.push_back(transfer(board, request));
        }
        EXPECT_EQ(answers, run.answers);
        EXPECT_EQ(cassette.mismatch(), run.mismatch);
    }
    sim::Cassette empty({}, 0x08);
    EXPECT_FALSE(empty.transfer({}));
    EXPECT_EQ(empty.mismatch(), "transfer 1 is one more than was recorded\n  program:  nothing");
}

TEST(Cassette, TakesTheTransfersOfOneBus) {
    const struct {
        int bus;
        size_t count;
        std::string problem;
    } rows[] = {{0, 4, ""},
                {127, 1, ""},
                {-1, 0, "more than one bus; choose with --bus: 0 1 127"},
                {5, 0, "no transfer on bus 5; choose with --bus: 0 1 127"}};
    for (const auto& [bus, count, wanted] : rows) {
        std::string problem;
        EXPECT_EQ(sim::transfers_of_bus({every_kind(), ""}, bus, problem).size(), count);
        EXPECT_EQ(problem, wanted);
    }
    std::string problem;
    EXPECT_EQ(sim::transfers_of_bus({{every_kind()[1]}, ""}, -1, problem).size(), 1);
    EXPECT_TRUE(sim::transfers_of_bus({}, -1, problem).empty());
    EXPECT_EQ(problem, "no transfer");
}

}  // namespace

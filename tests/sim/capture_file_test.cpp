// SPDX-License-Identifier: MIT
#include "sim/capture_file.h"

#include <gtest/gtest.h>

#include "tests/sim/recorded.h"

namespace {

using sim::RecordedTransfer;

const Bytes kHeader = bytes_of(
    "0a0d0d0a 1c000000 4d3c2b1a 01000000 ffffffff ffffffff 1c000000"  // section
    "01000000 14000000 d1000000 ffff0000 14000000");                  // interface

/// A read of 0xA6 on bus 3 that failed, 2^32 + 5 microseconds after 1970.
const Bytes kFailedRead = bytes_of(
    "06000000 28000000 00000000 01000000 05000000 07000000 07000000 03000000 0010a600 28000000"
    "06000000 40000000 00000000 01000000 05000000 06000000 07000000 03000080 01110000"
    "01001000 6e6f7420 61636b6e 6f776c65 64676564 00000000 40000000");

/// As other programs write: an interface with a name and a resolution, a block of their own, a packet with a comment,
/// and an event of the bus, which is no transfer.
const Bytes kForeign = bytes_of(
    "0a0d0d0a 1c000000 4d3c2b1a 01000000 ffffffff ffffffff 1c000000"
    "01000000 28000000 d1000000 00000400 02000100 78000000 09000100 06000000 00000000 28000000"
    "05000000 10000000 01020304 10000000"
    "06000000 28000000 00000000 00000000 07000000 06000000 06000000 80000000 01100000 28000000"
    "06000000 34000000 00000000 00000000 07000000 08000000 08000000 00000080 00100f11"
    "01000300 6f6b3f00 00000000 34000000");

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST(CaptureFile, HasTheBytesThatOtherProgramsRead) {
    Bytes bytes{0xA6, 0xEE};
    const sim::Message messages[] = {{0x08, false, {&bytes[0], 1}}, {0x08, true, {&bytes[1], 1}}};
    const RecordedTransfer failed = sim::record(3, {1, 0x100000005, messages, false});
    EXPECT_EQ(sim::capture_of({&failed, 1}), joined({kHeader, kFailedRead}));
    const auto last = kForeign.end() - 52;
    const auto middle = kFailedRead.begin() + 40;
    EXPECT_EQ(words_of(sim::read_capture(joined({{kForeign.begin(), last},
                                                 {kFailedRead.begin(), middle},
                                                 {last, kForeign.end()},
                                                 {middle, kFailedRead.end()}}))),
              (Words{"0 7 mcu reset marker := 11 | 0f 11", "3 4294967301 mcu read - not acknowledged | a6"}));
    Bytes other = kForeign;
    other[56] = 9;
    EXPECT_EQ(sim::read_capture(other).problem, "time stamps are not in microseconds");
    EXPECT_EQ(sim::read_capture(bytes_of("0a0d0d0a 0000001c 1a2b3c4d 00010000")).problem, "not a little-endian file");
}

TEST(CaptureFile, ReadsBackWhatWasWrittenAndSaysWhereItWasCutOff) {
    const std::vector<RecordedTransfer> all = {{0, 5, true, {{0x50, false, 0, {}}}},
                                               {1, 6, true, {{0x08, false, 256, Bytes(256, 0x5A)}}},
                                               {0, 7, false, {{0x08, false, 2, {0x0F, 0x11}}}},
                                               {127, 8, true, {{0x09, false, 1, {0x25}}, {0x09, true, 2, {1, 2}}}},
                                               {0, 9, false, {{0x08, false, 1, {0xA6}}, {0x08, true, 32, {}}}},
                                               {0, 10, true, {{0x08, true, 100, Bytes(64, 7)}}}};
    const Bytes bytes = sim::capture_of(all);
    size_t count = 0;  // of transfers whose end has come
    for (size_t size = 4; size <= bytes.size(); ++size) {
        const std::span<const RecordedTransfer> next(all.data(), std::min(count + 1, all.size()));
        const bool ends = sim::capture_of(next).size() == size;
        count += ends ? 1 : 0;
        const sim::Recording read = sim::read_capture({bytes.data(), size});
        ASSERT_EQ(read.problem, ends || size == 28 || size == 48 ? "" : "cut off") << size;
        ASSERT_TRUE(std::equal(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count), read.transfers.begin(),
                               read.transfers.end()))
            << size;
    }
    EXPECT_EQ(count, all.size());
    EXPECT_FALSE(all.back().complete());
    EXPECT_TRUE(all[4].complete());
    EXPECT_EQ(sim::read_capture({bytes.data(), 3}).problem, "not a pcapng file");
}

TEST(CaptureFile, StopsAtDamage) {
    const struct {
        size_t offset;
        std::string bytes;
        std::string problem;
    } damages[] = {
        {80, "0a", "damaged block"},
        {80, "7b", "damaged block"},
        {84, "01", "not an I2C bus: its link type is another than 209"},
        {104, "01", "damaged packet"},                   // another interface
        {116, "0d00 0000 0d00 0000", "damaged packet"},  // longer than its block
        {116, "05", "damaged packet"},                   // too short for bus and address
        {120, "06", "damaged packet"},                   // length on the bus below the captured one
        {121, "21", "damaged packet"},                   // above what a message can have
        {100, "fc", "cut off"},                          // block length
    };
    for (const auto& damage : damages) {
        Bytes bytes = joined({kHeader, kHeader, kFailedRead});  // the first section changes nothing
        const Bytes changed = bytes_of(damage.bytes);
        std::copy(changed.begin(), changed.end(), &bytes[damage.offset]);
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

}  // namespace

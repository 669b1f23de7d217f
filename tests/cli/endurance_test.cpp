// SPDX-License-Identifier: MIT
// Many updates in one process, alternating regions: each like the one before, without leaks.
#include <malloc.h>

#include <filesystem>
#include <iterator>

#include "tests/cli/update_fixture.h"

namespace {

constexpr int kUpdates = 60;
constexpr int kWarmUp = 10;
constexpr size_t kSlackBytes = 1024;  // the allocator keeps a part of what is freed
constexpr uint64_t kUntilResetUs = 60'000'000;

long open_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace

TEST_F(Update, ManyInOneProcessKeepNeitherMemoryNorDescriptors) {
    Wire wires[2];
    size_t bytes = 0;
    long descriptors = 0;
    for (int i = 0; i < kUpdates; ++i) {
        if (i == kWarmUp) {
            descriptors = open_descriptors();
            bytes = mallinfo2().uordblks;  // always 0 with a sanitizer, which finds leaks by itself
        }
        FakeKernel own(board);
        own.now_us = board.now_us + kUntilResetUs;
        board.flash.history.clear();
        ASSERT_EQ(run_tool_words({"--status", "--update", path}).status, 0) << i;
        if (i < 2) {
            wires[i % 2] = own.wire;
        }
        ASSERT_EQ(own.wire, wires[i % 2]) << "update " << i;
    }
    EXPECT_EQ(board.violations, Words{});
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_LE(mallinfo2().uordblks, bytes + kSlackBytes);
}

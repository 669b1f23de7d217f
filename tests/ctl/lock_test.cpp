// SPDX-License-Identifier: MIT
#include "ctl/lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/fake_kernel.h"
#include "tests/support/update_file_bytes.h"

namespace {

struct LockTest : testing::Test {
    sim::Board board;
    FakeKernel kernel{board};
    std::string path = write_temporary("lock", {});
    Failure failure;

    ~LockTest() override {
        unlink(path.c_str());
    }
};

TEST_F(LockTest, ReadersShareAndAnUpdateIsAlone) {
    Lock first;
    Lock second;
    Lock third;
    EXPECT_TRUE(first.take(path.c_str(), Sharing::kShared, 5, failure));
    EXPECT_TRUE(second.take(path.c_str(), Sharing::kShared, 5, failure));
    EXPECT_FALSE(third.take(path.c_str(), Sharing::kAlone, 5, failure));
    EXPECT_EQ(failure.reason, Reason::kHeldLock);
    EXPECT_GE(kernel.slept_us, 5'000'000U);
    EXPECT_LT(kernel.slept_us, 5'200'000U);
    first.release();
    second.release();
    EXPECT_TRUE(third.take(path.c_str(), Sharing::kAlone, 0, failure));
    EXPECT_FALSE(first.take(path.c_str(), Sharing::kShared, 0, failure));
}

TEST_F(LockTest, WhatIsNoLockIsRefusedAtOnce) {
    const std::string fifo = path + ".fifo";
    const std::string link = path + ".link";
    const std::string folder = path + ".folder";
    mkfifo(fifo.c_str(), 0600);
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    mkdir(folder.c_str(), 0700);
    for (const std::string& name : {fifo, link, folder, std::string("/proc/self/status/lock")}) {
        Lock lock;
        EXPECT_FALSE(lock.take(name.c_str(), Sharing::kShared, 5, failure)) << name;
        EXPECT_EQ(failure.reason, Reason::kNoLock) << name;
    }
    EXPECT_EQ(kernel.slept_us, 0U);
    unlink(fifo.c_str());
    unlink(link.c_str());
    rmdir(folder.c_str());
}

}  // namespace

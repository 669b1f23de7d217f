// SPDX-License-Identifier: MIT
// A run that shares the board of a state file and dies. tests/shipped/two_at_once.sh has what living runs see.
#include "sim/shared_board.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "tests/sim/wire.h"

namespace {

struct Sharer {
    sim::Board board;
    sim::SavedClock clock;
    sim::SharedBoard shared{board, clock};
    bool known = false;

    explicit Sharer(const std::string& path) {
        EXPECT_EQ(shared.join(path, known), "");
        shared.unlock();
    }
};

TEST(SharedBoard, ARunThatDiesInATransferChangesNothing) {
    const std::string path = testing::TempDir() + "sv_shared_" + std::to_string(getpid());
    std::ofstream(path + ".shared") << "what a killed run has left";
    Sharer run(path);
    EXPECT_FALSE(run.known);
    run.shared.lock();
    run.clock.offset_us = 5'000;
    run.shared.unlock();
    const std::string before = sim::state_text(run.board, run.clock);
    const pid_t child = fork();
    if (child == 0) {
        Sharer dying(path);
        dying.shared.lock();
        write_segments(dying.board, 300, 16);
        run_frame(dying.board, commit_of(300));
        dying.board.scenario.led1 = 1;
        _exit(dying.known && dying.clock.offset_us == 5'000 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    run.shared.lock();
    EXPECT_EQ(run_frame(run.board, commit_of(300)), kFailed);
    EXPECT_EQ(sim::state_text(run.board, run.clock), before);
    EXPECT_EQ(run.board.flash.memory(), sim::Board().flash.memory());
    run.shared.unlock();
    run.shared.leave();
    EXPECT_NE(unlink((path + ".shared").c_str()), 0);
}

}  // namespace

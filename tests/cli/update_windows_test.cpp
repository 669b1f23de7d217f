// SPDX-License-Identifier: MIT
// The windows that the procedure leaves open, and what lies behind each. docs/safety.md tells operators about them;
// sv_sweep counts them by name.
#include "tests/cli/update_fixture.h"

namespace {

/// "e1 n1 d0 s1": region 1 erased and enabled, region 0 disabled, region 1 started.
std::string history(const sim::Board& board) {
    std::string text;
    for (const sim::RegionEvent& event : board.flash.history) {
        text += text.empty() ? "" : " ";
        text += "ends"[event.kind];
        text += event.region < 0 ? "-" : std::to_string(event.region);
    }
    return text;
}

class Window : public Update {
protected:
    Window() {
        for (const uint16_t page : {uint16_t{256}, uint16_t{257}, uint16_t{0}, uint16_t{1}}) {
            file.fill_page(page);
        }
        save();
        board.flash.history.clear();
        board.on_transfer = [this](const sim::Transfer& transfer) {
            if (board.flash.next_start(0) < 0) {
                unsafe.push_back(transfer.number);
            }
        };
    }

    void wait_a_minute() {
        kernel.now_us += 60'000'000;
        board.mcu.advance(kernel.now_us);
    }

    /// Transfers after which no region could start.
    std::vector<uint64_t> unsafe;
};

// The MCU has disabled the running region, and the tool doesn't know. Its next attempt erases the only region that is
// enabled; from there to the new enable a power cut would leave nothing to start.
TEST_F(Window, AnswerToTheDisableGetsLost) {
    for (const char* fault : {"lost@disable", "slow=5002@disable"}) {
        SCOPED_TRACE(fault);
        board.flash.history.clear();
        board.clear_faults();
        unsafe.clear();
        board.add_fault(fault);
        const uint64_t before = board.transfers();
        const ToolRun run = run_tool_words({"--update", path});
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.err.find("error : could not disable current region ("), std::string::npos);
        // Erase to enable: 2 transfers, 2 pages of 34, 1 more.
        ASSERT_EQ(unsafe.size(), 2U + 2 * 34U);
        EXPECT_EQ(unsafe.back() - unsafe.front(), 69U);
        EXPECT_GT(unsafe.front(), before + 107);
        wait_a_minute();
        EXPECT_EQ(history(board).substr(0, 17), board.flash.running() == 1 ? "e1 n1 d0 e1 n1 d0" : "e0 n0 d1 e0 n0 d1");
        expect_programmed(board.flash.running());
    }
}

TEST_F(Window, PowerFailsAfterALostAnswer) {
    board.add_fault("lost@disable");
    board.add_fault("cut@commit/256#2");
    EXPECT_EQ(run_tool_words({"--update", path}).status, 255);
    EXPECT_EQ(history(board), "e1 n1 d0 e1 s-");
    EXPECT_EQ(board.flash.running(), -1);
}

// "okay" is said, but the MCU still runs what is disabled by now, and its restart comes in the middle of the next
// update: on a slow bus, or with fewer seconds left.
TEST_F(Window, SecondUpdateInsideTheResetDelay) {
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    board.flash.history.clear();
    kernel.now_us += 4'850'000;
    kernel.bit_ns = 10'000;
    const ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 255);
    EXPECT_NE(run.err.find("error : overall SV MCU update = ERROR\n"), std::string::npos);
    EXPECT_EQ(history(board), "e1 s-");
    EXPECT_EQ(board.flash.running(), -1);
}

// The same without a reset pending: whoever updates again before the restart runs through the window.
TEST_F(Window, SecondUpdateBeforeTheRestart) {
    EXPECT_EQ(run_tool_words({"--update-without-reset", "--update", path}).status, 0);
    EXPECT_EQ(unsafe.size(), 0U);
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    EXPECT_EQ(unsafe.size(), 2U + 2 * 34U);
    wait_a_minute();
    EXPECT_EQ(history(board), "e1 n1 d0 e1 n1 d0 s1");
    expect_programmed(1);
}

// Nothing enables the region again.
TEST_F(Window, EraseBehindAnUpdate) {
    EXPECT_EQ(run_tool_words({"--update", path, "--erase"}).status, 0);
    wait_a_minute();
    EXPECT_EQ(history(board), "e1 n1 d0 e1 s-");
}

// The id and the checksum of what runs are the file's; that it is disabled cannot be seen.
TEST_F(Window, NothingToDoOnABoardThatCannotStart) {
    EXPECT_EQ(run_tool_words({"--update-without-reset", "--update", path}).status, 0);
    wait_a_minute();
    board.mcu.restart();
    wait_a_minute();
    board.add_fault("lost@disable");
    board.add_fault("fail@commit/1#2x*");
    EXPECT_EQ(run_tool_words({"--update", path}).status, 255);
    board.clear_faults();
    const ToolRun run = run_tool_words({"--upd", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.err.find("info  : nothing to do (region 1 is already up to date with "), std::string::npos);
    EXPECT_NE(run.err.find("info  : overall SV MCU update = okay\n"), std::string::npos);
    EXPECT_EQ(history(board), "e1 n1 d0 s1 e0 n0 d1 e0 e0");
    EXPECT_EQ(board.flash.next_start(0), -1);
}

// The MCU restarts while the tool reads the status of the enable, and the released bus reads FF.
TEST_F(Window, AnEnableThatOnlySeemedToSucceed) {
    board.scenario.boot_ms = 0;
    board.add_fault("tear=0@enable");
    board.add_fault("flip@179");  // the poll behind it
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    EXPECT_EQ(board.violations,
              std::vector<std::string>{"the running region is disabled while the other one is not enabled"});
    EXPECT_EQ(history(board), "e1 s0 e1 n1 d0");
    EXPECT_EQ(unsafe.size(), 0U);
}

// The MCU restarts into the region that has just been enabled and is back before the next transfer: the disable then
// hits the new firmware. "okay" is said, and the old firmware runs on.
TEST_F(Window, RestartBetweenEnableAndDisable) {
    board.scenario.boot_ms = 0;
    board.add_fault("restart@disable");
    const ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.err.find("info  : disabled current region 0\n"), std::string::npos);
    EXPECT_NE(run.err.find("info  : overall SV MCU update = okay\n"), std::string::npos);
    wait_a_minute();
    EXPECT_EQ(history(board), "e1 n1 s1 d1 s0");
    EXPECT_EQ(unsafe.size(), 0U);
    EXPECT_EQ(board.violations, std::vector<std::string>{});
}

// While the MCU takes its time to start, the disable finds nobody, and neither do the attempts behind it.
TEST_F(Window, ASlowRestartBetweenEnableAndDisableIsNoticed) {
    board.add_fault("restart@disable");
    EXPECT_EQ(run_tool_words({"--update", path}).status, 255);
    wait_a_minute();
    EXPECT_EQ(history(board), "e1 n1 s1");
    expect_programmed(1);
    EXPECT_EQ(unsafe.size(), 0U);
}

// Nothing is left to be answered: whatever becomes of the reset, "okay" is said, and the next start is the new
// firmware's.
TEST_F(Window, ResetGetsLost) {
    board.add_fault("dead@reset-delayed");
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    EXPECT_EQ(kernel.syslog.back().text, "overall SV MCU update = okay");
    wait_a_minute();
    EXPECT_EQ(history(board), "e1 n1 d0");
    EXPECT_EQ(board.flash.running(), 0);
    EXPECT_EQ(board.flash.next_start(0), 1);
    EXPECT_EQ(unsafe.size(), 0U);
}

// The same region change, with one region enabled: the reset of the update before comes between identity and erase.
TEST_F(Window, ThePendingResetComesBetweenIdentityAndErase) {
    board.scenario.boot_ms = 0;
    EXPECT_EQ(run_tool_words({"--update-without-reset", "--update", path}).status, 0);
    board.flash.history.clear();
    board.add_fault("restart@erase");
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    EXPECT_EQ(board.violations, std::vector<std::string>(5, "page 256 belongs to the running region"));
    wait_a_minute();
    EXPECT_EQ(history(board), "s1 e0 e0 n0 d1 s0");
    expect_programmed(0);
    EXPECT_EQ(unsafe.size(), 0U);
}

// With both regions enabled, a restart between identity and erase can change the region that runs. The MCU refuses the
// pages, which are those of the region that it runs from now; the next attempt looks anew.
TEST_F(Window, RestartIntoTheOtherEnabledRegion) {
    EXPECT_EQ(run_tool_words({"--update-without-disable", "--update", path}).status, 0);
    wait_a_minute();
    ASSERT_EQ(history(board), "e1 n1 s1");
    board.flash.history.clear();
    board.scenario.boot_ms = 0;
    board.scenario.boot_choice = "0";
    board.add_fault("restart@erase");
    const ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.err.find("error : could not write segment 0000 00 (read poll error, "), std::string::npos);
    EXPECT_EQ(board.violations, std::vector<std::string>(5, "page 0 belongs to the running region"));
    wait_a_minute();
    EXPECT_EQ(history(board), "s0 e1 e1 n1 d0 s1");
    expect_programmed(1);
    EXPECT_EQ(unsafe.size(), 0U);
}

}  // namespace

// SPDX-License-Identifier: MIT
// Updates that meet with trouble.
#include <csignal>

#include "tests/cli/update_fixture.h"

TEST_F(Update, RebootOnlyWithoutResetIsAFailure) {
    file.fill_page(256);
    save();
    board.flash.install(1, std::vector<uint8_t>(file.image.begin() + 0x20000, file.image.begin() + 0x20200), 0x0123);
    board.flash.install(0, std::vector<uint8_t>{1}, 0);
    const ToolRun run = run_tool_words({"--without-force-update", "--update-without-reset", "--update", path});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, "reset needed\nreset needed\nreset needed\n");
    const std::string attempt =
        log_line("info", kPower) + log_line("error", "reboot only needed (other (1) is up to date)");
    EXPECT_EQ(run.err, loaded() + attempt + attempt + attempt + log_line("error", "overall SV MCU update = ERROR"));
}

TEST_F(Update, PagesAreTriedFiveTimesAndUpdatesThreeTimes) {
    file.fill_page(256);
    file.fill_page(257);
    save();
    auto pages = all_pages('.');
    pages[0] = {'*', 0};
    pages[1] = {'*', 2};
    board.add_fault("fail@commit/257x2");
    ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find(progress(pages)), std::string::npos) << run.out;
    EXPECT_EQ(kernel.sleeps_us, (std::vector<uint32_t>{500'000, 500'000, 10'000}));
    EXPECT_EQ(board.violations, std::vector<std::string>{});

    const std::string page_error = log_line(
        "error", "could not write page 101 (read poll error, cmd start a0, size 07, data 01, read size 00, error 81)");
    const std::string attempt_out =
        "erased other region 1\nprogramming, starting at 20000\n* 0.0%\b\b\b\b\b* 0.4%" +
        std::string("\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\n");
    sim::Board fresh;
    fresh.add_fault("fail=0x81@commit/257x*");
    FakeKernel own(fresh);
    run = run_tool_words({"--update", path, "--bom-version"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, attempt_out + attempt_out + attempt_out);
    std::string err = loaded();
    for (int attempt = 0; attempt < 3; ++attempt) {
        // Each waits 5 times 500 ms; the clock of the log goes on.
        err += log_line("info", kPower) + doing(1, first) + page_error;
    }
    err += log_line("error", "overall SV MCU update = ERROR");
    EXPECT_EQ(own.slept_us, 15U * 500'000U);
    std::string without_times;
    for (size_t at = 0; at < run.err.size(); at = run.err.find('\n', at) + 1) {
        without_times += "[21:53:20]" + run.err.substr(at + 10, run.err.find('\n', at) - at - 9);
    }
    EXPECT_EQ(without_times, err);
}

TEST_F(Update, EveryFailedStepEndsItsAttemptWithItsReason) {
    file.fill_page(256);
    save();
    const std::string poll = "read poll error, cmd start ";
    const struct {
        const char* fault;
        std::string text;
        std::string out;
    } cases[] = {
        {"fail@read-version", "could not read version (" + poll + "a6, size 01, data 00, read size 20, error 80)", ""},
        {"fail@read-flash-status", "could not read status (" + poll + "a6, size 01, data 01, read size 0a, error 80)",
         ""},
        {"fail@erase", "could not erase other region (1, " + poll + "a5, size 02, data 42, read size 00, error 80)",
         ""},
        {"fail@enable", "could not enable other region (1, " + poll + "80, size 27, data 23, read size 00, error 80)",
         "erased other region 1\nprogramming, starting at 20000\n"},
        {"fail@disable",
         "could not disable current region (0, " + poll + "a5, size 02, data 42, read size 00, error 80)",
         "enabled other region 1\n"},
        {"nack@segment/256x5", "could not write segment 0100 00 (I2C write error, start 80, size 27)", "x* 0.0%\n"}};
    for (const auto& c : cases) {
        sim::Board fresh;
        fresh.add_fault(c.fault);
        FakeKernel own(fresh);
        const ToolRun run = run_tool_words({"--update", path});
        EXPECT_EQ(run.status, 0) << c.fault;  // the second attempt succeeds
        EXPECT_NE(run.err.find("error : " + c.text + "\n"), std::string::npos) << c.fault << run.err;
        EXPECT_NE(run.out.find(c.out), std::string::npos) << c.fault;
        EXPECT_EQ(fresh.violations, std::vector<std::string>{}) << c.fault;
    }
}

TEST_F(Update, HangUpsAreIgnoredFromTheEraseToTheVerdict) {
    file.fill_page(256);
    save();
    const auto is_ignored = [] {
        struct sigaction action {};
        sigaction(SIGHUP, nullptr, &action);
        return action.sa_handler == SIG_IGN;
    };
    std::vector<uint64_t> ignored;
    board.on_transfer = [&](const sim::Transfer& transfer) {
        if (is_ignored()) {
            ignored.push_back(transfer.number);
        }
    };
    EXPECT_EQ(run_tool_words({"--update", path, "--probe"}).status, 0);
    // 107 transfers of identity and power; erase, a page, enable, disable and reset; the probe.
    ASSERT_EQ(kernel.wire.size(), 107U + 42U + 1U);
    EXPECT_EQ(ignored.size(), 42U);
    EXPECT_EQ(ignored.front(), 108U);
    EXPECT_FALSE(is_ignored());
}

TEST_F(Update, ReadUpdateNeverFailsTheRun) {
    file.fill_page(256);
    save();
    const ToolRun run = run_tool_words({"--read-update", "/nowhere", "--read-update", path, "--bom-version"});
    EXPECT_EQ(run.status, 0);
    // A loaded file leaves the older text standing.
    EXPECT_EQ(run.out, "reading file = error (/nowhere)\nmessage = could not open file\nreading file = okay (" + path +
                           ")\nmessage = could not open file\n-todo-\n");
    EXPECT_EQ(kernel.wire.size(), 0U);
}

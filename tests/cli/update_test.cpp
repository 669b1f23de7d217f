// SPDX-License-Identifier: MIT
// --update and --upd from the command line to the flash.
#include <malloc.h>

#include <csignal>
#include <filesystem>

#include "tests/cli/update_fixture.h"

TEST_F(Update, CompleteUpdateOfRegion1AndBackToRegion0) {
    file.fill_all_pages();
    save();
    ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "erased other region 1\nprogramming, starting at 20000\n" + progress(std::string(255, '*')) +
                           "enabled other region 1\n");
    EXPECT_EQ(without_times(run.err), loaded() + kPower + doing() + "info  : disabled current region 0\n" +
                                          "info  : reset: MCU will reset in 5.0s\n" + done() + kOkay);
    EXPECT_EQ(kernel.syslog.size(), 8U);
    EXPECT_EQ(kernel.wire.size(), 8785U);
    EXPECT_EQ(kernel.sleeps_us, std::vector<uint32_t>{10'000});
    expect_programmed(1);

    kernel.now_us += 6'000'000;
    kernel.wire.clear();
    run = run_tool_words({"--reset-delay", "0", "--update", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.substr(0, 52), "erased other region 0\nprogramming, starting at 0\n* 0");
    EXPECT_EQ(kernel.wire.size(), 8785U);
    expect_programmed(0);
    kernel.now_us += 1'000'000;
    EXPECT_EQ(run_tool_words({"--sw-version"}).out, "0123\n");
    EXPECT_EQ(board.flash.running(), 0);
    EXPECT_EQ(board.violations, Words{});
}

TEST_F(Update, EachPageIsShownBeforeItIsWritten) {
    board.add_fault("fail@commit/257");
    kernel.keep_order = true;
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    Words order;  // what is written and slept, and the number of transfers between
    for (size_t transfers = 0; const std::string& line : kernel.wire) {
        const bool is_transfer = line[1] == ' ';
        if (!is_transfer && transfers != 0) {
            order.push_back(std::to_string(transfers));
        }
        transfers = is_transfer ? transfers + 1 : 0;
        if (!is_transfer) {
            order.push_back(line);
        }
    }
    const Words expected = {"109",
                            "out erased other region 1\nprogramming, starting at 20000\n* 0.0%",
                            "34",
                            "out \b\b\b\b\b* 0.4%",
                            "34",
                            "out \b\b\b\b\bx* 0.4%",
                            "sleep 500000",
                            "34",
                            "out \b\b\b\b\b. 0.8%",
                            "out \b\b\b\b\b. 1.2%"};
    ASSERT_GT(order.size(), 260U);
    EXPECT_EQ(Words(order.begin(), order.begin() + 10), expected);
}

TEST_F(Update, PagesAreTriedFiveTimesAndUpdatesThreeTimes) {
    board.add_fault("fail=0x81@commit/257x*");
    const ToolRun run = run_tool_words({"--update", path, "--bom-version"});
    EXPECT_EQ(run.status, 255);
    std::string out;
    std::string err = loaded();
    for (int attempt = 0; attempt < 3; ++attempt) {
        out +=
            "erased other region 1\nprogramming, starting at 20000\n* 0.0%\b\b\b\b\b* 0.4%"
            "\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\b\b\b\b\bx* 0.4%\n";
        err += kPower + doing() +
               "error : could not write page 101 (read poll error, cmd start a0, size 07, data 01, read size 00, "
               "error 81)\n";
    }
    EXPECT_EQ(run.out, out);
    EXPECT_EQ(without_times(run.err), err + "error : overall SV MCU update = ERROR\n");
    EXPECT_EQ(kernel.sleeps_us, std::vector<uint32_t>(15, 500'000));
}

TEST_F(Update, DecisionWithoutForce) {
    constexpr size_t kProgrammed = kBeforeErase + 76;
    UpdateFileBytes unnumbered = file;
    unnumbered.swid0 = unnumbered.swid1 = 0;
    const std::string unnumbered_path = write_temporary("unnumbered.svu", unnumbered.bytes());
    const struct {
        const char* what;
        Bytes running;
        uint16_t swid;
        Bytes other;
        uint16_t other_swid;
        std::string path;
        size_t transfers;
    } cases[] = {{"up to date", program(0), 0x0123, {}, 0, path, kBeforeErase},
                 {"same id, other content", {1, 2, 3}, 0x0123, {}, 0, path, kProgrammed},
                 {"same content, other id", program(0), 0x0122, {}, 0, path, kProgrammed},
                 {"another id, other region up to date", {1}, 0x0100, program(1), 0x0123, path, kProgrammed},
                 {"no id, other region up to date", program(0), 0, program(1), 0x0123, path, kBeforeErase + 2},
                 {"no id, other region with another id", program(0), 0, program(1), 0x0124, path, kProgrammed},
                 {"no id, other region with other content", program(0), 0, {1}, 0x0123, path, kProgrammed},
                 {"no id anywhere, other region up to date", {1}, 0, program(1), 0, unnumbered_path, kProgrammed},
                 {"no id, nothing in the other region", program(0), 0, {}, 0, path, kProgrammed}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        sim::Board fresh;
        fresh.flash.install(1, c.other, c.other_swid);
        fresh.flash.install(0, c.running, c.swid);
        FakeKernel own(fresh);
        EXPECT_EQ(run_tool_words({"--upd", c.path}).status, 0);
        EXPECT_EQ(own.wire.size(), c.transfers);
    }
    std::remove(unnumbered_path.c_str());
}

TEST_F(Update, SettingsHoldForTheCommandsAfterThem) {
    BoardRun run = run_on_board({}, {"--update-without-reset", "--update-with-reset", "--reset-delay", "1.5",
                                     "--without-force-update", "--force-update", "--update", path, "--bom-version"});
    EXPECT_EQ(run.err, loaded() + kPower + doing() + "info  : disabled current region 0\n" +
                           "info  : reset: MCU will reset in 1.5s\n" + done() + kOkay);
    EXPECT_EQ(run.sleeps_us.back(), 1'000'000U);  // more words follow
    // --upd resets at once whatever the words before it said, and the settings stay.
    run = run_on_board(
        {}, {"--reset-now-sync", "--update-without-reset", "--update-without-disable", "--upd", path, "--reset"});
    EXPECT_EQ(run.err.find("disabled"), std::string::npos);
    EXPECT_NE(run.err.find("reset: MCU will reset now\n"), std::string::npos);
    EXPECT_EQ(run.err.substr(run.err.size() - 27), "info  : MCU will reset now\n");
}

TEST_F(Update, HangUpsAreIgnoredFromTheEraseToTheVerdict) {
    struct sigaction before {};
    const struct sigaction ends_the_run {};  // the default, also where the test itself runs under nohup
    sigaction(SIGHUP, &ends_the_run, &before);
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
    // Erase, two pages, enable, disable and reset; then the probe.
    ASSERT_EQ(kernel.wire.size(), kBeforeErase + 76 + 1);
    EXPECT_EQ(ignored.size(), 76U);
    EXPECT_EQ(ignored.front(), kBeforeErase + 1);
    EXPECT_FALSE(is_ignored());
    sigaction(SIGHUP, &before, nullptr);
}

TEST_F(Update, ReadUpdateNeverFailsTheRun) {
    // A loaded file leaves the older text standing.
    expect_outcomes({{{"--read-update", "/nowhere", "--read-update", path, "--bom-version"},
                      {},
                      0,
                      "reading file = error (/nowhere)\nmessage = could not open file\nreading file = okay (" + path +
                          ")\nmessage = could not open file\n-todo-\n",
                      "info  : update file swid 0123 crc " + crc(0) + " " + crc(1) + "\n",
                      0}});
}

TEST_F(Update, ManyInOneProcessKeepNeitherMemoryNorDescriptors) {
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    std::ptrdiff_t open = 0;
    size_t bytes = 0;
    for (int i = 0; i < 60; ++i) {
        if (i == 10) {  // warm
            open = descriptors();
            bytes = mallinfo2().uordblks;  // always 0 with a sanitizer, which finds leaks by itself
        }
        FakeKernel own(board);
        own.now_us = board.now_us + 60'000'000;
        board.flash.history.clear();
        ASSERT_EQ(run_tool_words({"--status", "--update", path}).status, 0) << i;
    }
    EXPECT_EQ(descriptors(), open);
    EXPECT_LE(mallinfo2().uordblks, bytes + 1024);  // the allocator keeps a part of what is freed
}

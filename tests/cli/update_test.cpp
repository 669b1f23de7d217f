// SPDX-License-Identifier: MIT
// --update and --upd from the command line to the flash.
#include "tests/cli/update_fixture.h"

TEST_F(Update, CompleteUpdateOfRegion1AndBackToRegion0) {
    file.fill_all_pages();
    save();
    ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "erased other region 1\nprogramming, starting at 20000\n" + progress(all_pages('*')) +
                           " done \nenabled other region 1\n");
    EXPECT_EQ(run.err, loaded() + log_line("info", kPower) + doing(1, first) +
                           log_line("info", "disabled current region 0") +
                           log_line("info", "reset: MCU will reset in 5.0s") + done(1));
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
    EXPECT_EQ(board.violations, std::vector<std::string>{});
}

TEST_F(Update, OnlyMarkedPagesAreWritten) {
    file.fill_page(256);
    file.fill_page(300);
    save();
    const ToolRun run = run_tool_words({"--update", path});
    auto pages = all_pages('.');
    pages[0].first = '*';
    pages[44].first = '*';
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "erased other region 1\nprogramming, starting at 20000\n" + progress(pages) +
                           " done \nenabled other region 1\n");
    EXPECT_EQ(kernel.wire.size(), 8785U - 253U * 34U);
    expect_programmed(1);
}

TEST_F(Update, DecisionWithoutForce) {
    file.fill_page(0);
    file.fill_page(256);
    save();
    const std::string nothing = log_line("info", "nothing to do (region 0 is already up to date with swid 0123 crc " +
                                                     hex4(file.region_crc(0)) + ")") +
                                log_line("info", "overall SV MCU update = okay");
    const std::vector<uint8_t> image0(file.image.begin(), file.image.begin() + 512);
    const std::vector<uint8_t> image1(file.image.begin() + 0x20000, file.image.begin() + 0x20200);
    const struct {
        const char* what;
        std::vector<uint8_t> running;
        uint16_t swid;
        std::vector<uint8_t> other;
        uint16_t other_swid;
        bool programs;
        std::string last_lines;
    } cases[] = {
        {"up to date", image0, 0x0123, {}, 0, false, nothing},
        {"same id, other content", {1, 2, 3}, 0x0123, {}, 0, true, done(1)},
        {"same content, other id", image0, 0x0122, {}, 0, true, done(1)},
        {"no id, other region up to date", image0, 0, image1, 0x0123, false,
         log_line("info", "reboot only (other (1) is up to date)") + log_line("info", "overall SV MCU update = okay")},
        {"no id, other region with another id", image0, 0, image1, 0x0124, true, done(1)},
        {"no id, other region with other content", image0, 0, {1}, 0x0123, true, done(1)},
        {"no id, nothing in the other region", image0, 0, {}, 0, true, done(1)}};
    for (const auto& c : cases) {
        sim::Board fresh;
        fresh.flash.install(1, c.other, c.other_swid);
        fresh.flash.install(0, c.running, c.swid);
        FakeKernel own(fresh);
        const ToolRun run = run_tool_words({"--upd", path});
        EXPECT_EQ(run.status, 0) << c.what;
        EXPECT_EQ(run.out.empty(), !c.programs) << c.what;
        ASSERT_GE(run.err.size(), c.last_lines.size());
        EXPECT_EQ(run.err.substr(run.err.size() - c.last_lines.size()), c.last_lines) << c.what;
        if (c.last_lines == nothing) {
            EXPECT_EQ(own.wire.size(), 107U);  // identity, flash status and power; nothing that changes the MCU
        }
    }
}

TEST_F(Update, SettingsShapeTheEndOfTheUpdate) {
    file.fill_page(256);
    save();
    const std::string head = loaded() + log_line("info", kPower) + doing(1, first);
    const std::string disabled = log_line("info", "disabled current region 0");
    const std::string report =
        log_line("info", "update done in region 1 with swid 0123 crc " + hex4(file.region_crc(1)));
    const struct {
        std::vector<std::string> words;
        std::string tail;
        size_t transfers;  // behind the last page
    } cases[] = {
        {{"--update-without-reset"},
         disabled + log_line("info", "reset: needed") + report +
             log_line("info", "overall SV MCU update = reset-needed"),
         4},
        {{"--update-without-disable"},
         log_line("info", "reset: MCU will reset in 5.0s") + report + log_line("info", "overall SV MCU update = okay"),
         4},
        {{"--update-without-reset", "--update-with-reset", "--reset-delay", "1.5"},
         disabled + log_line("info", "reset: MCU will reset in 1.5s") + report +
             log_line("info", "overall SV MCU update = okay"),
         6}};
    for (const auto& c : cases) {
        sim::Board fresh;
        FakeKernel own(fresh);
        std::vector<std::string> words = c.words;
        words.insert(words.end(), {"--update", path, "--force-update"});
        const ToolRun run = run_tool_words(words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, head + c.tail) << c.words[0];
        EXPECT_EQ(own.wire.size(), 107U + 2U + 34U + c.transfers) << c.words[0];
        // More words follow: a pause behind the update.
        EXPECT_EQ(own.sleeps_us.back(), 1'000'000U);
    }
    // --upd resets at once whatever the words before it said, and the settings stay.
    const ToolRun run = run_tool_words({"--update-without-reset", "--force-update", "--upd", path, "--reset"});
    EXPECT_NE(run.err.find("reset: MCU will reset now\n"), std::string::npos);
    EXPECT_NE(run.err.rfind("info  : MCU will reset now\n"), std::string::npos);
}

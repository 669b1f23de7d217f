// SPDX-License-Identifier: MIT
// --update and --upd from the command line to the flash.
#include <gtest/gtest.h>

#include <csignal>

#include "tests/support/tool_run.h"
#include "tests/support/update_file_bytes.h"

namespace {

const std::string kPower =
    "status SVMCU=on, OK=1 1, IN=Ln1/1, OUT=Ln1, PWR=24.1V, IMP=12 63, DATA=8a 02 01, U1=00 00 00 00 00, "
    "U2=00 00 00 00 00, EXT=0.0V";

std::string hex4(uint16_t value) {
    char text[5];
    std::snprintf(text, sizeof text, "%04x", value);
    return text;
}

std::string back(double percent) {
    return std::string(percent > 10.0 ? 6 : 5, '\b');
}

/// The progress of 255 steps: a mark per page, and how often each page fails before it succeeds.
std::string progress(const std::vector<std::pair<char, int>>& pages) {
    std::string text;
    std::string prefix;
    for (size_t i = 0; i < pages.size(); ++i) {
        char percent[16];
        std::snprintf(percent, sizeof percent, "%3.1f%%", static_cast<double>(i) * 100.0 / 255.0);
        text += prefix + pages[i].first + " " + percent;
        for (int n = 0; n < pages[i].second; ++n) {
            text += prefix + "x* " + percent;
        }
        prefix = back(static_cast<double>(i) * 100.0 / 255.0);
    }
    return text + prefix;
}

std::vector<std::pair<char, int>> all_pages(char mark) {
    return std::vector<std::pair<char, int>>(255, {mark, 0});
}

class Update : public testing::Test {
protected:
    ~Update() override {
        std::remove(path.c_str());
    }

    void save() {
        path = write_temporary("update.svu", file.bytes());
    }

    std::string loaded() const {
        return log_line("info",
                        "update file swid 0123 crc " + hex4(file.region_crc(0)) + " " + hex4(file.region_crc(1))) +
               log_line("info", "update file = okay (" + path + ")");
    }

    std::string doing(int region, const std::string& from) const {
        return log_line("info", "doing update in region " + std::to_string(region) + " (" + from +
                                    " to swid 0123 crc " + hex4(file.region_crc(region)) + ")");
    }

    std::string done(int region) const {
        return log_line("info", "update done in region " + std::to_string(region) + " with swid 0123 crc " +
                                    hex4(file.region_crc(region))) +
               log_line("info", "overall SV MCU update = okay");
    }

    void expect_programmed(int region) {
        for (size_t page = 0; page < 255; ++page) {
            const auto at = static_cast<std::ptrdiff_t>((static_cast<size_t>(region) * 256 + page) * 512);
            const bool marked = file.page_map[static_cast<size_t>(region) * 256 + page] != 0;
            for (std::ptrdiff_t i = 0; i < 512; ++i) {
                ASSERT_EQ(board.flash.memory()[static_cast<size_t>(at + i)],
                          marked ? file.image[static_cast<size_t>(at + i)] : 0xFF)
                    << page;
            }
        }
    }

    sim::Board board;
    FakeKernel kernel{board};
    UpdateFileBytes file;
    std::string path;
    // The board's first firmware, as the log names it.
    const std::string first = "from swid 0100 crc " + hex4(board.flash.checksum(0));
};

}  // namespace

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
    EXPECT_EQ(own.slept_us(), 15U * 500'000U);
    std::string without_times;
    for (size_t at = 0; at < run.err.size(); at = run.err.find('\n', at) + 1) {
        without_times += "[21:53:20]" + run.err.substr(at + 10, run.err.find('\n', at) - at - 9);
    }
    EXPECT_EQ(without_times, err);
    EXPECT_EQ(fresh.flash.running(), 0);
    EXPECT_EQ(fresh.flash.regions[1].enabled, false);
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

TEST_F(Update, GeometryOfTheMcuMustBeTheFiles) {
    file.fill_page(256);
    save();
    board.scenario.reported_page_size = 0x100;
    EXPECT_NE(
        run_tool_words({"--update", path}).err.find("error : invalid page size (hwid vs. read, 0003 00200 00100)\n"),
        std::string::npos);
    board.scenario.hwid = 4;
    const ToolRun run = run_tool_words({"--update", path});
    EXPECT_EQ(run.status, 255);
    EXPECT_NE(run.err.find("error : unknown HWID\n"), std::string::npos);
    for (const std::string& transfer : kernel.wire) {
        EXPECT_NE(transfer, "W 08 a5: 42 43");
    }
}

TEST_F(Update, UnloadableFileReachesNoBus) {
    const ToolRun run = run_tool_words({"--update", "/dev/null"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.err, log_line("info", "update file = error (/dev/null)") +
                           log_line("error", "invalid file (could not find header)"));
    EXPECT_EQ(kernel.wire.size(), 0U);
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

// SPDX-License-Identifier: MIT
#include "log/log.h"

#include <gtest/gtest.h>

#include <cstring>

#include "log/timestamp.h"
#include "tests/support/tool_run.h"

TEST(Log, NamesEveryLevelAndPassesTheNumberOn) {
    const struct {
        int level;
        const char* line;
    } cases[] = {{-1, "[21:53:20] unknwn: x\n"}, {0, "[21:53:20] unknwn: x\n"}, {1, "[21:53:20] alert : x\n"},
                 {2, "[21:53:20] crit  : x\n"},  {3, "[21:53:20] error : x\n"}, {4, "[21:53:20] warn  : x\n"},
                 {5, "[21:53:20] notice: x\n"},  {6, "[21:53:20] info  : x\n"}, {7, "[21:53:20] debug : x\n"},
                 {8, "[21:53:20] unknwn: x\n"}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run = capture([&] {
            log_message(c.level, "x");
            return 0;
        });
        EXPECT_EQ(run.err, c.line);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(kernel.syslog, (std::vector<SyslogLine>{{c.level, "x"}}));
    }
}

TEST(Log, CutsTheMessageAt511CharactersAndKeepsPerCentSigns) {
    sim::Board board;
    FakeKernel kernel(board);
    const std::string text = "%s%n" + std::string(596, 'y');
    const ToolRun run = capture([&] {
        log_message(6, "%s", text.c_str());
        return 0;
    });
    EXPECT_EQ(kernel.syslog[0].text, text.substr(0, 511));
    EXPECT_EQ(run.err, log_line("info", text.substr(0, 511)));
}

TEST(Timestamp, RendersSecondsAndMinutesInUtc) {
    sim::Board board;
    FakeKernel kernel(board);
    char text[20];
    const struct {
        bool minutes;
        uint32_t value;
        const char* expected;
    } cases[] = {
        {false, 86400, "1970-01-02 00:00:00"},      {false, 0, "2025-11-16 21:53:20"},
        {false, 0xFFFFFFFF, "2106-02-07 06:28:15"}, {true, 1440, "1970-01-02 00:00:00"},
        {true, 0, "1970-01-01 00:00:00"},           {true, 30'000'000, "2027-01-15 08:00:00"},
        {true, 71'582'789, "1970-01-01 00:00:44"}  // 60 times that wraps at 32 bits
    };
    for (const auto& c : cases) {
        (c.minutes ? format_minutes_timestamp : format_timestamp)(c.value, text, sizeof text);
        EXPECT_STREQ(text, c.expected) << c.value;
    }
}

TEST(Timestamp, LeavesAnEmptyTextWhereItDoesNotFit) {
    char text[20] = "before";
    format_timestamp(86400, text, 0);
    EXPECT_STREQ(text, "before");
    format_timestamp(86400, text, 19);
    EXPECT_STREQ(text, "");
    std::strcpy(text, "before");
    format_minutes_timestamp(1440, text, 5);
    EXPECT_STREQ(text, "");
}

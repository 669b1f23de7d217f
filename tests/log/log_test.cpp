// SPDX-License-Identifier: MIT
#include "log/log.h"

#include "log/timestamp.h"
#include "tests/support/device_test.h"

TEST(Log, NamesEveryLevelAndPassesTheNumberOn) {
    const std::string long_text = "%s%n" + std::string(596, 'y');
    const std::tuple<int, std::string, const char*> cases[] = {
        {-1, "x", "unknwn"}, {0, "x", "unknwn"}, {1, "x", "alert "},      {2, "x", "crit  "},
        {3, "x", "error "},  {4, "x", "warn  "}, {5, "x", "notice"},      {6, "x", "info  "},
        {7, "x", "debug "},  {8, "x", "unknwn"}, {6, long_text, "info  "}};
    for (const auto& [level, text, name] : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run =
            capture([level = level, &text = text] { return log_message(level, "%s", text.c_str()), 0; });
        const std::string cut = text.substr(0, 511);
        EXPECT_EQ(run.err, std::string("[21:53:20] ") + name + ": " + cut + "\n");
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(kernel.syslog, (std::vector<SyslogLine>{{level, cut}}));
    }
}

TEST(Timestamp, RendersSecondsAndMinutesInUtc) {
    sim::Board board;
    FakeKernel kernel(board);
    using Format = void (*)(uint32_t, char*, size_t);
    constexpr Format seconds = format_timestamp;
    constexpr Format minutes = format_minutes_timestamp;
    const std::tuple<Format, uint32_t, size_t, const char*> cases[] = {
        {seconds, 86400, 20, "1970-01-02 00:00:00"},
        {seconds, 0, 20, "2025-11-16 21:53:20"},
        {seconds, 0xFFFFFFFF, 20, "2106-02-07 06:28:15"},
        {minutes, 1440, 20, "1970-01-02 00:00:00"},
        {minutes, 0, 20, "1970-01-01 00:00:00"},
        {minutes, 30'000'000, 20, "2027-01-15 08:00:00"},
        {minutes, 71'582'789, 20, "1970-01-01 00:00:44"},  // 60 times that wraps at 32 bits
        // No room: an empty text, or none at all.
        {seconds, 86400, 19, ""},
        {minutes, 1440, 5, ""},
        {seconds, 86400, 0, "before"}};
    for (const auto& [format, value, size, expected] : cases) {
        char text[20] = "before";
        format(value, text, size);
        EXPECT_STREQ(text, expected) << value;
    }
}

// SPDX-License-Identifier: MIT
#include "util/parse_number.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ParseInt, ReadsWholeNumbersOfEveryBase) {
    const struct {
        const char* text;
        int64_t value;
    } cases[] = {{"0", 0},
                 {"12", 12},
                 {"-1", -1},
                 {"+7", 7},
                 {"0x2C", 44},
                 {"010", 8},
                 {"", 0},
                 {"  5", 5},
                 {"0x7fffffff", 0x7FFFFFFF},
                 {"-0x10", -16},
                 {"4294967297", 4'294'967'297},
                 {"99999999999999999999", INT64_MAX},
                 {"-99999999999999999999", INT64_MIN}};
    for (const auto& c : cases) {
        int64_t value = 77;
        EXPECT_TRUE(parse_int(c.text, value)) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

TEST(ParseInt, RefusesWhatIsNotWhollyANumber) {
    for (const char* text : {"x", "12z", "1 ", "0x", "08", "1.5", "--1", " ", "-", "0b1", "-0B1"}) {
        int64_t value = 77;
        EXPECT_FALSE(parse_int(text, value)) << text;
        EXPECT_EQ(value, 0) << text;
    }
}

TEST(ParseFloat, ReadsWholeNumbersOnly) {
    const struct {
        const char* text;
        bool ok;
        float value;
    } cases[] = {{"1.5", true, 1.5F},      {"-1", true, -1.0F},       {"", true, 0.0F},       {"1e1", true, 10.0F},
                 {"inf", true, HUGE_VALF}, {"1e99", true, HUGE_VALF}, {"0x1p1", true, 2.0F},  {"abc", false, 0.0F},
                 {"1.5s", false, 0.0F},    {"1,5", false, 0.0F},      {"42.5\n", false, 0.0F}};
    for (const auto& c : cases) {
        float value = 77.0F;
        EXPECT_EQ(parse_float(c.text, value), c.ok) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
    float value = 0.0F;
    EXPECT_TRUE(parse_float("nan", value));
    EXPECT_TRUE(std::isnan(value));
}

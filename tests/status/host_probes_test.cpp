// SPDX-License-Identifier: MIT
// What the host itself knows: odd files, and what becomes of them in the reports.
#include "status/host_probes.h"

#include <cmath>

#include "tests/support/device_test.h"
#include "util/host_files.h"

namespace {

class HostProbes : public DeviceTest {};

}  // namespace

TEST_F(HostProbes, Uptime) {
    const std::pair<const char*, const char*> cases[] = {
        {"93784.50 180000.00\n", "1d 02:03:04"},
        {"59.99 1.0\n", "0d 00:00:59"},
        {"86400.00 0.0\n", "1d 00:00:00"},
        {"3599.9 1\n", "0d 00:59:59"},
        {"abc 1\n", "0d 00:00:00"},
        {"12.5\n", "0d 00:00:00"},  // no blank: the line end belongs to the word
        {"12.5", "0d 00:00:12"},
        {"", "no uptime"},
        // Single precision: 16777217 s is not a float; the second before it is.
        {"16777217.00 1\n", "194d 04:20:16"},
        {"4294967295.99", "49710d 06:28:16"},
        {"-5 1\n", "0d 00:00:00"},
        {"nan 1\n", "0d 00:00:00"},
        {"1e30 1\n", "4294967295d 255"},
        {"inf 1\n", "4294967295d 255"}};
    for (const auto& [file, expected] : cases) {
        kernel.files["/proc/uptime"] = file;
        char text[kUptimeTextSize] = "";
        read_uptime(text);
        EXPECT_STREQ(text, expected) << file;
    }
}

TEST_F(HostProbes, Temperatures) {
    const std::tuple<const char*, float, bool> cases[] = {
        {"42.5\n", 42.5F, true},     {"42.5", 42.0F, true},   {"7", 7.0F, true},
        {"7\n", 7.0F, true},         {"-3.5\n", -3.5F, true}, {"1234567890", 12345678.0F, true},
        {"-0x1p9\n", -512.0F, true}, {"x42\n", 0.0F, false},  {"nan\n", NAN, true},
        {"", 0.0F, false},           {"\n", 0.0F, false}};
    for (const auto& [file, value, ok] : cases) {
        kernel.files["/dev/temp_nic"] = "20.0\n";
        kernel.files["/dev/temp_disp"] = file;
        float values[2] = {77.0F, 77.0F};
        EXPECT_EQ(read_temperatures(values), ok) << file;
        EXPECT_EQ(values[0], 20.0F);
        EXPECT_TRUE(values[1] == value || std::isnan(value)) << file << values[1];
    }
}

TEST_F(HostProbes, PoeIsLowActiveAndExportsTheLineOnce) {
    const struct {
        bool exported;
        const char* value;
        bool ok;
        bool present;
        const char* written;
    } cases[] = {{true, "0", true, true, ""},  {true, "1", true, false, ""},    {true, "x", true, false, ""},
                 {true, "00", true, true, ""}, {false, "0", true, true, "414"}, {false, "none", false, true, "414"}};
    for (const auto& c : cases) {
        board.scenario.gpio_exported = c.exported;
        board.scenario.poe = c.value;
        kernel.exported.clear();
        bool present = true;
        EXPECT_EQ(read_poe_gpio(device, present), c.ok) << c.value;
        EXPECT_EQ(present, c.present) << c.value;
        EXPECT_EQ(kernel.exported, c.written) << c.value;
    }
    kernel.files["/sys/class/gpio/gpio414/value"] = "";
    bool present = true;
    EXPECT_FALSE(read_poe_gpio(device, present));
}

TEST_F(HostProbes, FilesThatCanNotBeWritten) {
    EXPECT_FALSE(write_file("/does/not/exist", "414", 3));
    EXPECT_FALSE(write_file("/dev/null", "", 0));
}

// SPDX-License-Identifier: MIT
#include "status/host_probes.h"

#include "tests/support/device_test.h"
#include "util/host_files.h"

namespace {

class HostProbes : public DeviceTest {};

}  // namespace

TEST_F(HostProbes, Uptime) {
    const struct {
        const char* file;
        const char* text;
    } cases[] = {{"93784.50 180000.00\n", "1d 02:03:04"},
                 {"59.99 1.0\n", "0d 00:00:59"},
                 {"0.00 0.00\n", "0d 00:00:00"},
                 {"86400.00 0.0\n", "1d 00:00:00"},
                 {"3599.9 1\n", "0d 00:59:59"},
                 {"abc 1\n", "0d 00:00:00"},
                 {"12.5\n", "0d 00:00:00"},  // no blank: the line end belongs to the word
                 {"12.5", "0d 00:00:12"},
                 {"", "no uptime"},
                 // Single precision: 16777217 s is not a float; the day before it is.
                 {"16777217.00 1\n", "194d 04:20:16"},
                 {"-5 1\n", "0d 00:00:00"},
                 {"nan 1\n", "0d 00:00:00"},
                 {"1e30 1\n", "4294967295d 255"},
                 {"inf 1\n", "4294967295d 255"}};
    for (const auto& c : cases) {
        kernel.files["/proc/uptime"] = c.file;
        char text[kUptimeTextSize] = "";
        read_uptime(text);
        EXPECT_STREQ(text, c.text) << c.file;
    }
    kernel.files.clear();
    board.scenario.uptime = "none";
    char text[kUptimeTextSize] = "";
    read_uptime(text);
    EXPECT_STREQ(text, "no uptime");
}

TEST_F(HostProbes, Temperatures) {
    const struct {
        const char* file;
        float value;
        bool ok;
    } cases[] = {{"42.5\n", 42.5F, true},           {"42.5", 42.0F, true},  {"7", 7.0F, true}, {"-3.5\n", -3.5F, true},
                 {"1234567890", 12345678.0F, true}, {"x42\n", 0.0F, false}, {"", 0.0F, false}, {"\n", 0.0F, false}};
    for (const auto& c : cases) {
        kernel.files["/dev/temp_nic"] = "20.0\n";
        kernel.files["/dev/temp_disp"] = c.file;
        float values[2] = {77.0F, 77.0F};
        EXPECT_EQ(read_temperatures(values), c.ok) << c.file;
        EXPECT_EQ(values[0], 20.0F);
        EXPECT_EQ(values[1], c.value) << c.file;
    }
    kernel.files.clear();
    board.scenario.temp_nic = "none";
    float values[2] = {77.0F, 77.0F};
    EXPECT_TRUE(read_temperatures(values));
    EXPECT_EQ(values[0], 0.0F);
}

TEST_F(HostProbes, PoeIsLowActiveAndExportsTheLineOnce) {
    const struct {
        bool exported;
        const char* value;
        bool ok;
        bool present;
        const char* written;
    } cases[] = {{true, "0", true, true, ""},
                 {true, "1", true, false, ""},
                 {true, "x", true, false, ""},
                 {false, "0", true, true, "414"},
                 {false, "none", false, true, "414"}};
    for (const auto& c : cases) {
        board.scenario.gpio_exported = c.exported;
        board.scenario.poe = c.value;
        kernel.exported.clear();
        bool present = true;
        EXPECT_EQ(read_poe_gpio(device, present), c.ok) << c.value;
        EXPECT_EQ(present, c.present) << c.value;
        EXPECT_EQ(kernel.exported, c.written) << c.value;
    }
    EXPECT_EQ(device.last_error, "could not read PoE GPIO");
    kernel.files["/sys/class/gpio/gpio414/value"] = "";
    bool present = true;
    EXPECT_FALSE(read_poe_gpio(device, present));
}

// Uptime, both temperatures and the GPIO value, as far as they are there; the MCU is silent.
TEST_F(HostProbes, CommandsShowTheHostsFilesWhateverTheyContain) {
    const struct {
        std::vector<const char*> files;
        const char* up;
        const char* poe;
        const char* in;
        const char* temperatures;
        const char* status_poe;
    } cases[] = {{{"93784.50 180000.00\n", "45.0\n", "40.0\n", "1\n"},
                  "1d 02:03:04",
                  "off",
                  "-----",
                  "45.0degC,40.0degC",
                  "POE: off\n"},
                 {{"0.00 0.00", "42.5", "7", "0"}, "0d 00:00:00", "on ", "PoE  ", "42.0degC,7.0degC", "POE: on\n"},
                 {{"abc", "nan\n", "inf\n", "x"}, "0d 00:00:00", "off", "-----", "nandegC,infdegC", "POE: off\n"},
                 {{"1e30 ", "1234567890", "-0x1p9\n", "00\n"},
                  "4294967295d 255",
                  "on ",
                  "PoE  ",
                  "12345678.1degC,-511.9degC",
                  "POE: on\n"},
                 {{"4294967295.99"}, "49710d 06:28:16", "---", "-----", "0.1degC,0.1degC", ""},
                 {{}, "no uptime", "---", "-----", "0.1degC,0.1degC", ""}};
    const char* const paths[] = {"/proc/uptime", "/dev/temp_nic", "/dev/temp_disp", "/sys/class/gpio/gpio414/value"};
    sim::Scenario& host = board.scenario;
    host.uptime = host.temp_nic = host.temp_disp = host.poe = "none";
    kernel.on_bus = [](std::span<const sim::Message>) { return false; };
    for (const auto& c : cases) {
        kernel.files.clear();
        for (size_t i = 0; i < c.files.size(); ++i) {
            kernel.files[paths[i]] = c.files[i];
        }
        const ToolRun status = run_tool_words({"--status"});
        EXPECT_EQ(status.status, 0) << c.up;
        EXPECT_EQ(status.out, std::string("2025-11-16 21:53:20 up ") + c.up + "  DISP=off POE=" + c.poe +
                                  " SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=" + c.in +
                                  " OUT=--- CAP=----/----V/---W USB=off TEMP=" + c.temperatures + "\n");
        const ToolRun poe = run_tool_words({"--status-poe"});
        EXPECT_EQ(poe.status, *c.status_poe == '\0' ? 255 : 0) << c.up;
        EXPECT_EQ(poe.out, c.status_poe);
        const std::string cable = run_tool_words({"--status-cable"}).out;
        EXPECT_NE(cable.find(std::string("  up ") + c.up + "  TEKO1 = "), std::string::npos) << cable;
    }
}

TEST(HostFiles, WhatCanNotBeWritten) {
    EXPECT_FALSE(write_file("/does/not/exist", "414", 3));
    EXPECT_FALSE(write_file("/dev/null", "", 0));
}

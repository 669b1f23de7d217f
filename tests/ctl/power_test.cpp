// SPDX-License-Identifier: MIT
// The measurements of sv_ctl: values worked out by hand from the raw codes, and that a reading changes nothing.
#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <sstream>

#include "ctl/lock.h"
#include "sim/state_file.h"
#include "sim/trace.h"
#include "tests/support/tool_run.h"

namespace {

struct Situation {
    sim::Board board;
    FakeKernel kernel{board};

    explicit Situation(const Words& words = {}) {
        set_up(board, words);
    }
};

const std::string kNoInputs = "status=" + std::string(40, '0');

const struct {
    Words situation;
    const char* key;
    const char* value;
} kValues[] = {
    // (code - 190) x 32.6397 x 2.048 / 4095
    {{"powerrail_raw=1666"}, "powerrail_volts", "24.094"},
    {{"ext_raw=1650"}, "ext_volts", "23.833"},
    {{"ext_raw=190"}, "ext_volts", "0.000"},
    {{"vcc_raw=850"}, "vcc_volts", "3.301"},
    {{"teko1_voltage_raw=1660"}, "teko1_volts", "23.996"},
    {{"teko2_voltage_raw=1660"}, "teko2_volts", "23.996"},
    {{"teko1_current_raw=700"}, "teko1_amperes", "0.4816"},
    {{"teko2_voltage_raw=1660", "teko2_current_raw=700"}, "teko2_watts", "11.555"},
    // 0x1000 / 4 = 1024; (1024 - 190) x 25.3 x 2.048 / 4095, with high power x 21.1
    {{"teko1_cable_sum=0x1000", "teko1_cable_count=4"}, "teko1_cable_volts", "10.553"},
    {{"teko1_cable_sum=0x1000", "teko1_cable_count=4", "teko1_hpwr=1"}, "teko1_cable_volts", "8.801"},
    {{}, "teko2_cable_volts", "null"},
    {{"teko1_imp=0x3f0c"}, "teko1_impedance_0_1_ohms", "12"},
    {{"teko1_imp=0x3f0c"}, "teko1_impedance_1_2_ohms", "null"},
    {{"teko1_imp=0x3f0c"}, "teko1_impedance_1_2", "\"open\""},
    {{"teko2_imp=0x0040"}, "teko2_impedance_0_1_ohms", "null"},
    {{"teko2_imp=0x0040"}, "teko2_impedance_0_1", "\"invalid\""},
    // 6388 + (300 - 190) / 4095 x 2.048 x 657.2
    {{"teko1_imp_valid_raw=300", "teko1_imp_valid_count=1"}, "teko1_impedance_valid_ohms", "6424"},
    {{"teko1_imp_valid_raw=300", "teko1_imp_valid_count=0"}, "teko1_impedance_valid_ohms", "null"},
    {{"pse_states=0x1d01"}, "teko2_pse_state_name", "\"enable_powersw\""},
    {{"pd_states=0x0019"}, "teko1_pd_state", "25"},
    {{"teko_enable=0x06"}, "teko1_pse_enabled", "false"},
    {{"teko_enable=0x06"}, "teko2_pse_enabled", "true"},
    {{"teko_enable=0x06"}, "teko1_pd_enabled", "true"},
    {{"teko_enable=0x06"}, "teko2_pd_enabled", "false"},
    {{"teko2_oc_shtd=255"}, "teko2_overcurrent_shutdowns", "255"},
    {{"killpower_count=7"}, "killpowers", "7"},
    // (1274 - 190) x 358.15 / (2560 / 2.048) - 273.15
    {{"temperature_raw=1274", "temperature_cal=2560"}, "temperature_mcu_celsius", "37.4"},
    {{"temperature_cal=0"}, "temperature_mcu_celsius", "null"},
    {{"temperature_cal=0", "temperature_raw=190"}, "temperature_mcu_celsius", "null"},
    {{"temp_nic=-3.5"}, "temperature_nic_celsius", "-3.5"},
    {{"temp_nic=none"}, "temperature_nic_celsius", "null"},
    {{"temp_disp=nan"}, "temperature_display_celsius", "null"},
    {{"temp_disp=x"}, "temperature_display_celsius", "null"},
    {{"uptime=none"}, "uptime_seconds", "null"},
    {{"poe=none"}, "poe_present", "null"},
    {{"poe=0"}, "poe_present", "true"},
    {{"cap_vcap=0x1000"}, "cap_volts", "6.046"},
    {{"cap_vin=0x2000"}, "cap_input_volts", "18.104"},
    {{"cap_ichg=0xfff0"}, "cap_charge_amperes", "-0.0063"},
    {{"cap_iin=0x0100", "cap_ichg=0x0010"}, "cap_input_amperes", "0.0084"},
    {{"cap_vin=0x2000", "cap_iin=0x0100", "cap_ichg=0x0010"}, "cap_supply_watts", "0.217"},
    {{"cap_status=0x0005"}, "cap_charge", "\"cv\""},
    {{"cap_status=0x0003"}, "cap_mode", "\"0003\""},
    {{"charger=off"}, "cap_volts", "null"},
    {{"charger=off"}, "cap_full", "null"},
    {{"source=1"}, "source", "\"ext\""},
    {{"source=2"}, "source", "\"link1\""},
    {{"source=3"}, "source", "\"link2\""},
    {{"source=0"}, "source", "\"none\""},
    {{"source=0", "poe=0", "cap_status=0x0842"}, "source", "\"poe\""},
    {{"source=0", "cap_status=0x0842"}, "source", "\"capacitors\""},
    {{"source=2", "cap_status=0x0842"}, "source", "\"link1\""},
    {{kNoInputs, "poe=0"}, "source", "\"unknown\""},
    {{"marker=0x11"}, "reset_since_marker", "false"},
    {{"marker=5"}, "reset_marker", "5"},
    {{}, "reset_since_marker", "true"},
    {{"w1_rom_status=6"}, "w1_rom", "null"},
    {{"w1_rom_status=6"}, "w1_rom_status", "\"NOT_PRESENT\""},
    {{"message_pending=1", "handshake=1"}, "pending_message", "\"0000000000\""},
    {{"hwid=0xffff"}, "hwid", "\"ffff\""},
    {{"hwid=0xffff", "reported_page_size=7"}, "region0_checksum", "\"4de3\""},
    {{"version_crc_good=off"}, "identity_valid", "false"},
    {{"production_minutes=29500000"}, "production_timestamp_seconds", "1770000000"},
    {{"production_minutes=0"}, "production_time", "\"1970-01-01 00:00:00\""},
    {{}, "region0_running", "true"},
    {{}, "region1_swid", "\"0000\""},
    {{}, "reason", "null"},
};

TEST(Power, Values) {
    for (const auto& c : kValues) {
        Situation situation(c.situation);
        const ToolRun run = run_ctl_words({"status", "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(member(run.out, c.key), c.value) << c.key;
        for (const char* bad : {"nan", "inf", "no such key"}) {
            EXPECT_EQ(run.out.find(bad), std::string::npos) << c.key << bad;
        }
        EXPECT_EQ(situation.board.violations, Words{});
    }
}

TEST(Power, AReadingChangesNothing) {
    std::vector<Words> situations = {{},
                                     {"message_pending=1", "handshake=1", "marker=0x11"},
                                     {"w1_rom_status=6", "w1_eeprom_status=6", "hwid=9"},
                                     {"fail@any-commandx*"},
                                     {"hang@read-version"},
                                     {"flip@20x40"},
                                     {"mcu=off"}};
    for (int transfer = 1; transfer < 110; transfer += 3) {
        situations.push_back({"nack@" + std::to_string(transfer)});
        situations.push_back({"lost@" + std::to_string(transfer)});
    }
    for (const Words& words : situations) {
        for (const Words& command :
             {Words{"status"}, Words{"metrics"}, Words{"watch", "--count", "2", "--csv"}, Words{"doctor"}}) {
            Situation situation(words);
            const sim::Board before = situation.board.clone();
            sim::TraceDecoder decoder(0);
            situation.board.on_transfer = [&](const sim::Transfer& transfer) {
                const std::string what = decoder.words(transfer, 0x08);
                EXPECT_TRUE(transfer.messages.back().read || what.starts_with("mcu command read-") ||
                            what.starts_with("mcu frame read-") || what.starts_with("mcu parameter "))
                    << what;
            };
            const ToolRun run = run_ctl_words(command);
            for (const char* bad : {"nan", "inf\n", "inf,", "inf "}) {
                EXPECT_EQ(run.out.find(bad), std::string::npos) << bad;
            }
            EXPECT_EQ(sim::state_text(situation.board, {}), sim::state_text(before, {}));
            EXPECT_TRUE(situation.board.flash.memory() == before.flash.memory());
            EXPECT_EQ(situation.board.violations, Words{});
        }
    }
}

TEST(Power, FailedReadings) {
    const struct {
        Words situation;
        const char* reason;
        const char* source;
        const char* powerrail;
    } cases[] = {{{"mcu=off"}, "no-answer", "null", "null"},
                 {{"mcu=off", "poe=0"}, "no-answer", "\"poe\"", "null"},
                 {{"fail@read-ports"}, "busy-mcu", "\"link1\"", "null"},
                 {{"hang@read-version"}, "busy-mcu", "\"link1\"", "24.094"},
                 {{"hang@read-flash-status"}, "busy-mcu", "\"link1\"", "24.094"}};
    for (const auto& c : cases) {
        const std::string reason = c.reason;
        Situation json(c.situation);
        const ToolRun status = run_ctl_words({"status", "--json"});
        EXPECT_EQ(status.status, 4);
        EXPECT_EQ(member(status.out, "reason"), "\"" + reason + "\"");
        EXPECT_EQ(member(status.out, "source"), c.source);
        EXPECT_EQ(member(status.out, "powerrail_volts"), c.powerrail);
        EXPECT_EQ(member(status.out, "cap_volts"), "4.511");
        EXPECT_EQ(status.err.rfind("sv_ctl: ", 0), 0U) << status.err;

        Situation text(c.situation);
        const ToolRun metrics = run_ctl_words({"metrics"});
        EXPECT_EQ(metrics.status, 4);
        EXPECT_NE(metrics.out.find("\nsorvan_up 0\n"), std::string::npos);
        EXPECT_NE(metrics.out.find("\nsorvan_failure_info{reason=\"" + reason + "\"} 1\n"), std::string::npos);
        EXPECT_EQ(metrics.out.find("sorvan_powerrail_volts 24.094\n") == std::string::npos,
                  std::string(c.powerrail) == "null");
    }
    Situation situation;
    EXPECT_EQ(member(run_ctl_words({"status", "--json", "--bus", "5"}).out, "reason"), "\"no-bus\"");
    Lock update;
    Failure failure;
    ASSERT_TRUE(update.take(kDefaultLock, Sharing::kAlone, 0, failure));
    for (const char* command : {"doctor", "status", "metrics"}) {
        situation.kernel.slept_us = 0;
        const ToolRun locked = run_ctl_words({command});
        EXPECT_EQ(locked.status, 75);
        EXPECT_EQ(locked.err, "sv_ctl: somebody else holds the lock /run/sv_updater/lock\n");
        EXPECT_GE(situation.kernel.slept_us, 5'000'000U);
        EXPECT_LT(situation.kernel.slept_us, 5'200'000U);
        const bool is_metrics = locked.out.find("\nsorvan_failure_info{reason=\"locked\"} 1\n") != std::string::npos;
        EXPECT_EQ(is_metrics, std::string(command) == "metrics");
    }
    EXPECT_EQ(situation.kernel.wire, Words{});
    // Readers share the lock; an update is alone.
    ASSERT_TRUE(update.take(kDefaultLock, Sharing::kShared, 0, failure));
    EXPECT_EQ(run_ctl_words({"status"}).status, 0);
    EXPECT_EQ(run_ctl_words({"update", "none.svu"}).status, 75);
}

TEST(Power, Metrics) {
    Situation situation({"teko1_oc_alert=4", "temp_nic=none"});
    const std::string text = run_ctl_words({"metrics"}).out;
    for (const char* line :
         {"# HELP sorvan_up Whether the MCU was read completely\n# TYPE sorvan_up gauge\nsorvan_up 1\n",
          "\nsorvan_info{hwid=\"0003\",swid=\"0100\",serial=\"202611220000000000000000000000000001\"} 1\n",
          "\nsorvan_source_info{source=\"link1\"} 1\n", "\nsorvan_interface_volts{interface=\"1\"} 23.996\n",
          "\n# TYPE sorvan_interface_overcurrent_alerts_total counter\n"
          "sorvan_interface_overcurrent_alerts_total{interface=\"1\"} 4\n"
          "sorvan_interface_overcurrent_alerts_total{interface=\"2\"} 0\n",
          "\nsorvan_region_info{region=\"0\",swid=\"0100\",checksum=\"4de3\"} 1\n",
          "\nsorvan_region_running{region=\"1\"} 0\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
    EXPECT_EQ(text.find("sorvan_failure_info"), std::string::npos);
    EXPECT_EQ(text.find("temperature_nic"), std::string::npos);
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
        lines.push_back(text.substr(at, text.find('\n', at) - at));
    }
    return lines;
}

TEST(Watch, AMissedReadingIsAnEmptyRow) {
    // Of the second reading, the status block is missing; the third one is complete again.
    Situation situation;
    const size_t reading = (run_ctl_words({"status"}), situation.kernel.wire.size());
    situation.board.add_fault("nack@" + std::to_string(2 * reading + 8) + "x2");
    const uint64_t begin = situation.kernel.now_us;
    const Words rows = lines_of(run_ctl_words({"watch", "--csv", "--count", "3", "--interval", "0.25"}).out);
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0].rfind("time,reason,source,", 0), 0U);
    std::istringstream head(rows[0] + ",result,retry,message");
    std::multiset<std::string> names;
    for (std::string name; std::getline(head, name, ',');) {
        names.insert(name);
        EXPECT_EQ(names.count(name), 1U) << name;
    }
    const auto commas = [](const std::string& row) { return std::count(row.begin(), row.end(), ','); };
    EXPECT_EQ(commas(rows[1]), commas(rows[0]));
    EXPECT_EQ(commas(rows[3]), commas(rows[0]));
    // The host's clock of this kernel has seconds of two: 3526660000 s
    EXPECT_EQ(rows[1].rfind("2081-10-02T19:46:40.", 0), 0U) << rows[1];
    EXPECT_NE(rows[1].find("Z,,link1,"), std::string::npos);
    EXPECT_EQ(rows[2].substr(rows[2].find('Z')),
              "Z,no-answer" + std::string(static_cast<size_t>(commas(rows[0])) - 1, ','));
    EXPECT_NE(rows[3].find("Z,,link1,"), std::string::npos);
    // No drift: what the readings themselves take is not added.
    const uint64_t taken = situation.kernel.now_us - begin;
    EXPECT_GE(taken, 500'000U);
    EXPECT_LT(taken, 700'000U);
}

TEST(Watch, TurnsThatPassDuringAReadingAreLeftOut) {
    Situation situation({"hang@read-version"});  // five seconds of polls
    const Words rows = lines_of(run_ctl_words({"watch", "--count", "2", "--interval", "2"}).out);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(member(rows[0], "reason"), "\"busy-mcu\"");
    EXPECT_EQ(member(rows[0], "powerrail_volts"), "null");
    EXPECT_EQ(member(rows[1], "reason"), "null");
    EXPECT_EQ(member(rows[0], "time").substr(0, 21), "\"2081-10-02T19:46:40.");
    EXPECT_EQ(member(rows[1], "time").substr(0, 21), "\"2081-10-02T19:46:52.");  // 6 s later, each shown as two
}

TEST(Watch, ASignalEndsIt) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Situation situation;
        situation.board.on_transfer = [&, left = 150](const sim::Transfer&) mutable {
            if (--left == 0) {
                std::raise(signal);
            }
        };
        const ToolRun run = run_ctl_words({"watch", "--interval", "0.1"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(lines_of(run.out).size(), 2U);
        for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
            std::signal(each, SIG_DFL);
        }
    }
    Situation situation;
    for (const Words& wrong :
         {Words{"watch", "--csv"}, Words{"metrics"}, Words{"watch", "--interval", "nan", "--count", "1"},
          Words{"watch", "--count", "-1"}, Words{"watch", "--count", "0"}, Words{"status", "--lock-wait", "nan"},
          Words{"status", "--lock-wait", "-1"}, Words{"bogus"}, Words{}}) {
        Words words = wrong;
        words.emplace_back("--json");
        const ToolRun usage = run_ctl_words(words);
        EXPECT_EQ(usage.status, 64) << usage.out;
        EXPECT_TRUE(usage.out.starts_with(R"({"result":"usage","reason":"bad-usage","retry":false,)")) << usage.out;
    }
    EXPECT_EQ(situation.kernel.wire, Words{});
}

}  // namespace

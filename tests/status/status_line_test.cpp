// SPDX-License-Identifier: MIT
#include "status/status_line.h"

#include "tests/support/device_test.h"

namespace {

class StatusLine : public DeviceTest {
protected:
    std::string line(const StatusInputs& inputs = {}) {
        return capture([&] {
                   print_status_line(device, inputs);
                   return 0;
               })
            .out;
    }

    /// One field of the line, by the words that begin it.
    std::string field(const std::string& name, size_t length) {
        const std::string text = line();
        const size_t at = text.find(name);
        return at == std::string::npos ? "missing" : text.substr(at, length);
    }
};

}  // namespace

TEST_F(StatusLine, HealthyBoardInOneLine) {
    sim::Scenario& s = board.scenario;
    s.status = {0x8A | 0x10, 0x02, 0x11, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 63, 15, 63};
    s.powerrail_raw = 1666;  // (1666 - 190) * 32.6397 * 2.048 / 4095 = 24.09
    s.temperature_raw = 1231;
    s.temperature_cal = 2560;
    s.cap_status = 0x0020;
    s.cap_vin = 0x2000;
    s.cap_iin = 0x0100;
    s.cap_vcap = 0x1000;
    s.cap_ichg = 0x0010;
    board.mcu.set_marker(0x11);
    // Checksum of region 1, erased, is 1cc1; region 0 runs.
    char region0[5];
    std::snprintf(region0, sizeof region0, "%04x", board.flash.checksum(0));
    EXPECT_EQ(line(), std::string("2025-11-16 21:53:20 up 1d 02:03:04  DISP=on  POE=off SVMCU=on  RST=no  SW=0100/0/") +
                          region0 +
                          " PWR=24.1V IN=Ln1/1 OUT=1+2 CAP=full/06.0V/0.2W USB=off TEMP=45.0degC,40.0degC,25.1degC");
    EXPECT_EQ(kernel.wire.size(), 115U);
    EXPECT_EQ(kernel.wire.front(), "R 50 00 1");
    EXPECT_EQ(kernel.wire[1], "R 08 0f 1");
    EXPECT_EQ(kernel.wire[2], "R 08 00 20");
    EXPECT_EQ(kernel.wire.back(), "R 10 00 1");
    EXPECT_EQ(kernel.sleeps_us.size(), 0U);
}

TEST_F(StatusLine, ResetShowsOnceAndTheMarkerIsWrittenBack) {
    EXPECT_EQ(field(" RST", 9), " RST=yes ");
    EXPECT_EQ(kernel.wire.size(), 116U);
    EXPECT_EQ(kernel.wire[3], "W 08 0f: 11");
    EXPECT_EQ(field(" RST", 9), " RST=no  ");
    board.mcu.set_marker(0x05);
    EXPECT_EQ(field(" RST", 9), " RST=05  ");
    board.mcu.set_marker(0x05);
    board.add_fault("nack@reg-0f#2");  // the first is the probe
    EXPECT_EQ(field(" RST", 9), " RST=ERR ");
}

TEST_F(StatusLine, InputsAndOutputs) {
    const struct {
        uint8_t byte0;
        uint8_t byte1;
        uint8_t byte2;
        const char* text;
    } cases[] = {
        {0x80, 0x00, 0x00, " IN=off   OUT=no  CAP"},
        {0x81, 0x00, 0x00, " IN=ext/? OUT=no  CAP"},
        {0x81, 0x02, 0x00, " IN=ext/0 OUT=no  CAP"},
        {0x1A, 0x00, 0x13, " IN=Ln1/3 OUT=1+2 CAP"},
        {0x8B, 0x00, 0xFF, " IN=Ln2/15 OUT=Ln1 CAP"},
        {0x90, 0x00, 0x00, " IN=off   OUT=Ln2 CAP"},
        {0x00, 0xAB, 0x00, " IO=NOT_supported 00 ab 00 00 00 00 00 00 00 00 00 00 00 00 00 11 0c 3f 0f 3f 01 CAP"},
        {0x65, 0x00, 0x00, " IO=NOT_supported 65 00 00 00 00 00 00 00 00 00 00 00 00 00 00 11 0c 3f 0f 3f 01 CAP"}};
    for (const auto& c : cases) {
        sim::Board fresh;
        fresh.mcu.set_marker(0x11);
        fresh.scenario.status[0] = c.byte0;
        fresh.scenario.status[1] = c.byte1;
        fresh.scenario.status[2] = c.byte2;
        FakeKernel own(fresh);
        const std::string text = line();
        EXPECT_NE(text.find(c.text), std::string::npos) << c.text << " not in " << text;
    }
}

TEST_F(StatusLine, DashesForEverySourceThatCannotBeRead) {
    board.mcu.set_marker(0x11);
    const struct {
        std::function<void(sim::Board&)> break_it;
        const char* text;
    } cases[] = {{[](sim::Board& b) { b.scenario.display = false; }, "  DISP=off POE="},
                 {[](sim::Board& b) { b.scenario.usb = true; }, " USB=on TEMP="},
                 {[](sim::Board& b) { b.scenario.uptime = "none"; }, " up no uptime  DISP="},
                 {[](sim::Board& b) { b.scenario.poe = "none"; }, " POE=--- SVMCU=on  RST="},
                 {[](sim::Board& b) { b.scenario.poe = "0"; }, " POE=on  SVMCU=on  RST="},
                 {[](sim::Board& b) { b.scenario.mcu = false; },
                  " POE=off SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=----- OUT=--- CAP=full/"},
                 {[](sim::Board& b) { b.scenario.mcu = false, b.scenario.poe = "0"; },
                  " POE=on  SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=PoE   OUT=--- CAP=full/"},
                 {[](sim::Board& b) { b.add_fault("nack@reg-00"); }, " RST=--- SW=0100/0/"},
                 {[](sim::Board& b) { b.add_fault("nack@reg-00"); }, "V IN=----- OUT=--- CAP="},
                 {[](sim::Board& b) { b.flash.install(1, std::vector<uint8_t>{1}, 0x0456), b.flash.boot(1); },
                  " SW=0456/1/5efc PWR="},
                 {[](sim::Board& b) { b.scenario.hwid = 9; }, " SW=----/-/---- PWR="},
                 {[](sim::Board& b) { b.add_fault("fail@read-flash-status"); }, " SW=----/-/---- PWR="},
                 {[](sim::Board& b) { b.add_fault("fail@read-ports"); }, " PWR=----V IN="},
                 {[](sim::Board& b) { b.add_fault("fail@read-ports"); }, " TEMP=45.0degC,40.0degC"},
                 {[](sim::Board& b) { b.scenario.charger = false; }, " CAP=----/----V/---W USB="},
                 {[](sim::Board& b) { b.scenario.cap_status = 0xFFDF; }, " CAP=notF/"},
                 {[](sim::Board& b) { b.scenario.temp_nic = "none"; }, " TEMP=0.1degC,40.0degC,"},
                 {[](sim::Board& b) { b.scenario.temperature_cal = 0; }, ",40.0degC,infdegC"}};
    for (const auto& c : cases) {
        sim::Board broken;
        broken.mcu.set_marker(0x11);
        c.break_it(broken);
        FakeKernel own(broken);
        const std::string text = line();
        EXPECT_NE(text.find(c.text), std::string::npos) << c.text << " not in " << text;
    }
}

TEST_F(StatusLine, CallersBlocksSpareTheReads) {
    const uint8_t block[21] = {0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x11, 0, 0, 0, 0, 1};
    const DiagRecord record{};
    const CapRegisters words{.cap_status = 0x20};
    const std::string text = line({block, &record, &words});
    EXPECT_NE(text.find(" PWR=----V IN=off   OUT=no  CAP=full/00.0V/0.0W USB="), std::string::npos) << text;
    EXPECT_EQ(kernel.wire.size(), 1 + 1 + 9 + 5 + 1);  // display, probe, identity, charger all the same, USB

    board.scenario.charger = false;
    EXPECT_NE(line({block, &record, &words}).find(" CAP=----/----V/---W USB="), std::string::npos);
}

TEST_F(StatusLine, LogSummary) {
    sim::Scenario& s = board.scenario;
    s.status = {0x9B, 0x02, 0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 63, 0, 0};
    s.powerrail_raw = 1666;
    s.ext_raw = 1000;  // 13.22 V
    s.teko1_pages[0] = 0xA1;
    s.teko1_pages[4] = 0xA5;
    s.teko2_pages[0] = 0xB1;
    s.teko2_pages[4] = 0xB5;
    const std::string rest = ", PWR=24.1V, IMP=12 63, DATA=";
    const std::string pages = ", U1=a1 00 00 00 a5, U2=b1 00 00 00 b5, EXT=13.2V";
    const struct {
        uint8_t byte0;
        uint8_t byte1;
        std::string text;
    } cases[] = {{0x9B, 0x02, "status SVMCU=on, OK=1 1, IN=Ln2/5, OUT=1+2" + rest + "9b 02 25" + pages},
                 {0x8A, 0x02, "status SVMCU=on, OK=1 1, IN=Ln1/5, OUT=Ln1" + rest + "8a 02 25" + pages},
                 {0x91, 0x02, "status SVMCU=on, OK=1 1, IN=ext/0, OUT=Ln2" + rest + "91 02 25" + pages},
                 {0x81, 0x00, "status SVMCU=on, OK=1 1, IN=ext/?, OUT=no" + rest + "81 00 25" + pages},
                 {0x80, 0x00, "status SVMCU=on, OK=1 1, IN=off, OUT=no" + rest + "80 00 25" + pages},
                 {0x05, 0x00, "status SVMCU=on, OK=1 1, IO=NOT_supported" + rest + "05 00 25" + pages}};
    for (const auto& c : cases) {
        s.status[0] = c.byte0;
        s.status[1] = c.byte1;
        kernel.syslog.clear();
        EXPECT_EQ(capture([&] { return log_status_summary(device) ? 1 : 0; }).err, log_line("info", c.text));
        EXPECT_EQ(kernel.syslog, (std::vector<SyslogLine>{{6, c.text}}));
    }
    EXPECT_EQ(kernel.wire.size(), 6U * 98U);

    board.add_fault("fail@read-ports");
    EXPECT_NE(capture([&] { return log_status_summary(device) ? 1 : 0; }).err.find("OK=1 0, IO=NOT"),
              std::string::npos);
    s.mcu = false;
    const ToolRun off = capture([&] { return log_status_summary(device) ? 1 : 0; });
    EXPECT_EQ(off.status, 0);
    EXPECT_EQ(off.err, log_line("info", "status SVMCU=off, OK=0, DATA=00 00 00"));
}

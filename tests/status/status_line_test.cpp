// SPDX-License-Identifier: MIT
// --status, and the same state as a line of the log.
#include "tests/support/device_test.h"

TEST(StatusLine, HealthyBoardInOneLine) {
    const BoardRun run = run_on_board({"marker=0x11", "status=9a0211000000000000000000000000000c3f0f3f",
                                       "temp_nic=45.02", "temp_disp=40.03", "temperature_raw=1231", "cap_status=0x0020",
                                       "cap_vin=0x2000", "cap_iin=0x0100", "cap_vcap=0x1000", "cap_ichg=0x0010"},
                                      {"--status"});
    // Temperatures of the host are rounded up; (1666 - 190) * 32.6397 * 2.048 / 4095 = 24.09.
    EXPECT_EQ(run.out,
              "2025-11-16 21:53:20 up 1d 02:03:04  DISP=on  POE=off SVMCU=on  RST=no  SW=0100/0/4de3 PWR=24.1V "
              "IN=Ln1/1 OUT=1+2 CAP=full/06.0V/0.2W USB=off TEMP=45.1degC,40.1degC,25.1degC\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.wire.size(), 115U);
    EXPECT_EQ(Wire(run.wire.begin(), run.wire.begin() + 4),
              (Wire{"R 50 00 1", "R 08 0f 1", "R 08 00 20", "W 08 a6: 00"}));
    EXPECT_EQ(Wire(run.wire.end() - 6, run.wire.end()),
              (Wire{"R 09 1b 2", "R 09 25 2", "R 09 28 2", "R 09 26 2", "R 09 29 2", "R 10 00 1"}));
    EXPECT_EQ(run.sleeps_us.size(), 0U);
}

TEST(StatusLine, Fields) {
    const std::string off = " SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=";
    const std::pair<Words, std::string> cases[] = {
        {{"display=0"}, "  DISP=off POE="},
        {{"usb=1"}, " USB=on TEMP="},
        {{"uptime=none"}, " up no uptime  DISP="},
        {{"poe=none"}, " POE=--- SVMCU=on  RST="},
        {{"poe=0"}, " POE=on  SVMCU=on  RST="},
        {{"mcu=0"}, " POE=off" + off + "----- OUT=--- CAP=full/"},
        {{"mcu=0", "poe=0"}, " POE=on " + off + "PoE   OUT=--- CAP=full/"},
        {{"nack@reg-00"}, " RST=--- SW=0100/0/"},
        {{"nack@reg-00"}, "V IN=----- OUT=--- CAP="},
        {{"marker=0"}, " RST=yes SW="},
        {{"marker=0x05"}, " RST=05  SW="},
        {{"marker=0x05", "nack@reg-0f#2"}, " RST=ERR SW="},  // the first is the probe
        {{"hwid=9"}, " SW=----/-/---- PWR="},
        {{"fail@read-flash-status"}, " SW=----/-/---- PWR="},
        {{"fail@read-ports"}, " PWR=----V IN="},
        {{"fail@read-ports"}, " TEMP=45.0degC,40.0degC\n"},
        {{"powerrail_raw=700"}, " PWR= 8.3V IN="},
        {{"charger=0"}, " CAP=----/----V/---W USB="},
        {{"cap_status=0xffdf"}, " CAP=notF/"},
        {{"temp_nic=none"}, " TEMP=0.1degC,40.0degC,"},
        {{"temperature_cal=0"}, ",40.0degC,infdegC"},
        {{"status=80"}, " IN=off   OUT=no  CAP"},
        {{"status=8100"}, " IN=ext/? OUT=no  CAP"},
        {{"status=8102"}, " IN=ext/0 OUT=no  CAP"},
        {{"status=1a0013"}, " IN=Ln1/3 OUT=1+2 CAP"},
        {{"status=8b00ff"}, " IN=Ln2/15 OUT=Ln1 CAP"},
        {{"status=9000"}, " IN=off   OUT=Ln2 CAP"},
        {{"status=0200"}, " IN=Ln1/0 OUT=no  CAP"},
        {{"status=00ab"}, " IO=NOT_supported 00 ab 00 00 00 00 00 00 00 00 00 00 00 00 00 11 00 00 00 00 01 CAP"},
        {{"status=65"}, " IO=NOT_supported 65 00 00 00 00 00 00 00 00 00 00 00 00 00 00 11 00 00 00 00 01 CAP"}};
    for (const auto& [situation, text] : cases) {
        Words words = {"marker=0x11"};
        for (std::string word : situation) {
            if (word.rfind("status=", 0) == 0) {
                word.resize(sizeof "status=" - 1 + 40, '0');
            }
            words.push_back(word);
        }
        const std::string out = run_on_board(words, {"--status"}).out;
        EXPECT_NE(out.find(text), std::string::npos) << joined(words) << text << " not in " << out;
    }
}

TEST(StatusLine, ResetShowsOnceAndTheMarkerIsWrittenBack) {
    sim::Board board;
    FakeKernel kernel(board);
    EXPECT_NE(run_tool_words({"--status-poetest"}).out.find(" RST=yes "), std::string::npos);
    EXPECT_EQ(kernel.wire.size(), 116U);
    EXPECT_EQ(kernel.wire[3], "W 08 0f: 11");
    EXPECT_NE(run_tool_words({"--status"}).out.find(" RST=no  "), std::string::npos);
    board.flash.install(1, Bytes{0x39}, 0x0456);
    board.flash.boot(1);
    EXPECT_NE(run_tool_words({"--status"}).out.find(" SW=0456/1/005f PWR="), std::string::npos);
}

TEST(StatusLine, EachCommandEndsItsLine) {
    const std::string line =
        "2025-11-16 21:53:20 up 1d 02:03:04  DISP=on  POE=off SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=----- "
        "OUT=--- CAP=full/04.5V/0.7W USB=off TEMP=45.0degC,40.0degC";
    expect_outcomes({{{"--addr", "0x33", "--status", "--status-poetest", "--status-poetest-rebooted"},
                      {},
                      0,
                      line + "\n" + line + "\n" + line + " REBOOTED\n",
                      "",
                      3 * 8}});
}

TEST(StatusLine, PowerStateInTheLog) {
    const std::string values = ", PWR=24.1V, IMP=12 63, DATA=";
    const std::string pages = " 25, U1=a1 a2 a3 a4 a5, U2=b1 b2 b3 b4 b5, EXT=13.2V";
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"9b02", "IN=Ln2/5, OUT=1+2", "9b 02"}, {"8a02", "IN=Ln1/5, OUT=Ln1", "8a 02"},
        {"9102", "IN=ext/0, OUT=Ln2", "91 02"}, {"8100", "IN=ext/?, OUT=no", "81 00"},
        {"8000", "IN=off, OUT=no", "80 00"},    {"0500", "IO=NOT_supported", "05 00"}};
    const std::string zeros(374, '0');
    for (const auto& [status, state, data] : cases) {
        const BoardRun run =
            run_on_board({std::string("status=") + status + "25000000000000000000000000000c3f0000", "ext_raw=1000",
                          "teko1_pages=a1a2a3a4a5" + zeros, "teko2_pages=b1b2b3b4b5" + zeros},
                         {"--debug-update"});
        const std::string text = std::string("status SVMCU=on, OK=1 1, ") + state + values + data + pages;
        EXPECT_EQ(run.err, "info  : " + text + "\n");
        EXPECT_EQ(run.syslog, (std::vector<SyslogLine>{{6, text}}));
        EXPECT_EQ(run.wire.size(), 98U);
    }
    EXPECT_NE(run_on_board({"fail@read-ports"}, {"--debug-update"}).err.find("OK=1 0, IN=Ln1/1, "), std::string::npos);
}

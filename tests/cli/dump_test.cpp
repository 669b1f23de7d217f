// SPDX-License-Identifier: MIT
// The dump of a fully populated board, single lines of others, and boards that stop answering half-way.
#include "tests/support/device_test.h"

namespace {

const char kSeparator[] = "-----------------\n";
const char kPoe[] = "POE               = on\n";

const std::string kWhole = expected_text("dump.txt");
const std::string kInputs = kWhole.substr(0, kWhole.find(kSeparator));
const std::string kMcu = kWhole.substr(0, kWhole.find(std::string(kSeparator) + kPoe));
const std::string kRest = kWhole.substr(kMcu.size());

// 1-Wire CRC-8, started at 0xFF: of 01 to 07 it is 09, of 08 to 1e ea.
const char kEeprom[] = "w1_eeprom=010203040506070908090a0b0c0d0e0f101112131415161718191a1b1c1d1eea";
const char kWrongAt7[] = "w1_eeprom=010203040506070808090a0b0c0d0e0f101112131415161718191a1b1c1d1eea";
const char kWrongAt31[] = "w1_eeprom=010203040506070908090a0b0c0d0e0f101112131415161718191a1b1c1d1eeb";

const std::pair<Words, const char*> kSingleLines[] = {
    {{"teko_enable=0x0005"}, "TEKO_ENABLE       = 5 PD1=disabled PD2=disabled (05 00)\n"},
    {{"teko_enable=0x00f0", "input_mode=0x00f2"},
     "TEKO_ENABLE       = 0 (f0 f2)\nInput_mode        = ff2 ignore-wrong-1wire high-priority\n"},
    {{"teko_enable=0x00d0", "input_mode=3"}, "Input_mode        = d03 unknown-priority\n"},
    {{}, "Input_mode        = 0 normal-priority\n"},
    {{"temperature_raw=1159"}, "Temperature       =  4.5 degC (0487 0a00)\n"},
    {{"temperature_raw=54", "temperature_cal=2571"}, "Temperature       = -312.0 degC (0036 0a0b)\n"},
    {{"teko1_voltage_raw=0x0266", "teko1_current_raw=0x0ac1"}, "TEKO1_POWER       =  16.8 W\n"},
    {{"teko1_voltage_raw=0x154f"}, "TEKO1_VOLTAGE     = 85.94 V (154f)\n"},
    {{"teko1_imp_valid_raw=0x2395"}, "9319"},
    {{"powerrail_raw=0x0fff"}, "powerrail         = 63.74 V (0fff)\n"},
    {{"powerrail_raw=192", "vcc_raw=192"}, "powerrail         =  0.03 V (00c0)\nVcc               =  0.01 V (00c0)\n"},
    {{"vspare2_raw=192"}, "Vspare2_B3        =  0.03 V (00c0)\n"},
    {{"ext_raw=0x0fff"}, "ext               = 63.74 V (0fff)\n"},
    {{"teko1_imp=0x0907"}, "TEKO1_IMP_0_1     =  7 Ohm\nTEKO1_IMP_1_2     =  9 Ohm\n"},
    {{"teko2_voltage_raw=192"}, "TEKO2_VOLTAGE     =  0.03 V (00c0)\n"},
    {{"teko1_sense_raw=192", "teko1_hpwr=16"}, ", sense= 0.03 V (00c0), hpwr=16\n"},
    // 1024.75 on average, taken for 1024
    {{"teko1_hpwr=0", "teko1_cable_sum=4099", "teko1_cable_count=4"}, ", cable=10.55 01003  4, "},
    {{"pse_states=0x0302", "pd_states=0x0504"}, "TEKO2_FSM         = PSE= 3 (check_precondition), PSEmax="},
    {{"pse_states=0x0302", "pd_states=0x0504"}, ", PD= 4 (set_rdet), PDmax="},
    {{"teko2_pd_com_fail=1", "teko2_pse_com_fail=2", "teko2_oc_shtd=3", "teko2_oc_alert=4"},
     "TEKO2_PD_COM_FAIL = 1 times\nTEKO2_PSE_COM_FAIL= 2 times\nTEKO2_OC_SHTD     = 3 times\n"
     "TEKO2_OC_ALERT    = 4 times\n"},
    {{kEeprom},
     "01 02 03 04  05 06 07 09  08 09 0a 0b  0c 0d 0e 0f  10 11 12 13  14 15 16 17  18 19 1a 1b  1c 1d 1e ea - ok "
     "(00)\n"},
    {{kWrongAt7}, " 1c 1d 1e ea - DATA_CRC (80)\n"},
    {{kWrongAt31}, " 1c 1d 1e eb - DATA_CRC (80)\n"},
    // What came before the third chunk stays, and no checksum is looked at.
    {{kWrongAt7, "w1_eeprom_status=6", "w1_eeprom_fails_at=16"},
     "05 06 07 08  08 09 0a 0b  0c 0d 0e 0f  11 11 11 11  11 11 11 11  11 11 11 11  11 11 11 11 - NOT_PRESENT"},
    {{"nack@2", "charger=0"}, "CAP ERROR: I2C write error, start 0f, size 01, value 11\n"},
    {{"marker=5", "nack@2", "charger=0"}, "CAP ERROR: I2C write error, start 0f, size 01, value 11\n"},
    {{"status=4000000000000000000002000000000000000000"}, "pending (00 00 00 00 00, invalid handshake 02)\n"},
    {{"fail@read-rom"}, "W1_ROM            = 81 81 9f 40  44 f0 0f 0f - ok (00)\n"}};

const std::string kNoRecord = kInputs + kRest;
const std::string kNoAnswer = "SVMCU ERROR: I2C read error, start 00, size 14\n";
const std::string kNoGpio = "POE ERROR: could not read PoE GPIO\nCAP ERROR: could not read PoE GPIO\n";

std::string halted(const std::string& reason) {
    return "SVMCU ERROR: while getting diagnostics: " + reason + "\n";
}

const struct {
    Words situation;
    std::string out;
    std::string err;
    size_t transfers;  // of --dump
    size_t more;       // of --dumps: presences, probe, identity and charger
    const char* line;  // what --dumps shows of it in its last line
} kHalfWay[] = {
    {{}, kWhole, "", 90, 17, " PWR=25.5V IN=Ln1/2 OUT=1+2 CAP=notF/06.0V/0.2W USB=off TEMP=45.1degC,40.1degC,-55.4"},
    {{"nack@102"}, kWhole, "", 90, 13, " CAP=----/----V/---W USB=off"},
    {{"hwid=9"}, kWhole, "", 90, 17, " SW=----/-/---- "},  // the second half of the identity is read nevertheless
    {{"mcu=0"}, kRest, kNoAnswer, 6, 8, " SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=PoE   OUT=--- CAP=notF/"},
    {{"nack@1"}, kRest, kNoAnswer, 6, 17, " SVMCU=on  RST=--- SW=0100/0/4de3 PWR=----V IN=----- OUT=--- CAP=notF/"},
    {{"fail@read-pse-states"},
     kNoRecord,
     halted("read cmd error, cmd 8e, start 0e, result 80"),
     34,
     17,
     " RST=no  SW=0100/0/4de3 PWR=----V IN=Ln1/2 OUT=1+2 CAP=notF/06.0V/0.2W USB=off TEMP=45.1degC,40.1degC\n"},
    {{"fail@read-ports"}, kNoRecord, halted("read cmd error, cmd 89, start 0e, result 80"), 80, 17, " PWR=----V "},
    {{"nack@53"}, kNoRecord, halted("I2C write error, start 0c, size 02"), 60, 17, " PWR=----V IN=Ln1/2 OUT=1+2 "},
    {{"nack@56"}, kNoRecord, halted(""), 63, 17, " PWR=----V "},  // a page
    // The ROM's bytes and the EEPROM's status: the text is that of the failed command before.
    {{"nack@77"}, kNoRecord, halted("read cmd error, cmd 0b, start 0e, result 80"), 84, 17, " PWR=----V "},
    {{"nack@83"}, kNoRecord, halted("read cmd error, cmd 0a, start 0e, result 80"), 90, 17, " PWR=----V "},
    {{"fail=0x81@reset-diagnostics"},
     kWhole,
     "SVMCU ERROR: failed to reset diagnostics: read cmd error, cmd 8d, start 0e, result 81\n",
     90,
     17,
     " PWR=25.5V "},
    {{"charger=0", "poe=none"}, kMcu + kSeparator + kSeparator, kNoGpio, 86, 13, " POE=--- "},
    {{"charger=0"},
     kMcu + kSeparator + kPoe + kSeparator,
     "CAP ERROR: read cmd error, cmd 0a, start 0e, result 80\n",
     86,
     13,
     " CAP=----/----V/---W USB=off"}};

/// Every kind of value that the dump can show: open and invalid impedances, first, last and unknown states, all six
/// kinds of pins, right and wrong check values, a sum without a count, high power, what is below zero.
Words populated(const Words& more) {
    Words all = split(expected_text("populated_board.txt"));
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

}  // namespace

TEST(Dump, TheCountersAreForgottenUnlessTheyAreToBeKept) {
    const char line[] = "TEKO1_UC_SHTD     = 255 times\n";
    sim::Board board;
    set_up(board, populated({}));
    FakeKernel kernel(board);
    // Without the reset, a dump has two transfers less.
    for (const auto& [words, shown, transfers] :
         {std::tuple<Words, bool, size_t>{{"--no-dump-reset", "--dump"}, true, 88},
          {{"--dump"}, true, 90},
          {{"--dump"}, false, 90}}) {
        kernel.wire.clear();
        EXPECT_EQ(run_tool_words(words).out.find(line) != std::string::npos, shown);
        EXPECT_EQ(kernel.wire.size(), transfers);
    }
}

TEST(Dump, EveryTransferInOrder) {
    Wire expected = {"R 08 00 20", "W 08 0f: 11"};  // the marker that a reset has cleared
    for (const char* code :
         {"80", "81", "83", "84", "85", "86", "87", "88", "8e", "90", "8b", "8a", "96", "8c", "97", "00", "02"}) {
        expected.insert(expected.end(), {std::string("W 08 0e: ") + code, "R 08 0e 1", "R 08 0c 2"});
    }
    expected.insert(expected.end(),
                    {"W 08 0c: 05 00", "W 08 0e: 91", "R 08 0e 1",      "R 08 60 32",  "W 08 0c: 05 00", "W 08 0e: 92",
                     "R 08 0e 1",      "R 08 60 32",  "W 08 0c: 00 00", "W 08 0e: 91", "R 08 0e 1",      "R 08 60 5",
                     "W 08 0c: 00 00", "W 08 0e: 92", "R 08 0e 1",      "R 08 60 5",   "W 08 0e: 93",    "R 08 0e 1",
                     "R 08 60 20",     "W 08 0e: 89", "R 08 0e 1",      "R 08 60 18",  "W 08 0e: 0b",    "R 08 0e 1",
                     "R 08 60 8",      "R 08 0c 1"});
    for (const char* offset : {"00", "08", "10", "18"}) {
        expected.insert(expected.end(), {std::string("W 08 0c: ") + offset + " 00", "W 08 0e: 0a", "R 08 0e 1",
                                         "R 08 60 8", "R 08 0c 1"});
    }
    expected.insert(expected.end(),
                    {"W 08 0e: 8d", "R 08 0e 1", "R 09 1b 2", "R 09 25 2", "R 09 28 2", "R 09 26 2", "R 09 29 2"});
    const BoardRun run = run_on_board({}, {"--dump"});
    EXPECT_EQ(run.wire, expected);
    EXPECT_NE(run.out.find("reset             = occurred (00)\n"), std::string::npos);
}

TEST(Dump, SingleLines) {
    for (const auto& [situation, line] : kSingleLines) {
        const BoardRun run = run_on_board(situation, {"--dump"});
        EXPECT_NE((run.out + run.err).find(line), std::string::npos) << joined(situation) << line << run.out << run.err;
    }
}

TEST(Dump, GoesOnWithWhatCanBeRead) {
    for (const auto& c : kHalfWay) {
        SCOPED_TRACE(joined(c.situation));
        const BoardRun dump = run_on_board(populated(c.situation), {"--dump"});
        EXPECT_EQ(dump.status, 0);
        EXPECT_EQ(dump.out, c.out);
        EXPECT_EQ(dump.err, c.err);
        EXPECT_EQ(dump.wire.size(), c.transfers);
        const BoardRun dumps = run_on_board(populated(c.situation), {"--dumps"});
        EXPECT_EQ(dumps.err, c.err);
        EXPECT_EQ(dumps.out.substr(0, c.out.size()), c.out);
        EXPECT_NE(dumps.out.find(c.line, c.out.size()), std::string::npos) << dumps.out.substr(c.out.size());
        EXPECT_EQ(dumps.wire.size(), c.transfers + c.more);
    }
}

TEST(Dump, DumpsEndsWithTheChargerWordsOfTheDump) {
    sim::Board board;
    FakeKernel kernel(board);
    board.on_transfer = [&](const sim::Transfer& transfer) {
        if (transfer.number == 106) {  // the last one of the dump
            board.scenario.cap_status = 0;
        }
    };
    EXPECT_NE(run_tool_words({"--dumps"}).out.find(" CAP=full/"), std::string::npos);
    EXPECT_NE(run_tool_words({"--status"}).out.find(" CAP=notF/"), std::string::npos);
}

TEST(StatusPoe, ShowsTheInputOrEndsTheRun) {
    expect_outcomes({{{"--status-poe"}, {}, 0, "POE: off\n", "", 0},
                     {{"--status-poe"}, {"poe=0"}, 0, "POE: on\n", "", 0},
                     {{"--status-poe", "--bom-version"}, {"poe=none"}, 255, "", "ERROR: could not read PoE GPIO", 0}});
}

// SPDX-License-Identifier: MIT
// The dump of a fully populated board, and of boards that stop answering half-way.
#include <gtest/gtest.h>

#include "tests/support/tool_run.h"

namespace {

void set(sim::Board& board, const std::vector<std::pair<const char*, const char*>>& knobs) {
    for (const auto& [name, value] : knobs) {
        ASSERT_EQ(sim::set_knob(board.scenario, name, value), "");
    }
}

/// Every kind of value that the dump can show: open and invalid impedances, first, last and unknown states, all six
/// kinds of pins, right and wrong check values, a sum without a count, high power, what is below zero.
void populate(sim::Board& board) {
    set(board, {{"status", "5a0612000001020304050100000000000cffc83f"}, {"ext_raw", "0x0064"}, {"w1_rom_status", "3"}});
    set(board, {{"teko1_voltage_raw", "0x0800"},
                {"teko1_current_raw", "0x0400"},
                {"teko1_imp", "0x403f"},
                {"teko2_voltage_raw", "0x0010"},
                {"teko2_current_raw", "0x00a0"},
                {"teko2_imp", "0xc83e"},
                {"pse_states", "0x1e1d"},
                {"pd_states", "0x1b1a"},
                {"powerrail_raw", "0x06d6"},
                {"vcc_raw", "0x0400"},
                {"temperature_raw", "950"},
                {"temperature_cal", "2560"},
                {"vspare1_raw", "0x0100"},
                {"vspare2_raw", "0x0fff"},
                {"teko_enable", "0x122a"},
                {"input_mode", "0x3401"}});
    set(board, {{"teko1_imp_valid_raw", "0x0400"},
                {"teko1_imp_invalid_raw", "190"},
                {"teko1_cable_sum", "4096"},
                {"teko1_cable_count", "4"},
                {"teko1_pd_com_fail", "1"},
                {"teko1_pse_com_fail", "2"},
                {"teko1_oc_shtd", "3"},
                {"teko1_oc_alert", "4"},
                {"teko1_uc_shtd", "255"},
                {"teko1_imp_valid_count", "99"},
                {"teko1_imp_low", "7"},
                {"teko1_imp_high", "250"},
                {"teko1_pse_state_max", "0"},
                {"teko1_pd_state_max", "0"},
                {"killpower_count", "5"},
                {"teko1_sense_raw", "0x0900"},
                {"teko1_hpwr", "1"},
                {"teko1_ps_flags", "0xcd"}});
    set(board, {{"teko2_imp_valid_raw", "0x0fff"},
                {"teko2_imp_invalid_raw", "0"},
                {"teko2_cable_sum", "70000"},
                {"teko2_cable_count", "0"},
                {"teko2_pse_state_max", "27"},
                {"teko2_pd_state_max", "5"},
                {"undervoltage_count", "6"},
                {"teko2_sense_raw", "0"},
                {"teko2_hpwr", "0"},
                {"teko2_ps_flags", "0xab"}});
    set(board, {{"nevents", "12345671000000000000000000000000deadbeef"},
                {"ports", "0f3cf0f0f0f00ff0ff0000ff0055aaaa5500"},
                {"w1_eeprom_status", "6"},
                {"poe", "0"},
                {"cap_status", "0x0041"},
                {"cap_vin", "0x2000"},
                {"cap_iin", "0x0100"},
                {"cap_vcap", "0x1000"},
                {"cap_ichg", "0x0010"}});
    board.scenario.teko1_pages[0] = 0xA0;
    board.scenario.teko1_pages[4] = 0xA4;
    board.mcu.set_marker(0x11);
}

const char kInputs[] =
    "status            = 5a 06 12\n"
    "source            = Link1, index=2\n"
    "TEKO1             = connected\n"
    "TEKO2             = connected\n"
    "reset             = no (11)\n"
    "message           = pending (01 02 03 04 05)\n"
    "TEKO_support      = NOT supported\n"
    "ext               = validated\n"
    "Input_status      = error\n"
    "TEKO_idx          = 2 (downstream)\n"
    "TEKO1_IMP         = 12 Ohm (200 max)\n"
    "TEKO2_IMP         = 255 Ohm (63 max)\n"
    "TEKO1_OC          = yes, alert=no\n"
    "TEKO2_OC          = no, alert=no\n";

const char kDiagnostics[] =
    "-----------------\n"
    "ext               = -1.47 V (0064)\n"
    "W1_ROM            = 2d 01 02 03  04 05 06 97 - unknown (03)\n"
    "W1_EEPROM         = 11 11 11 11  11 11 11 11  11 11 11 11  11 11 11 11  11 11 11 11  11 11 11 11  11 11 11 11  "
    "11 11 11 11 - NOT_PRESENT (06)\n"
    "-----------------\n"
    "TEKO1_VOLTAGE     = 30.33 V (0800)\n"
    "TEKO1_CURRENT     = 0.787 A (0400)\n"
    "TEKO1_POWER       =  23.9 W\n"
    "TEKO1_IMP_0_1     = 63 Ohm (open)\n"
    "TEKO1_IMP_1_2     = 64 Ohm (invalid)\n"
    "TEKO1_IMP_DEBUG   = valid=0400 6662 99, invalid=00be 6388, high=250, low=  7, cable= 8.80 01000  4, sense=34.51 V "
    "(0900), hpwr=1\n"
    "TEKO1_FSM         = PSE=29 (enable_powersw), PSEmax= 0 (unknown), PD=26 (low_power_finished), PDmax= 0 (unknown)\n"
    "NEVENT1_MSG       = 12 34 56 71 (ok)\n"
    "TEKO1_PD_COM_FAIL = 1 times\n"
    "TEKO1_PSE_COM_FAIL= 2 times\n"
    "TEKO1_OC_SHTD     = 3 times\n"
    "TEKO1_OC_ALERT    = 4 times\n"
    "TEKO1_UC_SHTD     = 255 times\n"
    "TEKO1_DEBUG       = 00 00 be 00  00 04 00 10  00 00 04 01  02 03 04 ff  63 07 fa 00  00 05 00 09  01 00 cd 00  00 "
    "00 00 00   a0 00 00 00  a4\n"
    "-----------------\n"
    "powerrail         = 25.47 V (06d6)\n"
    "Vcc               =  4.17 V (0400)\n"
    "killpower_count   = 5 times\n"
    "undervoltage_count= 6 times\n"
    "determine_PS_flags= abcd\n"
    "-----------------\n"
    "TEKO2_VOLTAGE     = -2.84 V (0010)\n"
    "TEKO2_CURRENT     = -0.028 A (00a0)\n"
    "TEKO2_POWER       =   0.1 W\n"
    "TEKO2_IMP_0_1     = 62 Ohm\n"
    "TEKO2_IMP_1_2     = 200 Ohm (invalid)\n"
    "TEKO2_IMP_DEBUG   = valid=0fff 7671  0, invalid=0000 6326, high=  0, low=  0, cable=883.31 11170  0, sense=-3.10 "
    "V "
    "(0000), hpwr=0\n"
    "TEKO2_FSM         = PSE=30 (unknown), PSEmax=27 (nevent_finished), PD=27 (unknown), PDmax= 5 "
    "(wait_for_signature)\n"
    "NEVENT2_MSG       = de ad be ef (0e)\n"
    "TEKO2_PD_COM_FAIL = 0 times\n"
    "TEKO2_PSE_COM_FAIL= 0 times\n"
    "TEKO2_OC_SHTD     = 0 times\n"
    "TEKO2_OC_ALERT    = 0 times\n"
    "TEKO2_UC_SHTD     = 0 times\n"
    "TEKO2_DEBUG       = 00 00 00 00  ff 0f 70 11  01 00 00 00  00 00 00 00  00 00 00 1b  05 06 00 00  00 00 ab 00  00 "
    "00 00 00   00 00 00 00  00\n"
    "-----------------\n"
    "PORTS_INFO1       = A:LAA-AAAR     B:L1RR-AAA     C:2211IIII     D:2121WW12     E:PS122P12     F:12122112    \n"
    "PORTS_INFO2       = A:3AA-AAAF     B:PRFP-AAA     C:SLLGCDCD     D:LLGSOIDD     E:GWSSRGDD     F:PPGGSSCC    \n"
    "PORTS             = A:oo??IIii(3c) B:OOOOiiii(f0) C:????....(f0) D:oooooooo(00) E:oIoIoIoI(55) F:iIiIiIiI(55)\n"
    "TEKO_ENABLE       = a PSE1=disabled PSE2=disabled (2a 01)\n"
    "Input_mode        = 201 ignore-wrong-1wire low-priority\n"
    "Temperature       = -55.4 degC (03b6 0a00)\n"
    "Vspare1_A4        =  1.08 V (0100)\n"
    "Vspare2_B3        = 63.74 V (0fff)\n";

const char kSeparator[] = "-----------------\n";
const char kPoe[] = "POE               = on\n";

const char kCharger[] =
    "CAP_STATUS        = not-full mode=chg chg=off Vcap<pwr_gd mgr=shunt Vin>PFI (0041)\n"
    "CAP_VIN           =   18.104 V (2000)\n"
    "CAP_IIN           =    8.4  mA (0100)\n"
    "CAP_PIN           =    0.15  W (0.22 W)\n"
    "CAP_VCAP          =    6.046 V (1000)\n"
    "CAP_ICHG          =    6.3  mA (0010)\n";

}  // namespace

TEST(Dump, FullyPopulatedBoard) {
    sim::Board board;
    populate(board);
    FakeKernel kernel(board);
    const ToolRun run = run_tool_words({"--dump"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, std::string(kInputs) + kDiagnostics + kSeparator + kPoe + kSeparator + kCharger);
    // The EEPROM's first status ends its read: 15 transfers less than the 105 of a complete record.
    ASSERT_EQ(kernel.wire.size(), 90U);
    EXPECT_EQ(kernel.wire[83], "W 08 0e: 8d");
    // The board has forgotten its counters and kept its measurements.
    EXPECT_NE(run_tool_words({"--no-dump-reset", "--dump"}).out.find("TEKO1_UC_SHTD     = 0 times\n"),
              std::string::npos);
    EXPECT_EQ(kernel.wire.size(), 90U + 88U);
}

TEST(Dump, DisabledInputs) {
    sim::Board board;
    board.scenario.teko_enable = 0x0005;
    FakeKernel kernel(board);
    EXPECT_NE(run_tool_words({"--dump"}).out.find("TEKO_ENABLE       = 5 PD1=disabled PD2=disabled (05 00)\n"),
              std::string::npos);
}

TEST(Dump, MarkerIsWrittenBackAfterAReset) {
    sim::Board board;
    FakeKernel kernel(board);
    EXPECT_NE(run_tool_words({"--dump"}).out.find("reset             = occurred (00)\n"), std::string::npos);
    EXPECT_EQ(kernel.wire.size(), 106U);
    EXPECT_EQ(kernel.wire[1], "W 08 0f: 11");
    EXPECT_NE(run_tool_words({"--dump"}).out.find("reset             = no (11)\n"), std::string::npos);
    EXPECT_EQ(kernel.wire.size(), 106U + 105U);
}

TEST(Dump, GoesOnWithWhatCanBeRead) {
    const std::string poe_and_charger = std::string(kSeparator) + kPoe + kSeparator + kCharger;
    const struct {
        const char* what;
        std::function<void(sim::Board&)> break_it;
        std::string out;
        std::string err;
        size_t transfers;  // of --dump
        const char* line;  // what --dumps shows of it in its last line
    } cases[] = {
        {"no MCU", [](sim::Board& b) { b.scenario.mcu = false; }, poe_and_charger,
         "SVMCU ERROR: I2C read error, start 00, size 14\n", 6,
         " SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=PoE   OUT=--- CAP=notF/06.0V/0.2W"},
        {"ninth command", [](sim::Board& b) { b.add_fault("fail@read-pse-states"); }, kInputs + poe_and_charger,
         "SVMCU ERROR: while getting diagnostics: read cmd error, cmd 8e, start 0e, result 80\n", 1 + 26 + 2 + 5,
         " RST=no  SW=0100/0/a962 PWR=----V IN=Ln1/2 OUT=1+2 CAP=notF/06.0V/0.2W USB=off TEMP=45.0degC,40.0degC\n"},
        {"plain read", [](sim::Board& b) { b.add_fault("nack@56"); }, kInputs + poe_and_charger,
         "SVMCU ERROR: while getting diagnostics: \n", 56 + 2 + 5, " PWR=----V IN=Ln1/2 OUT=1+2 "},
        {"reset", [](sim::Board& b) { b.add_fault("fail=0x81@reset-diagnostics"); },
         std::string(kInputs) + kDiagnostics + poe_and_charger,
         "SVMCU ERROR: failed to reset diagnostics: read cmd error, cmd 8d, start 0e, result 81\n", 90, " PWR=25.5V "},
        {"no charger, no GPIO", [](sim::Board& b) { b.scenario.charger = false, b.scenario.poe = "none"; },
         std::string(kInputs) + kDiagnostics + kSeparator + kSeparator,
         "POE ERROR: could not read PoE GPIO\nCAP ERROR: could not read PoE GPIO\n", 86, " POE=--- "},
        {"no charger", [](sim::Board& b) { b.scenario.charger = false; },
         std::string(kInputs) + kDiagnostics + kSeparator + kPoe + kSeparator,
         "CAP ERROR: read cmd error, cmd 0a, start 0e, result 80\n", 86, " CAP=----/----V/---W USB=off"},
    };
    for (const auto& c : cases) {
        for (const char* word : {"--dump", "--dumps"}) {
            sim::Board board;
            populate(board);
            c.break_it(board);
            FakeKernel kernel(board);
            const ToolRun run = run_tool_words({word});
            EXPECT_EQ(run.status, 0) << c.what;
            EXPECT_EQ(run.err, c.err) << c.what;
            const std::string line = run.out.substr(std::min(c.out.size(), run.out.size()));
            EXPECT_EQ(run.out, c.out + line) << c.what;
            if (word == std::string("--dump")) {
                EXPECT_EQ(line, "") << c.what;
                EXPECT_EQ(kernel.wire.size(), c.transfers) << c.what;
            } else {
                EXPECT_NE(line.find(c.line), std::string::npos) << line;
            }
        }
    }
}

TEST(Dump, DumpsEndsWithTheStatusLineOfTheSameData) {
    sim::Board board;
    populate(board);
    FakeKernel kernel(board);
    std::string out = run_tool_words({"--dumps"}).out;
    EXPECT_NE(out.find("PWR=25.5V IN=Ln1/2 OUT=1+2 CAP=notF/06.0V/0.2W USB=off TEMP=45.0degC,40.0degC,-55.4degC\n"),
              std::string::npos)
        << out.substr(out.size() - 300);
    // Dump, presences, identity, the charger once more.
    EXPECT_EQ(kernel.wire.size(), 90U + 3U + 9U + 5U);

    // Blocks that could not be read are handed over as they are: zero.
    board.add_fault("nack@reg-00");
    out = run_tool_words({"--dumps"}).out;
    EXPECT_NE(out.find(" SVMCU=on  RST=--- SW=0100/0/"), std::string::npos) << out;
    EXPECT_NE(out.find(" PWR=----V IN=----- OUT=--- CAP=notF/06.0V/0.2W"), std::string::npos) << out;
}

TEST(StatusPoe, TellsOrEndsTheRun) {
    sim::Board board;
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--status-poe"}).out, "POE: off\n");
    board.scenario.poe = "0";
    EXPECT_EQ(run_tool_words({"--status-poe"}).out, "POE: on\n");
    board.scenario.poe = "none";
    const ToolRun run = run_tool_words({"--status-poe", "--bom-version"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "ERROR: could not read PoE GPIO");
}

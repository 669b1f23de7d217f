// SPDX-License-Identifier: MIT
#include "diag/read_diagnostics.h"

#include <cstring>
#include <numeric>

#include "diag/formulas.h"
#include "tests/support/device_test.h"

namespace {

class Diagnostics : public DeviceTest {
protected:
    DiagRecord record{};
};

// 1-Wire CRC-8, started at 0xFF, of 01 02 03 04 05 06 07 and of the 23 bytes 08..1e.
constexpr uint8_t kCrcOf01To07 = 0x09;
constexpr uint8_t kCrcOf08To1E = 0xEA;

sim::Bytes sound_eeprom() {
    sim::Bytes eeprom(32);
    std::iota(eeprom.begin(), eeprom.begin() + 7, uint8_t{1});
    eeprom[7] = kCrcOf01To07;
    std::iota(eeprom.begin() + 8, eeprom.begin() + 31, uint8_t{8});
    eeprom[31] = kCrcOf08To1E;
    return eeprom;
}

}  // namespace

TEST_F(Diagnostics, ReadsEverythingInOrder) {
    EXPECT_TRUE(read_diagnostics(device, record));
    EXPECT_EQ(record.valid, 1);
    Wire expected;
    for (const char* code :
         {"80", "81", "83", "84", "85", "86", "87", "88", "8e", "90", "8b", "8a", "96", "8c", "97", "00", "02"}) {
        expected.insert(expected.end(), {std::string("W 08 0e: ") + code, "R 08 0e 1", "R 08 0c 2"});
    }
    const Wire rest = {"W 08 0c: 05 00", "W 08 0e: 91", "R 08 0e 1",      "R 08 60 32",     "W 08 0c: 05 00",
                       "W 08 0e: 92",    "R 08 0e 1",   "R 08 60 32",     "W 08 0c: 00 00", "W 08 0e: 91",
                       "R 08 0e 1",      "R 08 60 5",   "W 08 0c: 00 00", "W 08 0e: 92",    "R 08 0e 1",
                       "R 08 60 5",      "W 08 0e: 93", "R 08 0e 1",      "R 08 60 20",     "W 08 0e: 89",
                       "R 08 0e 1",      "R 08 60 18",  "W 08 0e: 0b",    "R 08 0e 1",      "R 08 60 8",
                       "R 08 0c 1"};
    expected.insert(expected.end(), rest.begin(), rest.end());
    for (const char* offset : {"00", "08", "10", "18"}) {
        expected.insert(expected.end(), {std::string("W 08 0c: ") + offset + " 00", "W 08 0e: 0a", "R 08 0e 1",
                                         "R 08 60 8", "R 08 0c 1"});
    }
    EXPECT_EQ(kernel.wire, expected);
}

TEST_F(Diagnostics, PutsEveryValueInItsPlace) {
    sim::Scenario& s = board.scenario;
    uint16_t value = 0x0102;
    for (uint16_t* word :
         {&s.powerrail_raw, &s.ext_raw, &s.teko1_voltage_raw, &s.teko2_voltage_raw, &s.teko1_current_raw,
          &s.teko2_current_raw, &s.teko1_imp, &s.teko2_imp, &s.pse_states, &s.pd_states, &s.vcc_raw, &s.temperature_raw,
          &s.temperature_cal, &s.vspare1_raw, &s.vspare2_raw, &s.teko_enable, &s.input_mode}) {
        *word = value;
        value = static_cast<uint16_t>(value + 0x0202);
    }
    std::iota(s.teko1_pages.begin(), s.teko1_pages.end(), uint8_t{0x10});
    std::iota(s.teko2_pages.begin(), s.teko2_pages.end(), uint8_t{0x20});
    std::iota(s.ports.begin(), s.ports.end(), uint8_t{0x30});
    s.w1_eeprom = sound_eeprom();
    ASSERT_TRUE(read_diagnostics(device, record));
    EXPECT_EQ(record.powerrail_raw, 0x0102);
    EXPECT_EQ(record.ext_raw, 0x0304);
    EXPECT_EQ(record.teko2_current_raw, 0x0B0C);
    EXPECT_EQ(record.teko1_imp_0_1, 0x0E);
    EXPECT_EQ(record.teko1_imp_1_2, 0x0D);
    EXPECT_EQ(record.teko2_imp_0_1, 0x10);
    EXPECT_EQ(record.teko1_pse_state, 0x12);
    EXPECT_EQ(record.teko2_pse_state, 0x11);
    EXPECT_EQ(record.teko2_pd_state, 0x13);
    EXPECT_EQ(record.vcc_raw, 0x1516);
    EXPECT_EQ(record.temperature_raw, 0x1718);
    EXPECT_EQ(record.temperature_cal, 0x191A);
    EXPECT_EQ(record.vspare2_raw, 0x1D1E);
    EXPECT_EQ(record.teko_enable, 0x20);  // only the low byte
    EXPECT_EQ(record.input_mode, 0x22);
    EXPECT_EQ(record.teko1_pages[5][0], 0x10 + 160);
    EXPECT_EQ(record.teko2_pages[5][31], 0x20 + 191);
    EXPECT_EQ(record.teko1_pages[0][4], 0x14);
    EXPECT_EQ(record.teko1_pages[0][5], 0);  // not read
    EXPECT_EQ(record.ports[5].out, 0x3F);
    EXPECT_EQ(record.ports[5].in, 0x40);
    EXPECT_EQ(record.ports[5].dir, 0x41);
    EXPECT_EQ(record.w1_rom[0], 0x2D);
    EXPECT_EQ(record.w1_eeprom[30], 0x1E);
    EXPECT_EQ(record.w1_eeprom_status, 0);
}

TEST_F(Diagnostics, ChecksNeventMessages) {
    board.scenario.nevents = {0x12, 0x34, 0x56, 0x71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x75};
    ASSERT_TRUE(read_diagnostics(device, record));
    EXPECT_EQ(record.nevent1_crc, 1);
    EXPECT_EQ(record.nevent1_crc_ok, 1);
    EXPECT_EQ(record.nevent2_crc, 1);
    EXPECT_EQ(record.nevent2_crc_ok, 0);
    EXPECT_EQ(record.nevent2_msg[3], 0x75);
}

TEST_F(Diagnostics, OneWireTroubleIsDataAndNotAFailure) {
    board.scenario.w1_eeprom_status = 6;
    board.scenario.w1_rom_status = 6;
    EXPECT_TRUE(read_diagnostics(device, record));
    EXPECT_EQ(record.w1_rom_status, 6);
    EXPECT_EQ(record.w1_eeprom_status, 6);
    EXPECT_EQ(record.w1_eeprom[0], 0x11);
    EXPECT_EQ(record.valid, 1);

    // The third chunk: what came before it stays, and no checksum is looked at.
    board.scenario.w1_eeprom = sound_eeprom();
    board.scenario.w1_eeprom[7] ^= 1;
    board.scenario.w1_eeprom_fails_at = 16;
    EXPECT_TRUE(read_diagnostics(device, record));
    EXPECT_EQ(record.w1_eeprom_status, 6);
    EXPECT_EQ(record.w1_eeprom[15], 0x0F);
    EXPECT_EQ(record.w1_eeprom[16], 0x11);

    board.scenario.w1_eeprom_status = 0;
    for (const size_t wrong : {size_t{7}, size_t{31}}) {
        board.scenario.w1_eeprom = sound_eeprom();
        board.scenario.w1_eeprom[wrong] ^= 1;
        EXPECT_TRUE(read_diagnostics(device, record));
        EXPECT_EQ(record.w1_eeprom_status, 0x80) << wrong;
    }
}

TEST_F(Diagnostics, EndsAtTheFirstFailureAndSaysWhetherItHasAReason) {
    const struct {
        const char* fault;
        const char* text;
        size_t transfers;
    } cases[] = {
        {"fail@read-ext", "read cmd error, cmd 81, start 0e, result 80", 5},
        {"nack@55", "older", 55},                               // page 5 of TEKO1
        {"nack@52", "I2C write error, start 0c, size 02", 52},  // its parameter
        {"fail@read-ports", "read cmd error, cmd 89, start 0e, result 80", 72},
        {"fail@read-rom", "", 0},  // ignored, and its text stays
        {"nack@76", "older", 76},  // the ROM itself
        {"nack@97", "older", 97}   // the very last status
    };
    for (const auto& c : cases) {
        sim::Board faulty;
        faulty.add_fault(c.fault);
        FakeKernel own(faulty);
        record = {};
        record.input_mode = 0xAB;
        device.last_error = "older";
        EXPECT_EQ(read_diagnostics(device, record), c.transfers == 0) << c.fault;
        EXPECT_EQ(record.valid, c.transfers == 0 ? 1 : 0) << c.fault;
        EXPECT_EQ(own.wire.size(), c.transfers == 0 ? 97 : c.transfers) << c.fault;
        EXPECT_EQ(device.last_error, c.transfers == 0 ? "read cmd error, cmd 0b, start 0e, result 80" : c.text)
            << c.fault;
        EXPECT_EQ(record.w1_eeprom[31], c.transfers == 0 ? 0xEA : 0x11);
    }
}

TEST(Formulas, WorkedValues) {
    const Calibration cal;
    EXPECT_EQ(volts(cal, 190, cal.k_powerrail), 0.0F);
    EXPECT_NEAR(static_cast<double>(volts(cal, 0, cal.k_powerrail)), -3.1015, 0.00005);
    EXPECT_NEAR(static_cast<double>(volts(cal, 1000, cal.k_powerrail)), 13.2223, 0.00005);
    EXPECT_NEAR(static_cast<double>(volts(cal, 1000, cal.k_teko_current)), 0.7648, 0.00005);
    DiagRecord record{};
    record.temperature_raw = 1231;
    record.temperature_cal = 2560;
    EXPECT_NEAR(mcu_temperature(cal, record), 25.1, 0.05);
    const CapRegisters words{
        .cap_status = 0, .cap_vin = 0x2000, .cap_iin = 0x0100, .cap_vcap = 0x1000, .cap_ichg = 0x10};
    EXPECT_NEAR(static_cast<double>(charger_input_ma(words)), 8.3762, 0.00005);
    EXPECT_NEAR(charger_input_watts(words), 0.15, 0.005);
    EXPECT_NEAR(charger_supply_watts(words), 0.22, 0.005);
    EXPECT_NEAR(capacitor_volts(words), 6.046, 0.0005);
}

// SPDX-License-Identifier: MIT
// The decoders of single words.
#include "diag/cap_status.h"
#include "diag/input_status.h"
#include "diag/state_names.h"
#include "diag/w1_status.h"
#include "tests/support/device_test.h"

namespace {

class Decoders : public DeviceTest {
protected:
    static std::string printed(const CapRegisters& words) {
        return capture([&] { return print_cap_status(words), 0; }).out;
    }
};

}  // namespace

TEST_F(Decoders, ChargerStatusWords) {
    const std::pair<uint16_t, const char*> cases[] = {
        {0x0005, "not-full mode=chg chg=cv Vcap<pwr_gd mgr=idle"},
        {0x0862, "full mode=bak chg=off mgr=shunt Vin<PFI"},
        {0x0041, "not-full mode=chg chg=off Vcap<pwr_gd mgr=shunt Vin>PFI"},
        {0x0228, "full mode=0 chg=208 mgr=idle"},
        {0x0204, "not-full mode=0 chg=204 Vcap<pwr_gd mgr=idle"},
        {0x00CB, "not-full mode=3 chg=uvlo Vcap<pwr_gd mgr=c0"},
        {0x00B1, "full mode=chg chg=inp_cur_lim mgr=bal"},
        {0xF522, "full mode=bak chg=meas mgr=idle"},
        {0xF122, "full mode=bak chg=meas mgr=idle"},
        {0x0014, "not-full mode=0 chg=014 Vcap<pwr_gd mgr=idle"},
        {0x031E, "not-full mode=bak chg=31c Vcap<pwr_gd mgr=idle"},
        {0x0A22, "full mode=bak chg=cc mgr=idle Vin<PFI"}};
    for (const auto& [word, text] : cases) {
        const std::string out = printed({.cap_status = word});
        char code[8];
        std::snprintf(code, sizeof code, "(%04x)", word);
        EXPECT_EQ(out.substr(0, out.find('\n')), "CAP_STATUS        = " + std::string(text) + " " + code);
    }
}

TEST_F(Decoders, ChargerMeasurements) {
    const std::pair<CapRegisters, const char*> cases[] = {
        {{.cap_vin = 0x0100, .cap_iin = 0xFFC0, .cap_vcap = 0x0A00, .cap_ichg = 0xFFF6},
         "CAP_VIN           =    0.566 V (0100)\nCAP_IIN           =    2.4  mA (ffc0)\n"
         "CAP_PIN           =    0.00  W (0.00 W)\nCAP_VCAP          =    3.779 V (0a00)\n"
         "CAP_ICHG          =   -4.0  mA (fff6)\n"},
        {{.cap_vin = 0xFFFF, .cap_iin = 0x7FFF, .cap_vcap = 0xFFFF, .cap_ichg = 0x7FFF},
         "CAP_VIN           =  144.832 V (ffff)\nCAP_IIN           = -21832.3  mA (7fff)\n"
         "CAP_PIN           = -3162.02  W (-4523.63 W)\nCAP_VCAP          =   96.730 V (ffff)\n"
         "CAP_ICHG          = 12995.4  mA (7fff)\n"}};
    for (const auto& [words, lines] : cases) {
        const std::string out = printed(words);
        EXPECT_EQ(out.substr(out.find('\n') + 1), lines);
    }
}

TEST_F(Decoders, InputStatusLines) {
    const struct {
        size_t index;
        uint8_t value;
        const char* line;
    } cases[] = {
        {0, 0x80, "\nsource            = none\n"},
        {0, 0x81, "\nsource            = ext (XLR), index=0\n"},
        {0, 0x83, "\nsource            = Link2, index=0\n"},
        {0, 0x88, "\nTEKO1             = connected\nTEKO2             = not-connected\n"},
        {0, 0x90, "\nTEKO1             = not-connected\nTEKO2             = connected\n"},
        {0, 0x80, "\nmessage           = none\next               = unknown-or-invalid\nInput_status      = ok\n"},
        {10, 1, "\nmessage           = none (invalid handshake 01)\nTEKO_support      = NOT supported\n"},
        {0, 0x40, "\nmessage           = pending (00 00 00 00 00, invalid handshake 00)\n"},
        {15, 0x05, "\nreset             = occurred (05)\n"},
        {1, 0x02, "\next               = validated\nInput_status      = ok\n"},
        {1, 0x04, "\next               = unknown-or-invalid\nInput_status      = error\n"},
        {2, 0x00,
         "\nTEKO_idx          = 0 (ext)\nTEKO1_IMP         =  0 Ohm ( 0 max)\nTEKO2_IMP         =  0 Ohm ( 0 "
         "max)\n"},
        {2, 0x01, "\nTEKO_idx          = 1 (downstream)\n"},
        {2, 0x02, "\nTEKO_idx          = 2 (downstream)\n"},
        {2, 0x03, "\nTEKO_idx          = 3 (unknown)\n"},
        {2, 0x04, "\nTEKO_idx          = 4 (invalid)\n"},
        {2, 0xFF, "\nTEKO_idx          = 15 (invalid)\n"},
        {2, 0x10, "\nTEKO1_OC          = yes, alert=no\nTEKO2_OC          = no, alert=no\n"},
        {2, 0x20, "\nTEKO1_OC          = no, alert=no\nTEKO2_OC          = yes, alert=no\n"},
        {2, 0x40, "\nTEKO1_OC          = no, alert=yes\nTEKO2_OC          = no, alert=no\n"},
        {2, 0x80, "\nTEKO1_OC          = no, alert=no\nTEKO2_OC          = no, alert=yes\n"}};
    for (const auto& c : cases) {
        uint8_t block[21] = {};
        block[c.index] = c.value;
        const std::string out = capture([&] { return print_input_status(device, block), 0; }).out;
        EXPECT_NE(out.find(c.line), std::string::npos) << c.line << out;
    }
}

TEST(Names, OneWireStatusCodes) {
    const std::pair<uint8_t, const char*> cases[] = {
        {0, "ok"},       {1, "BUSY"},        {2, "STARTED"},    {3, "unknown"},       {4, "STARTED_DETECT"},
        {5, "PRESENT"},  {6, "NOT_PRESENT"}, {7, "FAMILY"},     {8, "ROM_COLLISION"}, {9, "ROM_CRC"},
        {10, "STATE"},   {11, "CALL"},       {12, "ROM_READ"},  {13, "PIO_WRITE"},    {14, "DRIVER"},
        {15, "unknown"}, {127, "unknown"},   {128, "DATA_CRC"}, {129, "unknown"},     {255, "unknown"}};
    for (const auto& [code, name] : cases) {
        EXPECT_STREQ(w1_status_name(code), name) << static_cast<int>(code);
    }
}

void expect_names(const char* (*name_of)(uint8_t), const std::string& names) {
    uint8_t code = 0;
    for (const std::string& name : split(names)) {
        EXPECT_EQ(name_of(code), name) << static_cast<int>(code);
        ++code;
    }
}

TEST(Names, StatesCountFromOne) {
    expect_names(pd_state_name,
                 "unknown init sense_veth wait_rdet set_rdet wait_for_signature wait_for_sig_falling "
                 "wait_for_sig_halfbit read_signature wait_sig_bittime wait_for_imp_meas impedance_meas "
                 "wait_for_imp_remeas wait_for_nevent nevent_startbits nevent_wait_half_bittime nevent_readbit "
                 "nevent_wait_bittime nevent_stopbits nevent_finished power_ack_debug power_accepted wait_for_power "
                 "wait_psw_delay wait_psw_stabilize sequence_finished low_power_finished unknown");
    expect_names(pse_state_name,
                 "unknown restart_delay init check_precondition check_vquiet enable_10v wait_settling_time_10v "
                 "meas_rdet trigger_end_of_det wait_for_send_sig send_sig sig_wait_bit_time wait_for_imp_meas "
                 "wait_abort_time trigger_for_imp_meas delay_for_imp_meas imp_meas check_if_short_is_released "
                 "calculate_nevent_frame wait_for_imp_remeas wait_recover_time nevent_sync_to_startbit "
                 "nevent_wait_startbit_time nevent_send_bit nevent_wait_bit_time nevent_send_stopbits nevent_power_nak "
                 "nevent_finished wait_for_enable_powersw enable_powersw unknown");
    EXPECT_STREQ(pse_state_name(255), "unknown");
}

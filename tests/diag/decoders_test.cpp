// SPDX-License-Identifier: MIT
// The decoders of single words.
#include "diag/cap_status.h"
#include "diag/input_status.h"
#include "diag/state_names.h"
#include "diag/w1_status.h"
#include "tests/support/device_test.h"

namespace {

class Decoders : public DeviceTest {};

}  // namespace

TEST_F(Decoders, CapStatusWords) {
    const struct {
        uint16_t word;
        const char* line;
    } cases[] = {{0x0005, "CAP_STATUS        = not-full mode=chg chg=cv Vcap<pwr_gd mgr=idle (0005)\n"},
                 {0x0862, "CAP_STATUS        = full mode=bak chg=off mgr=shunt Vin<PFI (0862)\n"},
                 {0x0041, "CAP_STATUS        = not-full mode=chg chg=off Vcap<pwr_gd mgr=shunt Vin>PFI (0041)\n"},
                 {0x0228, "CAP_STATUS        = full mode=0 chg=208 mgr=idle (0228)\n"},
                 {0x0204, "CAP_STATUS        = not-full mode=0 chg=204 Vcap<pwr_gd mgr=idle (0204)\n"},
                 {0x00CB, "CAP_STATUS        = not-full mode=3 chg=uvlo Vcap<pwr_gd mgr=c0 (00cb)\n"},
                 {0x00B1, "CAP_STATUS        = full mode=chg chg=inp_cur_lim mgr=bal (00b1)\n"},
                 {0xF122, "CAP_STATUS        = full mode=bak chg=meas mgr=idle (f122)\n"},
                 {0x0A22, "CAP_STATUS        = full mode=bak chg=cc mgr=idle Vin<PFI (0a22)\n"}};
    for (const auto& c : cases) {
        const std::string out = capture([&] {
                                    print_cap_status({.cap_status = c.word});
                                    return 0;
                                }).out;
        EXPECT_EQ(out.substr(0, out.find('\n') + 1), c.line);
    }
    const CapRegisters negative{
        .cap_status = 0, .cap_vin = 0x0100, .cap_iin = 0xFFC0, .cap_vcap = 0x0A00, .cap_ichg = 0xFFF6};
    const std::string out = capture([&] {
                                print_cap_status(negative);
                                return 0;
                            }).out;
    EXPECT_EQ(out.substr(out.find('\n') + 1),
              "CAP_VIN           =    0.566 V (0100)\nCAP_IIN           =    2.4  mA (ffc0)\n"
              "CAP_PIN           =    0.00  W (0.00 W)\nCAP_VCAP          =    3.779 V (0a00)\n"
              "CAP_ICHG          =   -4.0  mA (fff6)\n");
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
        {10, 1, "\nmessage           = none (invalid handshake 01)\n"},
        {0, 0x40,
         "\nmessage           = pending (00 00 00 00 00, invalid handshake 00)\nTEKO_support      = NOT supported\n"},
        {15, 0x05, "\nreset             = occurred (05)\n"},
        {1, 0x00, "\next               = unknown-or-invalid\nInput_status      = ok\n"},
        {2, 0x00, "\nTEKO_idx          = 0 (ext)\n"},
        {2, 0x01, "\nTEKO_idx          = 1 (downstream)\n"},
        {2, 0x03, "\nTEKO_idx          = 3 (unknown)\n"},
        {2, 0x09, "\nTEKO_idx          = 9 (invalid)\n"},
        {2, 0x40, "\nTEKO1_OC          = no, alert=yes\nTEKO2_OC          = no, alert=no\n"},
        {2, 0xA0, "\nTEKO1_OC          = no, alert=no\nTEKO2_OC          = yes, alert=yes\n"}};
    for (const auto& c : cases) {
        uint8_t block[21] = {};
        block[c.index] = c.value;
        const std::string out = capture([&] {
                                    print_input_status(device, block);
                                    return 0;
                                }).out;
        EXPECT_NE(out.find(c.line), std::string::npos) << out;
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

TEST(Names, StatesCountFromOne) {
    EXPECT_STREQ(pd_state_name(0), "unknown");
    EXPECT_STREQ(pd_state_name(1), "init");
    EXPECT_STREQ(pd_state_name(14), "nevent_startbits");
    EXPECT_STREQ(pd_state_name(26), "low_power_finished");
    EXPECT_STREQ(pd_state_name(27), "unknown");
    EXPECT_STREQ(pse_state_name(1), "restart_delay");
    EXPECT_STREQ(pse_state_name(16), "imp_meas");
    EXPECT_STREQ(pse_state_name(29), "enable_powersw");
    EXPECT_STREQ(pse_state_name(255), "unknown");
}

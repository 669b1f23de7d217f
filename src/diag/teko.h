// SPDX-License-Identifier: MIT
// The part of a diagnostics record that belongs to one line interface, so that the same code prints TEKO1 and TEKO2.
#pragma once

#include <cstdint>

#include "diag/diag_record.h"

/// Page 5 of TEKO1 or TEKO2, except byte 21, whose meaning differs between the two (see below).
struct TekoDiagPage {
    uint16_t imp_invalid_raw;
    uint16_t imp_valid_raw;
    uint32_t cable_sum;
    uint8_t cable_count;
    uint8_t pd_com_fail;
    uint8_t pse_com_fail;
    uint8_t oc_shtd;
    uint8_t oc_alert;
    uint8_t uc_shtd;
    uint8_t imp_valid_count;
    uint8_t imp_low;
    uint8_t imp_high;
    uint8_t pse_state_max;
    uint8_t pd_state_max;
    uint16_t sense_raw;
    uint8_t hpwr;  ///< non-zero: the cable voltage has the high-power gain
    uint8_t cable_aux;
    uint8_t ps_flags;
};

struct TekoView {
    int number;  ///< 1 or 2
    uint16_t voltage_raw;
    uint16_t current_raw;
    uint8_t imp_0_1;  ///< ohms
    uint8_t imp_1_2;
    uint8_t pse_state;
    uint8_t pd_state;
    const uint8_t (&pages)[kDiagPages][kDiagPageSize];
    const uint8_t (&nevent_msg)[4];
    uint8_t nevent_crc;
    bool nevent_crc_ok;
    TekoDiagPage page;
};

/// The view refers to the record, which must outlive it.
TekoView teko1_view(const DiagRecord& record);
TekoView teko2_view(const DiagRecord& record);

/// Byte 21 of page 5: the kill-power count in TEKO1's page, the undervoltage count in TEKO2's page.
uint8_t killpower_count(const DiagRecord& record);
uint8_t undervoltage_count(const DiagRecord& record);

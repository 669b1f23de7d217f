// SPDX-License-Identifier: MIT
// One line interface of a diagnostics record: TEKO1 and TEKO2 are shown by the same code.
#pragma once

#include <cstdint>

#include "diag/diag_record.h"

/// What page 5 of either line interface holds. Byte 21 differs, see below.
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
    uint8_t hpwr;  ///< non-zero: high-power cable gain
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

/// Views of the record, which must outlive them.
TekoView teko1_view(const DiagRecord& record);
TekoView teko2_view(const DiagRecord& record);

/// Byte 21 of page 5 counts the board's events: one kind in the page of TEKO1, another in that of TEKO2.
uint8_t killpower_count(const DiagRecord& record);
uint8_t undervoltage_count(const DiagRecord& record);

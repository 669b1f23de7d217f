// SPDX-License-Identifier: MIT
#include "diag/teko.h"

#include "util/little_endian.h"

namespace {

constexpr size_t kPage = 5;
constexpr size_t kEventCount = 21;  // in the page

TekoDiagPage decode_page(const uint8_t* page) {
    return {
        .imp_invalid_raw = get_le16(page + 2),
        .imp_valid_raw = get_le16(page + 4),
        .cable_sum = get_le32(page + 6),
        .cable_count = page[10],
        .pd_com_fail = page[11],
        .pse_com_fail = page[12],
        .oc_shtd = page[13],
        .oc_alert = page[14],
        .uc_shtd = page[15],
        .imp_valid_count = page[16],
        .imp_low = page[17],
        .imp_high = page[18],
        .pse_state_max = page[19],
        .pd_state_max = page[20],
        .sense_raw = get_le16(page + 22),
        .hpwr = page[24],
        .cable_aux = page[25],
        .ps_flags = page[26],
    };
}

}  // namespace

TekoView teko1_view(const DiagRecord& record) {
    return {1,
            record.teko1_voltage_raw,
            record.teko1_current_raw,
            record.teko1_imp_0_1,
            record.teko1_imp_1_2,
            record.teko1_pse_state,
            record.teko1_pd_state,
            record.teko1_pages,
            record.nevent1_msg,
            record.nevent1_crc,
            record.nevent1_crc_ok != 0,
            decode_page(record.teko1_pages[kPage])};
}

TekoView teko2_view(const DiagRecord& record) {
    return {2,
            record.teko2_voltage_raw,
            record.teko2_current_raw,
            record.teko2_imp_0_1,
            record.teko2_imp_1_2,
            record.teko2_pse_state,
            record.teko2_pd_state,
            record.teko2_pages,
            record.nevent2_msg,
            record.nevent2_crc,
            record.nevent2_crc_ok != 0,
            decode_page(record.teko2_pages[kPage])};
}

uint8_t killpower_count(const DiagRecord& record) {
    return record.teko1_pages[kPage][kEventCount];
}

uint8_t undervoltage_count(const DiagRecord& record) {
    return record.teko2_pages[kPage][kEventCount];
}

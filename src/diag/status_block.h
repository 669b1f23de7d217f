// SPDX-License-Identifier: MIT
// The MCU's status block in words.
#pragma once

#include <cstdint>

enum class PowerSource : uint8_t { kNone = 0, kExt = 1, kLink1 = 2, kLink2 = 3 };

struct InputStatus {
    PowerSource source;
    bool teko1_connected;
    bool teko2_connected;
    bool reports_inputs;  ///< false: a firmware that doesn't tell its inputs and outputs
    bool ext_validated;
    uint8_t teko_idx;           ///< index of the input, 0..15
    uint8_t reset_marker_read;  ///< 0 after a reset
    uint8_t teko1_imp;          ///< ohms
    uint8_t teko2_imp;
};

constexpr InputStatus decode_status_block(const uint8_t* block) {
    return {
        .source = static_cast<PowerSource>(block[0] & 0x03),
        .teko1_connected = (block[0] & 0x08) != 0,
        .teko2_connected = (block[0] & 0x10) != 0,
        .reports_inputs = (block[0] & 0x9A) != 0,
        .ext_validated = (block[1] & 0x02) != 0,
        .teko_idx = static_cast<uint8_t>(block[2] & 0x0F),
        .reset_marker_read = block[15],
        .teko1_imp = block[16],
        .teko2_imp = block[17],
    };
}

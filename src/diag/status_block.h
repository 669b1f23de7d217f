// SPDX-License-Identifier: MIT
// The MCU's status block in words.
#pragma once

#include <cstddef>
#include <cstdint>

enum class PowerSource : uint8_t { kNone = 0, kExt = 1, kLink1 = 2, kLink2 = 3 };

struct InputStatus {
    PowerSource source;
    bool teko1_connected;
    bool teko2_connected;
    bool reports_inputs;  ///< false: a firmware that doesn't tell its inputs and outputs
    bool teko_supported;
    bool message_pending;  ///< in bytes 5 to 9
    uint8_t handshake;     ///< 1 while a message is pending, else 0; anything else is wrong
    bool ext_validated;
    bool input_error;
    uint8_t teko_idx;           ///< index of the input, 0..15
    uint8_t reset_marker_read;  ///< 0 after a reset
    uint8_t teko1_imp;          ///< ohms, as the three below
    uint8_t teko2_imp;
    uint8_t teko1_imp_max;
    uint8_t teko2_imp_max;
    bool teko1_oc;  ///< over-current
    bool teko2_oc;
    bool teko1_oc_alert;
    bool teko2_oc_alert;
};

inline constexpr size_t kMessageOffset = 5;  ///< of the pending message in the block
inline constexpr size_t kMessageSize = 5;

constexpr InputStatus decode_status_block(const uint8_t* block) {
    return {
        .source = static_cast<PowerSource>(block[0] & 0x03),
        .teko1_connected = (block[0] & 0x08) != 0,
        .teko2_connected = (block[0] & 0x10) != 0,
        .reports_inputs = (block[0] & 0x9A) != 0,
        .teko_supported = (block[0] & 0x80) != 0,
        .message_pending = (block[0] & 0x40) != 0,
        .handshake = block[10],
        .ext_validated = (block[1] & 0x02) != 0,
        .input_error = (block[1] & 0x04) != 0,
        .teko_idx = static_cast<uint8_t>(block[2] & 0x0F),
        .reset_marker_read = block[15],
        .teko1_imp = block[16],
        .teko2_imp = block[17],
        .teko1_imp_max = block[18],
        .teko2_imp_max = block[19],
        .teko1_oc = (block[2] & 0x10) != 0,
        .teko2_oc = (block[2] & 0x20) != 0,
        .teko1_oc_alert = (block[2] & 0x40) != 0,
        .teko2_oc_alert = (block[2] & 0x80) != 0,
    };
}

// SPDX-License-Identifier: MIT
// What the MCU reports in its status block: the source of the power, the lines, the reset, the pending message.
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

enum class PowerSource : uint8_t { kNone = 0, kExt = 1, kLink1 = 2, kLink2 = 3 };

struct InputStatus {
    PowerSource source;
    bool teko1_connected;
    bool teko2_connected;
    bool reports_inputs;  ///< false: a firmware that does not report its inputs and outputs
    bool teko_supported;
    bool message_pending;
    uint8_t message[5];  ///< the pending message
    uint8_t handshake;   ///< 1 while a message is pending, else 0; anything else is wrong
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

/// REQUIRES: the 20 bytes of the status block.
InputStatus decode_status_block(const uint8_t* block);

/// Prints the input section of a dump from the status block.
void print_input_status(const McuDevice& device, const uint8_t* status_block);

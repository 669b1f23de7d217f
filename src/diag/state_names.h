// SPDX-License-Identifier: MIT
// Names of the state machines' states, as the firmware counts them: from 1.
#pragma once

#include <cstdint>

/// "unknown" for 0 and for anything above the last state, 26.
const char* pd_state_name(uint8_t state);

/// "unknown" for 0 and for anything above the last state, 29.
const char* pse_state_name(uint8_t state);

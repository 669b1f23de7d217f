// SPDX-License-Identifier: MIT
// Names of the PD and PSE states. The firmware counts them from 1.
#pragma once

#include <cstdint>

/// States 1 to 26; "unknown" for any other number.
const char* pd_state_name(uint8_t state);

/// States 1 to 29; "unknown" for any other number.
const char* pse_state_name(uint8_t state);

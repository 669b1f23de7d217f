// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>

/// Constants of the formulas that convert ADC codes (diag/formulas.h). No command changes them.
struct Calibration {
    float adc_vref = 2.048F;         ///< volts
    float adc_full_scale = 4096.0F;  ///< used by no formula
    float adc_max = 4095.0F;
    float adc_offset = 190.0F;
    float k_powerrail = 32.6397F;
    float k_ext = 32.6397F;
    float k_teko_voltage = 32.6397F;
    float k_teko_current = 1.888F;
    float imp_slope = 657.2F;
    float imp_base = 6388.0F;
    float k_cable = 25.3F;
    float k_cable_hpwr = 21.1F;
    float cable_offset = 0.0F;
};

static_assert(std::bit_cast<uint32_t>(32.6397F) == 0x42028F0E);

// SPDX-License-Identifier: MIT
// Converts raw codes to physical values. Precision and order of the operations show in the output: single precision,
// except in functions that return double.
#pragma once

#include <cfloat>
#include <cstdint>

#include "diag/diag_record.h"
#include "diag/teko.h"
#include "mcu/calibration.h"
#include "mcu/charger.h"

static_assert(FLT_EVAL_METHOD == 0, "intermediate results must not be wider than their type (-msse2 -mfpmath=sse)");

/// Volts for an ADC code and the gain of its input; amperes with k_teko_current.
inline float volts(const Calibration& cal, uint16_t code, float gain) {
    return (static_cast<float>(code) - cal.adc_offset) * gain * cal.adc_vref / cal.adc_max;
}

inline float powerrail_volts(const Calibration& cal, const DiagRecord& record) {
    return volts(cal, record.powerrail_raw, cal.k_powerrail);
}

inline float ext_volts(const Calibration& cal, const DiagRecord& record) {
    return volts(cal, record.ext_raw, cal.k_ext);
}

inline float vcc_volts(const Calibration& cal, const DiagRecord& record) {
    return volts(cal, record.vcc_raw, 10.0F);
}

/// Watts on a line.
inline float line_watts(const Calibration& cal, uint16_t voltage_code, uint16_t current_code) {
    const float voltage = volts(cal, voltage_code, cal.k_teko_voltage);
    const float current = static_cast<float>(current_code) - cal.adc_offset;
    return voltage * current * cal.k_teko_current * cal.adc_vref / cal.adc_max;
}

/// Result of an impedance measurement, for the IMP_DEBUG line.
inline float impedance(const Calibration& cal, uint16_t code) {
    const float x = (static_cast<float>(code) - cal.adc_offset) / cal.adc_max * cal.adc_vref;
    return cal.imp_base + x * cal.imp_slope;
}

/// Cable voltage, averaged over the measurements; with a count of 0 the sum is taken as one measurement.
inline float cable_volts(const Calibration& cal, const TekoDiagPage& page) {
    const auto average = static_cast<float>(page.cable_count != 0 ? page.cable_sum / page.cable_count : page.cable_sum);
    const float gain = page.hpwr != 0 ? cal.k_cable_hpwr : cal.k_cable;
    return (average - cal.adc_offset) * gain * cal.adc_vref / cal.adc_max + cal.cable_offset;
}

/// Temperature of the MCU in degrees Celsius; infinite or NaN when the calibration code is 0.
inline double mcu_temperature(const Calibration& cal, const DiagRecord& record) {
    const float difference = static_cast<float>(record.temperature_raw) - cal.adc_offset;
    const float reference = static_cast<float>(record.temperature_cal) / cal.adc_vref;
    return static_cast<double>(difference) * 358.15 / static_cast<double>(reference) - 273.15;
}

inline double charger_input_volts(const CapRegisters& words) {
    return words.cap_vin * 0.00221;
}

inline double capacitor_volts(const CapRegisters& words) {
    return words.cap_vcap * 0.001476;
}

/// Charge current in milliamperes; negative while the capacitor feeds the board.
inline double charge_ma(const CapRegisters& words) {
    return static_cast<int16_t>(words.cap_ichg) * 0.001983 / 0.005;
}

/// Input current of the charger in milliamperes, less the share that charges the capacitor.
inline float charger_input_ma(const CapRegisters& words) {
    const auto iin = static_cast<int16_t>(words.cap_iin);
    return static_cast<float>(iin * 0.001983 / 0.025 - charge_ma(words) * 0.047 / 0.025);
}

inline double charger_input_watts(const CapRegisters& words) {
    return charger_input_volts(words) * static_cast<double>(charger_input_ma(words)) / 1000.0;
}

/// Watts drawn from the supply: the input power plus the losses of the converter.
inline double charger_supply_watts(const CapRegisters& words) {
    return charger_input_watts(words) / 0.699;
}

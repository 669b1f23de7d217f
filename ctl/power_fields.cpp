// SPDX-License-Identifier: MIT
#include "ctl/power_fields.h"

#include <cmath>
#include <cstdio>

#include "diag/cap_status.h"
#include "diag/diagnostics_dump.h"
#include "diag/formulas.h"
#include "diag/state_names.h"
#include "diag/teko.h"
#include "diag/w1_status.h"
#include "log/timestamp.h"

namespace {

constexpr Unit kPlain{"", 0};
constexpr Unit kVolts{"V", 3};
constexpr Unit kAmperes{"A", 4};
constexpr Unit kWatts{"W", 3};
constexpr Unit kOhms{"Ohm", 0};
constexpr Unit kCelsius{"degC", 1};
constexpr Unit kSeconds{"s", 0};

constexpr uint8_t kOpenLine = 63;  // ohms; above it the measurement is invalid

/// A number that is not finite is no measurement.
template <typename T>
Value measured(const T& value) {
    if constexpr (std::is_same_v<T, Value> || std::is_same_v<T, bool>) {
        return value;
    } else if constexpr (std::is_arithmetic_v<T>) {
        const auto number = static_cast<double>(value);
        return std::isfinite(number) ? Value(number) : Value();
    } else {
        return Value(std::string(value));
    }
}

template <typename T>
Value measured(const std::optional<T>& value) {
    return value ? measured(*value) : Value();
}

// Each makes a conversion of one part of a reading into one of the whole: absent if the part was not read.

template <typename Conversion>
constexpr auto inputs(Conversion /*unused*/) {
    return [](const Power& power, int) { return power.inputs ? measured(Conversion{}(*power.inputs)) : Value(); };
}

template <typename Conversion>
constexpr auto record(Conversion /*unused*/) {
    return [](const Power& power, int) {
        return power.record ? measured(Conversion{}(power.calibration, *power.record)) : Value();
    };
}

template <typename Conversion>
constexpr auto cap(Conversion /*unused*/) {
    return [](const Power& power, int) { return power.charger ? measured(Conversion{}(*power.charger)) : Value(); };
}

template <typename Conversion>
constexpr auto identity(Conversion /*unused*/) {
    return [](const Power& power, int) { return power.identity ? measured(Conversion{}(*power.identity)) : Value(); };
}

template <typename Conversion>
constexpr auto teko(Conversion /*unused*/) {
    return [](const Power& power, int number) {
        if (!power.record) {
            return Value();
        }
        const TekoView view = number == 1 ? teko1_view(*power.record) : teko2_view(*power.record);
        return measured(Conversion{}(power.calibration, view));
    };
}

/// Of the status block, for interface 1 and interface 2.
template <auto First, auto Second>
Value of_two(const Power& power, int number) {
    return power.inputs ? measured(number == 1 ? (*power.inputs).*First : (*power.inputs).*Second) : Value();
}

/// A bit of the enable word, which has two bits for each interface, PD before PSE; a set bit disables.
template <int Bit>
Value enabled(const Power& power, int number) {
    return power.record ? measured((power.record->teko_enable >> (2 * (number - 1) + Bit) & 1) == 0) : Value();
}

template <typename... Numbers>
std::string text(const char* format, Numbers... numbers) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, numbers...);
    return buffer;
}

template <size_t Count>
std::string hex(const uint8_t (&bytes)[Count]) {
    std::string digits;
    for (const uint8_t byte : bytes) {
        digits += text("%02x", static_cast<unsigned>(byte));
    }
    return digits;
}

std::string name_or_code(const char* name, uint16_t status) {
    return name != nullptr ? name : text("%04x", static_cast<unsigned>(status));
}

std::optional<uint8_t> line_ohms(uint8_t ohms) {
    return ohms < kOpenLine ? std::optional(ohms) : std::nullopt;
}

const char* line_state(uint8_t ohms) {
    return ohms < kOpenLine ? "measured" : ohms == kOpenLine ? "open" : "invalid";
}

std::string production_time(const McuInfo& info) {
    char stamp[kTimestampSize];
    format_minutes_timestamp(info.production_time / 60, stamp, sizeof stamp);
    return stamp;
}

using Cal = Calibration;
using Rec = DiagRecord;
using Cap = CapRegisters;

constexpr PowerField kBoard[] = {
    {"source", "source of power", &kPlain, Sample::kState,
     [](const Power& p, int) {
         const char* source = power_source(p);
         return source != nullptr ? measured(source) : Value();
     }},
    {"input_error", "input error", &kPlain, Sample::kGauge, inputs([](const InputStatus& s) { return s.input_error; })},
    {"input_index", "index of the input", &kPlain, Sample::kGauge,
     inputs([](const InputStatus& s) { return s.teko_idx; })},
    {"ext_validated", "ext input validated", &kPlain, Sample::kGauge,
     inputs([](const InputStatus& s) { return s.ext_validated; })},
    {"ext_volts", "ext input", &kVolts, Sample::kGauge,
     record([](const Cal& c, const Rec& r) { return ext_volts(c, r); })},
    {"powerrail_volts", "power rail", &kVolts, Sample::kGauge,
     record([](const Cal& c, const Rec& r) { return powerrail_volts(c, r); })},
    {"vcc_volts", "Vcc of the MCU", &kVolts, Sample::kGauge,
     record([](const Cal& c, const Rec& r) { return vcc_volts(c, r); })},
    {"spare1_volts", "spare input 1", &kVolts, Sample::kGauge,
     record([](const Cal& c, const Rec& r) { return volts(c, r.vspare1_raw, c.k_powerrail); })},
    {"spare2_volts", "spare input 2", &kVolts, Sample::kGauge,
     record([](const Cal& c, const Rec& r) { return volts(c, r.vspare2_raw, c.k_powerrail); })},
    {"poe_present", "Power over Ethernet", &kPlain, Sample::kGauge,
     [](const Power& p, int) { return measured(p.poe_present); }},
    {"cap_full", "CAP full", &kPlain, Sample::kGauge,
     cap([](const Cap& w) { return (w.cap_status & kChargerFull) != 0; })},
    {"cap_mode", "CAP mode", &kPlain, Sample::kNone,
     cap([](const Cap& w) { return name_or_code(cap_mode_name(w.cap_status), w.cap_status); })},
    {"cap_charge", "CAP charger", &kPlain, Sample::kNone,
     cap([](const Cap& w) { return name_or_code(cap_charge_name(w.cap_status), w.cap_status); })},
    {"cap_manager", "CAP manager", &kPlain, Sample::kNone,
     cap([](const Cap& w) { return name_or_code(cap_manager_name(w.cap_status), w.cap_status); })},
    {"cap_backup", "CAP in backup mode", &kPlain, Sample::kGauge,
     cap([](const Cap& w) { return (w.cap_status & kChargerModeMask) == kChargerBackupMode; })},
    {"cap_input_low", "CAP input below the PFI threshold", &kPlain, Sample::kGauge,
     cap([](const Cap& w) { return (w.cap_status & kChargerInputLow) != 0; })},
    {"cap_volts", "CAP voltage", &kVolts, Sample::kGauge, cap([](const Cap& w) { return capacitor_volts(w); })},
    {"cap_charge_amperes", "CAP charge current, negative while it feeds the board", &kAmperes, Sample::kGauge,
     cap([](const Cap& w) { return charge_ma(w) / 1000.0; })},
    {"cap_input_volts", "CAP input voltage", &kVolts, Sample::kGauge,
     cap([](const Cap& w) { return charger_input_volts(w); })},
    {"cap_input_amperes", "CAP input current", &kAmperes, Sample::kGauge,
     cap([](const Cap& w) { return static_cast<double>(charger_input_ma(w)) / 1000.0; })},
    {"cap_input_watts", "CAP input power", &kWatts, Sample::kGauge,
     cap([](const Cap& w) { return charger_input_watts(w); })},
    {"cap_supply_watts", "CAP power drawn from the supply", &kWatts, Sample::kGauge,
     cap([](const Cap& w) { return charger_supply_watts(w); })},
    {"temperature_nic_celsius", "temperature, network side", &kCelsius, Sample::kGauge,
     [](const Power& p, int) { return measured(p.network_celsius); }},
    {"temperature_display_celsius", "temperature, display side", &kCelsius, Sample::kGauge,
     [](const Power& p, int) { return measured(p.display_celsius); }},
    {"temperature_mcu_celsius", "temperature of the MCU", &kCelsius, Sample::kGauge,
     record([](const Cal& c, const Rec& r) { return mcu_temperature(c, r); })},
    {"display_present", "display", &kPlain, Sample::kGauge,
     [](const Power& p, int) { return measured(p.display_present); }},
    {"usb_present", "USB side", &kPlain, Sample::kGauge, [](const Power& p, int) { return measured(p.usb_present); }},
    {"uptime_seconds", "uptime of the host", &kSeconds, Sample::kGauge,
     [](const Power& p, int) { return measured(p.uptime_seconds); }},
    {"reset_marker", "reset marker", &kPlain, Sample::kGauge,
     inputs([](const InputStatus& s) { return s.reset_marker_read; })},
    {"reset_since_marker", "MCU reset since the marker was set", &kPlain, Sample::kGauge,
     inputs([](const InputStatus& s) { return s.reset_marker_read == 0; })},
    {"message_pending", "message pending", &kPlain, Sample::kGauge,
     inputs([](const InputStatus& s) { return s.message_pending; })},
    {"message", "message", &kPlain, Sample::kNone,
     inputs([](const InputStatus& s) { return s.message_pending ? measured(hex(s.message)) : Value(); })},
    {"killpowers", "power-off commands", &kPlain, Sample::kCounter,
     record([](const Cal&, const Rec& r) { return killpower_count(r); })},
    {"undervoltages", "under-voltages", &kPlain, Sample::kCounter,
     record([](const Cal&, const Rec& r) { return undervoltage_count(r); })},
    {"input_priority", "input priority", &kPlain, Sample::kNone,
     record([](const Cal&, const Rec& r) { return input_priority_name(r.input_mode); })},
    {"w1_rom", "1-Wire ROM code", &kPlain, Sample::kNone,
     record([](const Cal&, const Rec& r) { return r.w1_rom_status == 0 ? measured(hex(r.w1_rom)) : Value(); })},
    {"w1_rom_status", "1-Wire ROM", &kPlain, Sample::kNone,
     record([](const Cal&, const Rec& r) { return w1_status_name(r.w1_rom_status); })},
    {"w1_eeprom_status", "1-Wire EEPROM", &kPlain, Sample::kNone,
     record([](const Cal&, const Rec& r) { return w1_status_name(r.w1_eeprom_status); })},
    {"hwid", "hardware id", &kPlain, Sample::kLabel, identity([](const McuInfo& i) { return text("%04x", i.hwid); })},
    {"swid", "software id", &kPlain, Sample::kLabel, identity([](const McuInfo& i) { return text("%04x", i.swid); })},
    {"serial", "serial number", &kPlain, Sample::kLabel, identity([](const McuInfo& i) { return i.serial; })},
    {"active_region", "running region", &kPlain, Sample::kGauge,
     identity([](const McuInfo& i) { return i.active_region; })},
    {"production_time", "production time, UTC", &kPlain, Sample::kNone, identity(production_time)},
    {"production_timestamp_seconds", "production time, from 1970", &kSeconds, Sample::kGauge,
     identity([](const McuInfo& i) { return i.production_time; })},
};

constexpr PowerField kInterface[] = {
    {"connected", "connected", &kPlain, Sample::kGauge,
     of_two<&InputStatus::teko1_connected, &InputStatus::teko2_connected>},
    {"volts", "voltage", &kVolts, Sample::kGauge,
     teko([](const Cal& c, const TekoView& t) { return volts(c, t.voltage_raw, c.k_teko_voltage); })},
    {"amperes", "current", &kAmperes, Sample::kGauge,
     teko([](const Cal& c, const TekoView& t) { return volts(c, t.current_raw, c.k_teko_current); })},
    {"watts", "power", &kWatts, Sample::kGauge,
     teko([](const Cal& c, const TekoView& t) { return line_watts(c, t.voltage_raw, t.current_raw); })},
    {"cable_volts", "cable voltage, averaged", &kVolts, Sample::kGauge, teko([](const Cal& c, const TekoView& t) {
         return t.page.cable_count != 0 || t.page.cable_sum != 0 ? measured(cable_volts(c, t.page)) : Value();
     })},
    {"cable_measurements", "cable measurements", &kPlain, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return t.page.cable_count; })},
    {"sense_volts", "sense voltage", &kVolts, Sample::kGauge,
     teko([](const Cal& c, const TekoView& t) { return volts(c, t.page.sense_raw, c.k_teko_voltage); })},
    {"high_power", "high-power mode", &kPlain, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return t.page.hpwr != 0; })},
    {"impedance_ohms", "impedance", &kOhms, Sample::kGauge, of_two<&InputStatus::teko1_imp, &InputStatus::teko2_imp>},
    {"impedance_max_ohms", "impedance, maximum", &kOhms, Sample::kGauge,
     of_two<&InputStatus::teko1_imp_max, &InputStatus::teko2_imp_max>},
    {"impedance_0_1_ohms", "impedance 0-1", &kOhms, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return line_ohms(t.imp_0_1); })},
    {"impedance_0_1", "impedance 0-1 is", &kPlain, Sample::kNone,
     teko([](const Cal&, const TekoView& t) { return line_state(t.imp_0_1); })},
    {"impedance_1_2_ohms", "impedance 1-2", &kOhms, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return line_ohms(t.imp_1_2); })},
    {"impedance_1_2", "impedance 1-2 is", &kPlain, Sample::kNone,
     teko([](const Cal&, const TekoView& t) { return line_state(t.imp_1_2); })},
    {"impedance_valid_ohms", "last valid impedance measurement", &kOhms, Sample::kGauge,
     teko([](const Cal& c, const TekoView& t) {
         return t.page.imp_valid_count != 0 ? measured(impedance(c, t.page.imp_valid_raw)) : Value();
     })},
    {"impedance_valid_measurements", "valid impedance measurements", &kPlain, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return t.page.imp_valid_count; })},
    {"overcurrent", "over-current", &kPlain, Sample::kGauge, of_two<&InputStatus::teko1_oc, &InputStatus::teko2_oc>},
    {"overcurrent_alert", "over-current alert", &kPlain, Sample::kGauge,
     of_two<&InputStatus::teko1_oc_alert, &InputStatus::teko2_oc_alert>},
    {"pse_enabled", "PSE enabled", &kPlain, Sample::kGauge, enabled<1>},
    {"pse_state", "PSE state", &kPlain, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return t.pse_state; })},
    {"pse_state_name", "PSE state, name", &kPlain, Sample::kNone,
     teko([](const Cal&, const TekoView& t) { return pse_state_name(t.pse_state); })},
    {"pse_state_max", "PSE state, highest", &kPlain, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return t.page.pse_state_max; })},
    {"pd_enabled", "PD enabled", &kPlain, Sample::kGauge, enabled<0>},
    {"pd_state", "PD state", &kPlain, Sample::kGauge, teko([](const Cal&, const TekoView& t) { return t.pd_state; })},
    {"pd_state_name", "PD state, name", &kPlain, Sample::kNone,
     teko([](const Cal&, const TekoView& t) { return pd_state_name(t.pd_state); })},
    {"pd_state_max", "PD state, highest", &kPlain, Sample::kGauge,
     teko([](const Cal&, const TekoView& t) { return t.page.pd_state_max; })},
    {"pd_failures", "PD communication failures", &kPlain, Sample::kCounter,
     teko([](const Cal&, const TekoView& t) { return t.page.pd_com_fail; })},
    {"pse_failures", "PSE communication failures", &kPlain, Sample::kCounter,
     teko([](const Cal&, const TekoView& t) { return t.page.pse_com_fail; })},
    {"overcurrent_shutdowns", "over-current shutdowns", &kPlain, Sample::kCounter,
     teko([](const Cal&, const TekoView& t) { return t.page.oc_shtd; })},
    {"overcurrent_alerts", "over-current alerts", &kPlain, Sample::kCounter,
     teko([](const Cal&, const TekoView& t) { return t.page.oc_alert; })},
    {"undercurrent_shutdowns", "under-current shutdowns", &kPlain, Sample::kCounter,
     teko([](const Cal&, const TekoView& t) { return t.page.uc_shtd; })},
    {"nevent", "last NEVENT message", &kPlain, Sample::kNone,
     teko([](const Cal&, const TekoView& t) { return hex(t.nevent_msg); })},
    {"nevent_valid", "its check value is right", &kPlain, Sample::kNone,
     teko([](const Cal&, const TekoView& t) { return t.nevent_crc_ok; })},
};

constexpr PowerField kRegion[] = {
    {"running", "running", &kPlain, Sample::kGauge,
     [](const Power& p, int region) { return p.identity ? measured(p.identity->active_region == region) : Value(); }},
    {"swid", "software id", &kPlain, Sample::kLabel,
     [](const Power& p, int region) {
         return p.identity ? measured(text("%04x", region == 0 ? p.identity->swid0 : p.identity->swid1)) : Value();
     }},
    {"checksum", "checksum", &kPlain, Sample::kLabel,
     [](const Power& p, int region) {
         return p.checksums_known ? measured(text("%04x", region == 0 ? p.identity->crc0 : p.identity->crc1)) : Value();
     }},
};

constexpr PowerGroup kGroups[] = {
    {"", "", "", 0, 1, kBoard},
    {"teko", "TEKO", "interface", 1, 2, kInterface},
    {"region", "region ", "region", 0, 2, kRegion},
};

}  // namespace

std::span<const PowerGroup> power_groups() {
    return kGroups;
}

std::string field_name(const PowerGroup& group, int index, const PowerField& field) {
    return *group.prefix == '\0' ? field.key : group.prefix + std::to_string(index) + "_" + field.key;
}

std::string value_text(const PowerField& field, const Value& value) {
    if (const bool* truth = std::get_if<bool>(&value)) {
        return *truth ? "1" : "0";
    }
    if (const double* number = std::get_if<double>(&value)) {
        std::string digits = text("%.*f", field.unit->decimals, *number);
        const bool is_zero = digits.find_first_not_of("-0.") == std::string::npos;
        return is_zero && digits[0] == '-' ? digits.substr(1) : digits;
    }
    const std::string* words = std::get_if<std::string>(&value);
    return words != nullptr ? *words : "";
}

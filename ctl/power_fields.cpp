// SPDX-License-Identifier: MIT
#include "ctl/power_fields.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "ctl/report.h"
#include "diag/cap_status.h"
#include "diag/diagnostics_dump.h"
#include "diag/formulas.h"
#include "diag/state_names.h"
#include "diag/teko.h"
#include "diag/w1_status.h"
#include "log/timestamp.h"

namespace fields {

namespace {

constexpr Unit kPlain{"", 0};
constexpr Unit kVolts{"V", 3};
constexpr Unit kAmperes{"A", 4};
constexpr Unit kWatts{"W", 3};
constexpr Unit kOhms{"Ohm", 0};
constexpr Unit kCelsius{"degC", 1};
constexpr Unit kSeconds{"s", 0};

constexpr Calibration kCal;
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

/// Makes a conversion of one part of a reading into one of the whole: absent if the part was not read.
template <auto Part>
constexpr auto part = [](auto conversion) {
    static_assert(std::is_empty_v<decltype(conversion)>);
    return [](const Power& power, int) {
        return power.*Part ? measured(decltype(conversion){}(*(power.*Part))) : Value();
    };
};

constexpr auto inputs = part<&Power::inputs>;
constexpr auto record = part<&Power::record>;
constexpr auto cap = part<&Power::charger>;
constexpr auto identity = part<&Power::identity>;

/// The same for a line interface.
constexpr auto teko = [](auto conversion) {
    static_assert(std::is_empty_v<decltype(conversion)>);
    return [](const Power& power, int number) {
        if (!power.record) {
            return Value();
        }
        const TekoView view = number == 1 ? teko1_view(*power.record) : teko2_view(*power.record);
        return measured(decltype(conversion){}(view));
    };
};

template <auto Member>
Value plain(const Power& power, int /*index*/) {
    return measured(power.*Member);
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

template <size_t Count>
std::string hex(const uint8_t (&bytes)[Count]) {
    std::string digits;
    for (const uint8_t byte : bytes) {
        digits += hex4(byte).substr(2);
    }
    return digits;
}

std::string ports(const DiagRecord& reading) {
    std::string digits;
    for (const PortState& port : reading.ports) {
        digits += (digits.empty() ? "" : " ") + hex({port.out, port.in, port.dir});
    }
    return digits;
}

std::string name_or_code(const char* name, uint16_t status) {
    return name != nullptr ? name : hex4(status);
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

using enum Sample;

constexpr PowerField kBoard[] = {
    {"source", "source of power", kPlain, kState,
     [](auto& p, int) {
         const char* source = power_source(p);
         return source != nullptr ? measured(source) : Value();
     }},
    {"input_error", "input error", kPlain, kGauge, inputs([](auto& s) { return s.input_error; })},
    {"input_index", "index of the input", kPlain, kGauge, inputs([](auto& s) { return s.teko_idx; })},
    {"teko_supported", "line interfaces supported", kPlain, kGauge, inputs([](auto& s) { return s.teko_supported; })},
    {"ext_validated", "ext input validated", kPlain, kGauge, inputs([](auto& s) { return s.ext_validated; })},
    {"ext_volts", "ext input", kVolts, kGauge, record([](auto& r) { return ext_volts(kCal, r); })},
    {"powerrail_volts", "power rail", kVolts, kGauge, record([](auto& r) { return powerrail_volts(kCal, r); })},
    {"vcc_volts", "Vcc of the MCU", kVolts, kGauge, record([](auto& r) { return vcc_volts(kCal, r); })},
    {"spare1_volts", "spare input 1", kVolts, kGauge,
     record([](auto& r) { return volts(kCal, r.vspare1_raw, kCal.k_powerrail); })},
    {"spare2_volts", "spare input 2", kVolts, kGauge,
     record([](auto& r) { return volts(kCal, r.vspare2_raw, kCal.k_powerrail); })},
    {"poe_present", "Power over Ethernet", kPlain, kGauge, plain<&Power::poe_present>},
    {"cap_full", "CAP full", kPlain, kGauge, cap([](auto& w) { return (w.cap_status & kChargerFull) != 0; })},
    {"cap_mode", "CAP mode", kPlain, kNone,
     cap([](auto& w) { return name_or_code(cap_mode_name(w.cap_status), w.cap_status); })},
    {"cap_charge", "CAP charger", kPlain, kNone,
     cap([](auto& w) { return name_or_code(cap_charge_name(w.cap_status), w.cap_status); })},
    {"cap_manager", "CAP manager", kPlain, kNone,
     cap([](auto& w) { return name_or_code(cap_manager_name(w.cap_status), w.cap_status); })},
    {"cap_backup", "CAP in backup mode", kPlain, kGauge,
     cap([](auto& w) { return (w.cap_status & kChargerModeMask) == kChargerBackupMode; })},
    {"cap_input_low", "CAP input below the PFI threshold", kPlain, kGauge,
     cap([](auto& w) { return (w.cap_status & kChargerInputLow) != 0; })},
    {"cap_volts", "CAP voltage", kVolts, kGauge, cap([](auto& w) { return capacitor_volts(w); })},
    {"cap_charge_amperes", "CAP charge current", kAmperes, kGauge, cap([](auto& w) { return charge_ma(w) / 1000.0; })},
    {"cap_input_volts", "CAP input voltage", kVolts, kGauge, cap([](auto& w) { return charger_input_volts(w); })},
    {"cap_input_amperes", "CAP input current", kAmperes, kGauge,
     cap([](auto& w) { return static_cast<double>(charger_input_ma(w)) / 1000.0; })},
    {"cap_input_watts", "CAP input power", kWatts, kGauge, cap([](auto& w) { return charger_input_watts(w); })},
    {"cap_supply_watts", "CAP power drawn from the supply", kWatts, kGauge,
     cap([](auto& w) { return charger_supply_watts(w); })},
    {"temperature_nic_celsius", "temperature, network side", kCelsius, kGauge, plain<&Power::network_celsius>},
    {"temperature_display_celsius", "temperature, display side", kCelsius, kGauge, plain<&Power::display_celsius>},
    {"temperature_mcu_celsius", "temperature of the MCU", kCelsius, kGauge,
     record([](auto& r) { return mcu_temperature(kCal, r); })},
    {"display_present", "display", kPlain, kGauge, plain<&Power::display_present>},
    {"usb_present", "USB side", kPlain, kGauge, plain<&Power::usb_present>},
    {"uptime_seconds", "uptime of the host", kSeconds, kGauge, plain<&Power::uptime_seconds>},
    {"reset_marker", "reset marker", kPlain, kGauge, inputs([](auto& s) { return s.reset_marker_read; })},
    {"reset_since_marker", "MCU reset since the marker was set", kPlain, kGauge,
     inputs([](auto& s) { return s.reset_marker_read == 0; })},
    {"message_pending", "message pending", kPlain, kGauge, inputs([](auto& s) { return s.message_pending; })},
    {"pending_message", "message", kPlain, kNone,
     inputs([](auto& s) { return s.message_pending ? measured(hex(s.message)) : Value(); })},
    {"killpowers", "power-off commands", kPlain, kCounter, record([](auto& r) { return killpower_count(r); })},
    {"undervoltages", "under-voltages", kPlain, kCounter, record([](auto& r) { return undervoltage_count(r); })},
    {"input_priority", "input priority", kPlain, kNone,
     record([](auto& r) { return input_priority_name(r.input_mode); })},
    {"ignore_wrong_w1", "wrong 1-Wire device ignored", kPlain, kNone,
     record([](auto& r) { return (r.teko_enable & 0x20) != 0; })},
    {"ps_flags", "power-supply flags", kPlain, kNone, record([](auto& r) {
         return hex({teko2_view(r).page.ps_flags, teko1_view(r).page.ps_flags});
     })},
    {"ports", "ports A to F: latch, level, direction", kPlain, kNone, record([](auto& r) { return ports(r); })},
    {"w1_rom", "1-Wire ROM code", kPlain, kNone,
     record([](auto& r) { return r.w1_rom_status == 0 ? measured(hex(r.w1_rom)) : Value(); })},
    {"w1_rom_status", "1-Wire ROM", kPlain, kNone, record([](auto& r) { return w1_status_name(r.w1_rom_status); })},
    {"w1_eeprom", "1-Wire EEPROM content", kPlain, kNone,
     record([](auto& r) { return r.w1_eeprom_status == 0 ? measured(hex(r.w1_eeprom)) : Value(); })},
    {"w1_eeprom_status", "1-Wire EEPROM", kPlain, kNone,
     record([](auto& r) { return w1_status_name(r.w1_eeprom_status); })},
    {"hwid", "hardware id", kPlain, kLabel, identity([](auto& i) { return hex4(i.hwid); })},
    {"swid", "software id", kPlain, kLabel, identity([](auto& i) { return hex4(i.swid); })},
    {"serial", "serial number", kPlain, kLabel, identity([](auto& i) { return i.serial; })},
    {"identity_valid", "checksum of the identity", kPlain, kGauge,
     identity([](auto& i) { return i.version1_crc_ok != 0; })},
    {"active_region", "running region", kPlain, kGauge, identity([](auto& i) { return i.active_region; })},
    {"production_time", "production time, UTC", kPlain, kNone, identity([](auto& i) { return production_time(i); })},
    {"production_timestamp_seconds", "production time, from 1970", kSeconds, kGauge,
     identity([](auto& i) { return i.production_time; })},
};

constexpr PowerField kInterface[] = {
    {"connected", "connected", kPlain, kGauge, of_two<&InputStatus::teko1_connected, &InputStatus::teko2_connected>},
    {"volts", "voltage", kVolts, kGauge, teko([](auto& t) { return volts(kCal, t.voltage_raw, kCal.k_teko_voltage); })},
    {"amperes", "current", kAmperes, kGauge,
     teko([](auto& t) { return volts(kCal, t.current_raw, kCal.k_teko_current); })},
    {"watts", "power", kWatts, kGauge, teko([](auto& t) { return line_watts(kCal, t.voltage_raw, t.current_raw); })},
    {"cable_volts", "cable voltage, averaged", kVolts, kGauge, teko([](auto& t) {
         return t.page.cable_count != 0 || t.page.cable_sum != 0 ? measured(cable_volts(kCal, t.page)) : Value();
     })},
    {"cable_measurements", "cable measurements", kPlain, kGauge, teko([](auto& t) { return t.page.cable_count; })},
    {"sense_volts", "sense voltage", kVolts, kGauge, teko([](auto& t) {
         return t.page.sense_raw != 0 ? measured(volts(kCal, t.page.sense_raw, kCal.k_teko_voltage)) : Value();
     })},
    {"high_power", "high-power mode", kPlain, kGauge, teko([](auto& t) { return t.page.hpwr != 0; })},
    {"impedance_ohms", "impedance", kOhms, kGauge, of_two<&InputStatus::teko1_imp, &InputStatus::teko2_imp>},
    {"impedance_max_ohms", "impedance, maximum", kOhms, kGauge,
     of_two<&InputStatus::teko1_imp_max, &InputStatus::teko2_imp_max>},
    {"impedance_0_1_ohms", "impedance 0-1", kOhms, kGauge, teko([](auto& t) { return line_ohms(t.imp_0_1); })},
    {"impedance_0_1", "impedance 0-1 is", kPlain, kNone, teko([](auto& t) { return line_state(t.imp_0_1); })},
    {"impedance_1_2_ohms", "impedance 1-2", kOhms, kGauge, teko([](auto& t) { return line_ohms(t.imp_1_2); })},
    {"impedance_1_2", "impedance 1-2 is", kPlain, kNone, teko([](auto& t) { return line_state(t.imp_1_2); })},
    {"impedance_valid_ohms", "last valid impedance measurement", kOhms, kGauge, teko([](auto& t) {
         return t.page.imp_valid_count != 0 ? measured(impedance(kCal, t.page.imp_valid_raw)) : Value();
     })},
    {"impedance_valid_measurements", "valid impedance measurements", kPlain, kGauge,
     teko([](auto& t) { return t.page.imp_valid_count; })},
    {"impedance_invalid_ohms", "last invalid impedance measurement", kOhms, kNone, teko([](auto& t) {
         return t.page.imp_invalid_raw != 0 ? measured(impedance(kCal, t.page.imp_invalid_raw)) : Value();
     })},
    {"impedance_high", "impedance, high", kPlain, kNone, teko([](auto& t) { return t.page.imp_high; })},
    {"impedance_low", "impedance, low", kPlain, kNone, teko([](auto& t) { return t.page.imp_low; })},
    {"overcurrent", "over-current", kPlain, kGauge, of_two<&InputStatus::teko1_oc, &InputStatus::teko2_oc>},
    {"overcurrent_alert", "over-current alert", kPlain, kGauge,
     of_two<&InputStatus::teko1_oc_alert, &InputStatus::teko2_oc_alert>},
    {"pse_enabled", "PSE enabled", kPlain, kGauge, enabled<1>},
    {"pse_state", "PSE state", kPlain, kGauge, teko([](auto& t) { return t.pse_state; })},
    {"pse_state_name", "PSE state, name", kPlain, kNone, teko([](auto& t) { return pse_state_name(t.pse_state); })},
    {"pse_state_max", "PSE state, highest", kPlain, kGauge, teko([](auto& t) { return t.page.pse_state_max; })},
    {"pd_enabled", "PD enabled", kPlain, kGauge, enabled<0>},
    {"pd_state", "PD state", kPlain, kGauge, teko([](auto& t) { return t.pd_state; })},
    {"pd_state_name", "PD state, name", kPlain, kNone, teko([](auto& t) { return pd_state_name(t.pd_state); })},
    {"pd_state_max", "PD state, highest", kPlain, kGauge, teko([](auto& t) { return t.page.pd_state_max; })},
    {"pd_failures", "PD communication failures", kPlain, kCounter, teko([](auto& t) { return t.page.pd_com_fail; })},
    {"pse_failures", "PSE communication failures", kPlain, kCounter, teko([](auto& t) { return t.page.pse_com_fail; })},
    {"overcurrent_shutdowns", "over-current shutdowns", kPlain, kCounter, teko([](auto& t) { return t.page.oc_shtd; })},
    {"overcurrent_alerts", "over-current alerts", kPlain, kCounter, teko([](auto& t) { return t.page.oc_alert; })},
    {"undercurrent_shutdowns", "under-current shutdowns", kPlain, kCounter,
     teko([](auto& t) { return t.page.uc_shtd; })},
    {"nevent", "last NEVENT message", kPlain, kNone, teko([](auto& t) { return hex(t.nevent_msg); })},
    {"nevent_valid", "NEVENT check value right", kPlain, kNone, teko([](auto& t) { return t.nevent_crc_ok; })},
};

constexpr PowerField kRegion[] = {
    {"running", "running", kPlain, kGauge,
     [](auto& p, int region) { return p.identity ? measured(p.identity->active_region == region) : Value(); }},
    {"swid", "software id", kPlain, kLabel,
     [](auto& p, int region) {
         return p.identity ? measured(hex4(region == 0 ? p.identity->swid0 : p.identity->swid1)) : Value();
     }},
    {"checksum", "checksum", kPlain, kLabel,
     [](auto& p, int region) {
         return p.checksums_known ? measured(hex4(region == 0 ? p.identity->crc0 : p.identity->crc1)) : Value();
     }},
};

constexpr PowerGroup kGroups[] = {
    {"", "", "", 0, 1, kBoard},
    {"teko", "TEKO", "interface", 1, 2, kInterface},
    {"region", "region ", "region", 0, 2, kRegion},
};

}  // namespace

}  // namespace fields

std::span<const PowerGroup> power_groups() {
    return fields::kGroups;
}

std::string field_name(const PowerGroup& group, int index, const PowerField& field) {
    return *group.prefix == '\0' ? field.key : group.prefix + std::to_string(index) + "_" + field.key;
}

std::string value_text(const PowerField& field, const Value& value) {
    if (const bool* truth = std::get_if<bool>(&value)) {
        return *truth ? "1" : "0";
    }
    if (const double* number = std::get_if<double>(&value)) {
        char digits[400];  // of any double
        std::snprintf(digits, sizeof digits, "%.*f", field.unit.decimals, *number);
        const bool is_zero = std::strspn(digits, "-0.") == std::strlen(digits);
        return is_zero && digits[0] == '-' ? digits + 1 : digits;
    }
    const std::string* words = std::get_if<std::string>(&value);
    return words != nullptr ? *words : "";
}

// SPDX-License-Identifier: MIT
#include "sim/presets.h"

#include <sstream>

namespace sim {

namespace {

constexpr Preset kPresets[] = {
    {"healthy", "link 1 feeds the board; all knobs have their defaults", ""},
    {"poe-only", "Power over Ethernet is the only source",
     "poe=0 source=0 teko1_connected=0 teko_idx=0 powerrail_raw=1780"},
    {"xlr", "the XLR input feeds the board and passes power on to link 2",
     "source=1 teko1_connected=0 teko2_connected=1 teko_idx=0 ext_raw=1650 teko1_voltage_raw=190 teko1_current_raw=190 "
     "teko2_voltage_raw=1640 teko2_current_raw=600"},
    {"link1-source", "link 1 feeds the board, and the board feeds link 2",
     "source=2 teko1_connected=1 teko2_connected=1 teko_idx=1 teko2_voltage_raw=1640 teko2_current_raw=500"},
    {"overcurrent", "TEKO1 is shut down after an over-current",
     "source=1 teko1_connected=0 teko1_overcurrent=1 teko1_overcurrent_alert=1 teko1_oc_shtd=3 teko1_oc_alert=4 "
     "ext_raw=1650 teko_idx=0"},
    {"no-mcu", "the MCU does not answer", "mcu=off"},
    {"charger-backup", "the input has failed, and the capacitors feed the board",
     "source=0 teko1_connected=0 input_error=1 ext_validated=0 cap_status=0x0842 cap_vin=0x0100 cap_iin=0 "
     "cap_vcap=0x0a00 cap_ichg=0xfff0"},
    {"old-firmware", "firmware that does not report inputs and outputs",
     "status=0000000000000000000000000000000000000000"},
};

}  // namespace

std::span<const Preset> presets() {
    return kPresets;
}

std::string apply_preset(Scenario& scenario, std::string_view name) {
    for (const Preset& preset : kPresets) {
        if (preset.name != name) {
            continue;
        }
        std::istringstream settings{std::string(preset.settings)};
        for (std::string setting; settings >> setting;) {
            const size_t equals = setting.find('=');
            std::string problem = set_knob(scenario, setting.substr(0, equals), setting.substr(equals + 1));
            if (!problem.empty()) {
                return problem;
            }
        }
        return "";
    }
    std::string names;
    for (const Preset& preset : kPresets) {
        names += (names.empty() ? "" : ", ") + std::string(preset.name);
    }
    return "no such preset: " + std::string(name) + "; there are " + names;
}

}  // namespace sim

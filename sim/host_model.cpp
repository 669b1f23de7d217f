// SPDX-License-Identifier: MIT
#include "sim/host_model.h"

namespace sim {

namespace {

std::optional<std::string> line(const std::string& text) {
    return text == "none" ? std::nullopt : std::optional(text + "\n");
}

}  // namespace

std::vector<HostFile> host_files(const Scenario& scenario) {
    return {
        {"/proc/uptime", line(scenario.uptime)},
        {"/dev/temp_nic", line(scenario.temp_nic)},
        {"/dev/temp_disp", line(scenario.temp_disp)},
        {kGpioValue, line(scenario.poe)},
    };
}

}  // namespace sim

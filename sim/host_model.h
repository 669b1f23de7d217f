// SPDX-License-Identifier: MIT
// The files of the board's Linux host that the tool reads.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/scenario.h"

namespace sim {

struct HostFile {
    std::string path;
    std::optional<std::string> content;  ///< nothing: the file does not exist
};

inline constexpr char kGpioExport[] = "/sys/class/gpio/export";
inline constexpr char kGpioFolder[] = "/sys/class/gpio/gpio414";
inline constexpr char kGpioValue[] = "/sys/class/gpio/gpio414/value";

/// All of them except the export file. The GPIO's value is listed whether or not the line is exported.
std::vector<HostFile> host_files(const Scenario& scenario);

}  // namespace sim

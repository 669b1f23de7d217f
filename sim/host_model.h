// SPDX-License-Identifier: MIT
// The files of the board's Linux host that the tool looks at.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/scenario.h"

namespace sim {

struct HostFile {
    std::string path;
    std::optional<std::string> content;  ///< empty: the file is not there
};

inline constexpr char kGpioExport[] = "/sys/class/gpio/export";
inline constexpr char kGpioFolder[] = "/sys/class/gpio/gpio414";
inline constexpr char kGpioValue[] = "/sys/class/gpio/gpio414/value";

/// All of them but the export file; the GPIO's value stands here whether or not it has been exported.
std::vector<HostFile> host_files(const Scenario& scenario);

}  // namespace sim

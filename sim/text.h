// SPDX-License-Identifier: MIT
// Short texts with numbers in them.
#pragma once

#include <cstdio>
#include <string>

namespace sim {

/// As snprintf(3), at most 127 characters.
template <typename... Values>
std::string text(const char* format, Values... values) {
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

}  // namespace sim

// SPDX-License-Identifier: MIT
#include "util/parse_number.h"

#include <cstdlib>

bool parse_int(const char* text, int64_t& value) {
    char* end = nullptr;
    // strtoll and not strtol: the result must not depend on the width of long.
    const long long number = std::strtoll(text, &end, 0);
    const bool whole = *end == '\0';
    value = whole ? number : 0;
    return whole;
}

bool parse_float(const char* text, float& value) {
    char* end = nullptr;
    const float number = std::strtof(text, &end);
    const bool whole = *end == '\0';
    value = whole ? number : 0.0F;
    return whole;
}

// SPDX-License-Identifier: MIT
#include "util/parse_number.h"

#include <cstdlib>
#include <cstring>

namespace {

// glibc accepts "0b1" since version 2.38. A script must get the same result with every C library.
bool is_binary(const char* text) {
    const char* digits = text + std::strspn(text, " \t\n\v\f\r");
    digits += *digits == '+' || *digits == '-';
    return digits[0] == '0' && (digits[1] == 'b' || digits[1] == 'B');
}

}  // namespace

bool parse_int(const char* text, int64_t& value) {
    char* end = nullptr;
    // Not strtol: the result must not depend on the width of long.
    const long long number = std::strtoll(text, &end, 0);
    const bool whole = *end == '\0' && !is_binary(text);
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

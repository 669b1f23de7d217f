// SPDX-License-Identifier: MIT
#include "image/record_lines.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

/// The value of a digit, or -1.
int digit_value(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const auto lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

RecordLines::RecordLines(std::span<const uint8_t> text)
    : rest_(reinterpret_cast<const char*>(text.data()), text.size()) {}

bool RecordLines::next() {
    while (!rest_.empty()) {
        const size_t end = std::min(rest_.find('\n'), rest_.size());
        line_ = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        ++number_;
        if (line_.ends_with('\r')) {
            line_.remove_suffix(1);
        }
        if (!line_.empty()) {
            return true;
        }
    }
    return false;
}

bool RecordLines::refuse(std::string& error, const char* format, ...) const {
    char text[128];
    std::va_list values;
    va_start(values, format);
    // Result ignored: every text fits.
    (void)std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    error = "line " + std::to_string(number_) + ": " + text;
    return false;
}

bool decode_hex(std::string_view digits, std::vector<uint8_t>& bytes) {
    bytes.clear();
    if (digits.size() % 2 != 0) {
        return false;
    }
    for (size_t i = 0; i < digits.size(); i += 2) {
        const int high = digit_value(digits[i]);
        const int low = digit_value(digits[i + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return true;
}

uint32_t big_endian(std::span<const uint8_t> bytes) {
    uint32_t number = 0;
    for (const uint8_t byte : bytes) {
        number = number << 8 | byte;
    }
    return number;
}

// SPDX-License-Identifier: MIT
// What the two text formats for firmware share: lines of hexadecimal digits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Takes a text apart into lines that end with "\n" or "\r\n"; the last one may lack its end. Empty lines are skipped.
class RecordLines {
public:
    explicit RecordLines(std::span<const uint8_t> text);

    /// Goes to the next line. False at the end of the text.
    bool next();

    std::string_view line() const {
        return line_;
    }

    /// From 1, empty lines included.
    size_t number() const {
        return number_;
    }

    /// Stores "line N: " and the text in `error`, and returns false.
    bool refuse(std::string& error, const char* format, ...) const __attribute__((format(printf, 3, 4)));

private:
    std::string_view rest_;
    std::string_view line_;
    size_t number_ = 0;
};

/// Replaces `bytes` by those that the pairs of digits mean, upper or lower case. False for anything else.
bool decode_hex(std::string_view digits, std::vector<uint8_t>& bytes);

/// The bytes as one number, most significant first. REQUIRES: at most 4 bytes.
uint32_t big_endian(std::span<const uint8_t> bytes);

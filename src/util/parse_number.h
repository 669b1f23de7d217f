// SPDX-License-Identifier: MIT
// Reads numbers from the command line and from files of the host.
#pragma once

#include <cstdint>

/// Reads decimal, "0x" hexadecimal or leading-zero octal with an optional sign, clamped to 64 bits. An empty text is 0.
/// False, with value 0, unless the whole text is a number.
bool parse_int(const char* text, int64_t& value);

/// Reads every form that strtof accepts, including "inf" and "nan". An empty text is 0. False, with value 0, unless the
/// whole text is a number.
bool parse_float(const char* text, float& value);

// SPDX-License-Identifier: MIT
// Numbers as the operator types them and as the host's files hold them.
#pragma once

#include <cstdint>

/// Reads decimal, "0x" hexadecimal or leading-zero octal with an optional sign. False, with value 0, unless the whole
/// text is a number; an empty text is the number 0. A number too large for 64 bits counts as the nearest one that fits.
bool parse_int(const char* text, int64_t& value);

/// Reads what strtof reads, "inf" and "nan" included. False, with value 0, unless the whole text is a
/// number; an empty text is the number 0.
bool parse_float(const char* text, float& value);

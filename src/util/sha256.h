// SPDX-License-Identifier: MIT
// SHA-256. Not from a library, so that the program builds with only a C++ compiler.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// 64 lower-case hexadecimal digits, as sha256sum prints them.
std::string sha256_hex(const uint8_t* data, size_t size);

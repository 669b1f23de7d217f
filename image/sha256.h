// SPDX-License-Identifier: MIT
// SHA-256. Written here, and not from a library, because it is also built where only a C++ compiler is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// 64 lower-case hexadecimal digits, as sha256sum prints them.
std::string sha256_hex(const uint8_t* data, size_t size);

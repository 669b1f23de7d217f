// SPDX-License-Identifier: MIT
// Prints bytes in hexadecimal on standard output.
#pragma once

#include <cstddef>
#include <cstdint>

/// Prints each byte as " %02x".
void print_bytes(const uint8_t* bytes, size_t count);

/// The same, with one more blank between groups of four bytes.
void print_grouped_bytes(const uint8_t* bytes, size_t count);

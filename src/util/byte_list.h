// SPDX-License-Identifier: MIT
// Lists of bytes on standard output, as all listings show them.
#pragma once

#include <cstddef>
#include <cstdint>

/// Prints each byte as " %02x".
void print_bytes(const uint8_t* bytes, size_t count);

/// The same with one more blank before every fifth, ninth, … byte.
void print_grouped_bytes(const uint8_t* bytes, size_t count);

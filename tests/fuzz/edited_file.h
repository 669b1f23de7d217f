// SPDX-License-Identifier: MIT
// Update files, good and bad, from a few bytes of input.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/fuzz/target.h"

/// An update file that loads: pages 0, 3, 256 and 259 are marked.
const std::vector<uint8_t>& good_file();

/// The good file after the edits in the input; afterwards its checksum is made right again. An edit takes five bytes:
/// its kind (modulo 8), a byte b, and a number n of three bytes, little-endian.
///   0  byte n of the file becomes b       1  byte b of the info structure and the next one become n
///   2  n bytes are cut off, b odd: at the end, even: before the info structure
///   3  n bytes b are added at the end, or for n above 0x800000 at the front
///   4  a second magic at the front        5  page n is marked with b           6  the checksum becomes wrong by b
std::vector<uint8_t> edited_file(Input input);

// SPDX-License-Identifier: MIT
// Update files, good and bad, from a few bytes of input; and what the loader must say about them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/fuzz/target.h"

using Bytes = std::vector<uint8_t>;

/// A whole update file: pages 0, 3, 256 and 259 are marked, region checksums 0x1234 and 0xBEEF, software id 0x0123.
const Bytes& good_file();

/// The good file after the edits in the input, its checksum made right again at the end. An edit is five bytes: the
/// digit of its kind, a byte b, and a number n of three bytes, little-endian.
///   0  byte n of the file becomes b       1  byte b of the info structure and the next become n
///   2  n bytes are cut off, b odd: at the end, even: before the info structure
///   3  n bytes b are added at the end; n above 0x800000: so many in front
///   4  one more magic in front            5  page n is marked with b           6  the checksum becomes wrong by b
Bytes edited_file(Input input);

/// The loader's text for this file, and nothing when it loads.
std::string expected_refusal(const Bytes& file);

/// Offset of the byte behind the magic; 0 when there is none.
size_t file_start(const Bytes& file);

uint32_t number_at(const Bytes& file, size_t offset, int size);

/// CRC-16/MODBUS from `first` up to, not including, `end`.
uint16_t checksum(const Bytes& file, size_t first, size_t end);

/// Puts the bytes into a file in memory, the same one every time, and returns its path.
const std::string& memory_file(const Bytes& bytes);

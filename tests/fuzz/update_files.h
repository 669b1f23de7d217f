// SPDX-License-Identifier: MIT
// Update files, good and bad, from a few bytes of input.
#pragma once

#include <cstdint>
#include <string>

#include "tests/fuzz/target.h"

/// What the checksums of tests/fuzz/shortcuts.cpp count: of each whole block of a buffer the first bytes, and the rest
/// after the last whole block; of a file for SHA-256 the last bytes.
inline constexpr size_t kCrcBlock = 4096;
inline constexpr size_t kCrcSample = 8;
inline constexpr size_t kShaSample = 256;
/// The pages that a read-back reads at most: the last ones.
inline constexpr int kReadPages = 2;

/// CRC-16/MODBUS of what counts.
uint16_t sampled_crc16(std::span<const uint8_t> bytes);

/// The parts of an update file, by their distance from its end.
inline constexpr size_t kInfoSize = 24;
inline constexpr size_t kFreeSize = 6;
inline constexpr size_t kPages = 528;
inline constexpr size_t kImageSize = 0x42000;
inline constexpr size_t kSizeAfterMagic = kImageSize + kPages + kFreeSize + kInfoSize;

/// An update file that loads: pages 0, 3, 256 and 259 are marked.
const std::string& good_file();

/// Replaces `file` by the good file after the edits in the input; afterwards its checksum is made right again. An edit
/// takes five bytes: its kind (modulo 8), a byte b, and a number n of three bytes, little-endian.
///   0  byte n of the file becomes b       1  byte b of the info structure and the next one become n
///   2  n bytes are cut off, b odd: at the end, even: before the info structure
///   3  n % 2048 bytes b are added, for n above 0x800000 at the front, otherwise at the end
///   4  a second magic at the front        5  page n is marked with b           6  the checksum becomes wrong by b
///   7  the next b bytes of the input are added at the front
/// An input that begins with "r" is the file as it is, without the "r".
void put_edited_file(std::string& file, Input input);

inline std::span<const uint8_t> bytes_of(std::string_view file) {
    return {reinterpret_cast<const uint8_t*>(file.data()), file.size()};
}

/// A copy of the good file, to be swapped into a kernel and back: another copy takes longer than many a run.
std::string& lent_file();

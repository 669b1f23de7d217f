// SPDX-License-Identifier: MIT
// Motorola S-records: lines "STLLAA…DD…CC" with type, length, address, data and checksum.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "image/firmware.h"

/// Reads the data records S1, S2 and S3; headers (S0) and start addresses are ignored. Strict: a wrong character,
/// length, checksum or count (S5, S6), an unknown type, a line after the end record (S7 to S9) or neither it nor a
/// count at the end is a failure, with the line and the reason in `error`.
bool read_s_records(std::span<const uint8_t> text, std::vector<Piece>& pieces, std::string& error);

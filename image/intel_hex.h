// SPDX-License-Identifier: MIT
// Intel HEX: lines ":LLAAAATTDD…CC" with length, address, type, data and checksum.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "image/firmware.h"

/// Reads the data records; addresses are extended by records of type 02 or 04, start addresses (03, 05) are ignored.
/// Strict: a wrong character, length or checksum, an unknown type, a record that wraps at 64 KiB, types 02 and 04
/// together, a line after the end
/// record or a missing end record is a failure, with the line and the reason in `error`.
bool read_intel_hex(std::span<const uint8_t> text, std::vector<Piece>& pieces, std::string& error);

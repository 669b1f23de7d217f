// SPDX-License-Identifier: MIT
// Intel HEX, S-records and ELF files from a few bytes of input.
#pragma once

#include <optional>
#include <string>

#include "image/input_file.h"
#include "tests/fuzz/target.h"

using Bytes = std::vector<uint8_t>;

struct FirmwareText {
    std::string text;
    std::optional<std::vector<Piece>> pieces;  ///< what is in it for the flash, if this is known
};

/// The first byte of the input: bit 0: the rest is the file as it is; bit 1: the rest are records of any kind, see the
/// source; otherwise they are pieces of content. Bits 2 and 3: region 0 and region 1 begin with a jump into themselves.
/// The input keeps what stands after the pieces.
FirmwareText make_firmware(Format format, Input& input);

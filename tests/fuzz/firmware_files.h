// SPDX-License-Identifier: MIT
// Intel HEX, S-records and ELF files from a few bytes of input, with what they mean.
#pragma once

#include <optional>
#include <string>

#include "image/input_file.h"
#include "tests/fuzz/target.h"

using Bytes = std::vector<uint8_t>;

struct DescribedFile {
    std::string text;
    std::vector<Piece> pieces;  ///< what the file has for the flash
    bool known = true;          ///< false: the file is anything, the fields below mean nothing
    bool sound = true;          ///< false: a reader must refuse it, if it has lines at line `bad_line`
    size_t bad_line = 0;
    size_t lines = 0;
    bool ended = false;
    std::optional<RegionContents> regions;  ///< what the reader must make of it; nothing: it must refuse the file

    void damage() {
        bad_line = sound ? lines : bad_line;
        sound = false;
    }
};

/// The first byte of the input: bit 0: the rest is the file as it is; bits 1 and 2: region 0 and region 1 begin with a
/// jump into themselves; bit 3: the end record is missing. The rest are records or segments, see the source.
DescribedFile describe_file(Format format, Input input);

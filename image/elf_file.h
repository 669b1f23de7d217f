// SPDX-License-Identifier: MIT
// Linked programs for AVR in ELF.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "image/firmware.h"

/// Reads what the loadable segments have in the file, at their physical addresses, which for AVR are those in the
/// flash. Refuses content for RAM. Segments of other memories (EEPROM, fuses, lock bits, signatures), which no update
/// writes, are named in `omitted`. Failure: the reason in `error`.
bool read_elf(std::span<const uint8_t> file, std::vector<Piece>& pieces, std::vector<std::string>& omitted,
              std::string& error);

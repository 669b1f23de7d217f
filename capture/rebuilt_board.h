// SPDX-License-Identifier: MIT
// The board that a recording shows.
#pragma once

#include <span>
#include <string>

#include "sim/board.h"
#include "sim/capture_file.h"

/// Gives the board the identity and the flash that the MCU reported last, from a --version and a --read. What no
/// transfer shows is assumed: the running region alone is enabled; settings keep their defaults. Returns an empty text,
/// or what is missing or contradicts itself; the board is then of no use.
std::string rebuild_board(std::span<const sim::RecordedTransfer> transfers, sim::Board& board);

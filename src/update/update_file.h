// SPDX-License-Identifier: MIT
// Loads an update file into the UpdateImage of the device. Logs nothing.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "mcu/mcu_device.h"

/// Opens, parses and closes the file. Failure: "could not open file", or as parse_update_file.
bool load_update_file(McuDevice& device, const char* path);

/// Finds the magic, checks software ids, geometry, size and checksum in this order, and stores image and page map. The
/// stream stays open. After a failure last_error holds the reason, and some fields hold values of the bad file: after
/// different software ids file_reserved0 and file_swid, after a wrong geometry or size all numbers, after a wrong
/// checksum the buffers, too. REQUIRES: the stream is at the start of the file.
bool parse_update_file(McuDevice& device, std::FILE* file);

/// The same for a whole file in memory.
bool parse_update_bytes(McuDevice& device, std::span<const uint8_t> bytes);

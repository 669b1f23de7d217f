// SPDX-License-Identifier: MIT
// Loads an update file into the UpdateImage of the device.
#pragma once

#include <cstdio>

#include "mcu/mcu_device.h"

/// Opens the file, parses it and closes it. Failure: "could not open file", or as parse_update_file.
bool load_update_file(McuDevice& device, const char* path);

/// Finds the magic, then checks the software ids, the geometry, the size and the checksum, in this order, and keeps
/// image and page map. Logs the software id and both region checksums on success. Failure: the reason in last_error;
/// with mismatching software ids only file_reserved0 and file_swid have changed, with a wrong geometry or size all
/// numbers but neither buffer, with a wrong checksum everything. REQUIRES: the stream is at the start of the file; it
/// is left open.
bool parse_update_file(McuDevice& device, std::FILE* file);

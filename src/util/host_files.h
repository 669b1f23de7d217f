// SPDX-License-Identifier: MIT
// Small files of the host, read or written in one go.
#pragma once

#include <cstddef>

/// Reads at most size - 1 bytes and ends them with a NUL. False when the file can't be opened (the buffer is
/// then as it was) or holds nothing (the buffer is then empty). REQUIRES: size is at least 1.
bool read_file(const char* path, char* buffer, size_t size);

/// Creates or truncates the file and writes the bytes. False when it can't be opened or takes no byte.
bool write_file(const char* path, const void* bytes, size_t count);

bool file_exists(const char* path);

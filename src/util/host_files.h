// SPDX-License-Identifier: MIT
// Small files of the host, read or written in one call.
#pragma once

#include <cstddef>

/// Reads at most size - 1 bytes and adds a NUL. False if the file cannot be opened (the buffer is unchanged) or is
/// empty (the buffer holds an empty text). REQUIRES: size is at least 1.
bool read_file(const char* path, char* buffer, size_t size);

/// Creates or truncates the file and writes the bytes. False if it cannot be opened or no byte can be written.
bool write_file(const char* path, const void* bytes, size_t count);

bool file_exists(const char* path);

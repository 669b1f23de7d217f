// SPDX-License-Identifier: MIT
#include "util/host_files.h"

#include <unistd.h>

#include <cstdio>

bool read_file(const char* path, char* buffer, size_t size) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr) {
        return false;
    }
    const size_t count = std::fread(buffer, 1, size - 1, file);
    std::fclose(file);
    buffer[count] = '\0';
    return count > 0;
}

bool write_file(const char* path, const void* bytes, size_t count) {
    std::FILE* file = std::fopen(path, "wb");
    if (file == nullptr) {
        return false;
    }
    const size_t written = std::fwrite(bytes, 1, count, file);
    std::fclose(file);
    return written > 0;
}

bool file_exists(const char* path) {
    return access(path, F_OK) == 0;
}

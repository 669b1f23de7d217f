// SPDX-License-Identifier: MIT
#include "util/byte_list.h"

#include <cstdio>

void print_bytes(const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        std::printf(" %02x", bytes[i]);
    }
}

void print_grouped_bytes(const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (i != 0 && i % 4 == 0) {
            std::putchar(' ');
        }
        std::printf(" %02x", bytes[i]);
    }
}

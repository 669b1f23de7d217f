// SPDX-License-Identifier: MIT
#include "util/printable.h"

#include <algorithm>
#include <cstdio>

namespace {

bool is_plain(char byte) {
    return byte >= ' ' && byte <= '~';
}

}  // namespace

bool is_printable(std::string_view text) {
    return std::all_of(text.begin(), text.end(), is_plain);
}

std::string printable(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (is_plain(byte)) {
            text += byte;
        } else {
            char code[5];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
            text += code;
        }
    }
    return text;
}

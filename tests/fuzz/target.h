// SPDX-License-Identifier: MIT
// What all fuzz targets share.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

/// Takes the input apart, from the front.
struct Input {
    std::span<const uint8_t> rest;

    /// 0 after the end.
    uint8_t byte() {
        const uint8_t value = rest.empty() ? uint8_t{0} : rest.front();
        rest = rest.subspan(rest.empty() ? 0 : 1);
        return value;
    }

    /// Little-endian.
    uint32_t number(int bytes) {
        uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            value |= uint32_t{byte()} << 8 * i;
        }
        return value;
    }

    /// The next bytes, or as many as are left.
    Input part(size_t count) {
        const Input first{rest.first(std::min(count, rest.size()))};
        rest = rest.subspan(first.rest.size());
        return first;
    }

    std::string_view text() const {
        return {reinterpret_cast<const char*>(rest.data()), rest.size()};
    }

    /// Up to the separator, which is removed as well, or to the end.
    std::string_view until(char separator) {
        const std::string_view first = part(std::min(text().find(separator), rest.size())).text();
        part(1);
        return first;
    }
};

// The targets: each aborts the program when a property is broken.
void bus_answers(Input input);
void command_words(Input input);
void update_file(Input input);
void firmware(Input input);
void pack(Input input);
void diff(Input input);
void recording(Input input);

using Target = void (*)(Input input);

/// The target with the name at the end of the path, alone or after "fuzz_". Aborts the program if there is none.
Target target_of(const char* path);

/// Aborts the program unless the property holds. Writes to the descriptor, since the C library's streams may be
/// captured.
inline void check(bool holds, const char* property) {
    if (!holds) {
        dprintf(STDERR_FILENO, "property broken: %s\n", property);
        std::abort();
    }
}

/// Printable ASCII, line ends, and the backspaces of the progress line.
inline bool is_text(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c >= ' ' && c <= '~') || c == '\n' || c == '\b'; });
}

inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// SPDX-License-Identifier: MIT
#include "util/json.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800,
                                  0x10000};  // code of each length; a smaller one is an overlong form

struct Decoded {
    uint32_t code;
    size_t size;
};

/// Decodes the first character. REQUIRES: at least one byte.
Decoded decode_utf8(std::string_view bytes) {
    const auto at = [bytes](size_t index) {
        return index < bytes.size() ? static_cast<uint8_t>(bytes[index]) : uint8_t{0};
    };
    const uint8_t first = at(0);
    if (first < 0x80) {
        return {first, 1};
    }
    const size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    bool valid = first >= 0xC0 && first < 0xF8;
    uint32_t code = first & 0xFFU >> (size + 1);
    for (size_t i = 1; i < size; ++i) {
        valid = valid && (at(i) & 0xC0) == 0x80;
        code = code << 6 | (at(i) & 0x3F);
    }
    const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
    valid = valid && code >= kSmallest[size] && code <= 0x10FFFF && !is_surrogate;
    return valid ? Decoded{code, size} : Decoded{0xFFFD, 1};
}

std::string escaped(uint32_t code) {
    char text[16];
    if (code > 0xFFFF) {
        const uint32_t rest = code - 0x10000;
        std::snprintf(text, sizeof text, "\\u%04x\\u%04x", 0xD800 + (rest >> 10), 0xDC00 + (rest & 0x3FF));
    } else {
        std::snprintf(text, sizeof text, "\\u%04x", code);
    }
    return text;
}

}  // namespace

std::string json_string(std::string_view bytes) {
    std::string text = "\"";
    while (!bytes.empty()) {
        const Decoded character = decode_utf8(bytes);
        if (character.code < ' ' || character.code > '~') {
            text += escaped(character.code);
        } else {
            text += character.code == '"' || character.code == '\\' ? "\\" : "";
            text += static_cast<char>(character.code);
        }
        bytes.remove_prefix(character.size);
    }
    return text + '"';
}

std::string json_array(const std::vector<std::string>& values) {
    std::string text;
    for (const std::string& value : values) {
        text += (text.empty() ? "" : ",") + value;
    }
    return '[' + text + ']';
}

std::string json_strings(const std::vector<std::string>& texts) {
    std::vector<std::string> values;
    values.reserve(texts.size());
    for (const std::string& text : texts) {
        values.push_back(json_string(text));
    }
    return json_array(values);
}

JsonObject& JsonObject::add(std::string_view key, const std::string& value) {
    members_ += (members_.empty() ? "" : ",") + json_string(key) + ':' + value;
    return *this;
}

std::string JsonObject::text() const {
    return '{' + members_ + '}';
}

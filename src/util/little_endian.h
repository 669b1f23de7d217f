// SPDX-License-Identifier: MIT
// Converts little-endian bytes to numbers and back, on any host and at any alignment.
#pragma once

#include <cstdint>

constexpr uint16_t get_le16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}

constexpr uint32_t get_le32(const uint8_t* p) {
    return static_cast<uint32_t>(get_le16(p)) | static_cast<uint32_t>(get_le16(p + 2)) << 16;
}

constexpr void put_le16(uint8_t* p, uint16_t value) {
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>(value >> 8);
}

constexpr void put_le32(uint8_t* p, uint32_t value) {
    put_le16(p, static_cast<uint16_t>(value));
    put_le16(p + 2, static_cast<uint16_t>(value >> 16));
}

// SPDX-License-Identifier: MIT
#include "util/crc.h"

#include <array>

namespace {

constexpr size_t kSlices = 8;
using Crc16Tables = std::array<std::array<uint16_t, 256>, kSlices>;

// Table k holds the CRC of a byte followed by k zero bytes, so that one step processes eight bytes.
constexpr Crc16Tables make_crc16_tables() {
    Crc16Tables tables{};
    for (size_t byte = 0; byte < 256; ++byte) {
        auto crc = static_cast<uint16_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = static_cast<uint16_t>((crc & 1) != 0 ? (crc >> 1) ^ 0xA001 : crc >> 1);
        }
        tables[0][byte] = crc;
    }
    for (size_t k = 1; k < kSlices; ++k) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint16_t before = tables[k - 1][byte];
            tables[k][byte] = static_cast<uint16_t>(before >> 8 ^ tables[0][before & 0xFF]);
        }
    }
    return tables;
}

constexpr std::array<uint8_t, 256> make_crc8_table() {
    std::array<uint8_t, 256> table{};
    for (size_t byte = 0; byte < 256; ++byte) {
        auto crc = static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = static_cast<uint8_t>((crc & 1) != 0 ? (crc >> 1) ^ 0x8C : crc >> 1);
        }
        table[byte] = crc;
    }
    return table;
}

constexpr Crc16Tables kCrc16 = make_crc16_tables();
constexpr std::array<uint8_t, 256> kCrc8 = make_crc8_table();

}  // namespace

uint16_t crc16_update(uint16_t crc, uint8_t byte) {
    return static_cast<uint16_t>(crc >> 8 ^ kCrc16[0][(crc ^ byte) & 0xFF]);
}

uint16_t crc16_buffer(uint16_t init, const uint8_t* data, size_t count) {
    uint16_t crc = init;
    for (; count >= kSlices; count -= kSlices, data += kSlices) {
        crc = static_cast<uint16_t>(kCrc16[7][(crc ^ data[0]) & 0xFF] ^ kCrc16[6][crc >> 8 ^ data[1]] ^
                                    kCrc16[5][data[2]] ^ kCrc16[4][data[3]] ^ kCrc16[3][data[4]] ^ kCrc16[2][data[5]] ^
                                    kCrc16[1][data[6]] ^ kCrc16[0][data[7]]);
    }
    for (; count > 0; --count, ++data) {
        crc = crc16_update(crc, *data);
    }
    return crc;
}

uint8_t crc8_1wire(uint8_t init, const uint8_t* data, size_t count) {
    uint8_t crc = init;
    for (size_t i = 0; i < count; ++i) {
        crc = kCrc8[crc ^ data[i]];
    }
    return crc;
}

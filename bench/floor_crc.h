// SPDX-License-Identifier: MIT
// CRC-16/MODBUS from tables, eight bytes at a time. A table is linear: the entry of a byte is the XOR of the entries of
// its bits, so the eight of them stand for the whole row.
#ifndef SV_BENCH_FLOOR_CRC_H
#define SV_BENCH_FLOOR_CRC_H

#include <stddef.h>
#include <stdint.h>

#define BIT(b, n, c) (((b) >> (n)&1) * (c))
#define ENTRY(b, c0, c1, c2, c3, c4, c5, c6, c7)                                                                     \
    (BIT(b, 0, c0) ^ BIT(b, 1, c1) ^ BIT(b, 2, c2) ^ BIT(b, 3, c3) ^ BIT(b, 4, c4) ^ BIT(b, 5, c5) ^ BIT(b, 6, c6) ^ \
     BIT(b, 7, c7))
#define ROW4(b, ...) \
    ENTRY(b, __VA_ARGS__), ENTRY(b + 1, __VA_ARGS__), ENTRY(b + 2, __VA_ARGS__), ENTRY(b + 3, __VA_ARGS__)
#define ROW16(b, ...) \
    ROW4(b, __VA_ARGS__), ROW4(b + 4, __VA_ARGS__), ROW4(b + 8, __VA_ARGS__), ROW4(b + 12, __VA_ARGS__)
#define ROW64(b, ...) \
    ROW16(b, __VA_ARGS__), ROW16(b + 16, __VA_ARGS__), ROW16(b + 32, __VA_ARGS__), ROW16(b + 48, __VA_ARGS__)
#define ROW(...) ROW64(0, __VA_ARGS__), ROW64(64, __VA_ARGS__), ROW64(128, __VA_ARGS__), ROW64(192, __VA_ARGS__)

/// Row k: a byte that k zero bytes follow.
static const uint16_t kCrc16[8][256] = {
    {ROW(0xC0C1, 0xC181, 0xC301, 0xC601, 0xCC01, 0xD801, 0xF001, 0xA001)},
    {ROW(0x9001, 0x6001, 0xC002, 0xC007, 0xC00D, 0xC019, 0xC031, 0xC061)},
    {ROW(0xC051, 0xC0A1, 0xC141, 0xC281, 0xC501, 0xCA01, 0xD401, 0xE801)},
    {ROW(0xFC01, 0xB801, 0x3001, 0x6002, 0xC004, 0xC00B, 0xC015, 0xC029)},
    {ROW(0xC03D, 0xC079, 0xC0F1, 0xC1E1, 0xC3C1, 0xC781, 0xCF01, 0xDE01)},
    {ROW(0xD101, 0xE201, 0x8401, 0x4801, 0x9002, 0x6007, 0xC00E, 0xC01F)},
    {ROW(0xC010, 0xC023, 0xC045, 0xC089, 0xC111, 0xC221, 0xC441, 0xC881)},
    {ROW(0xCCC1, 0xD981, 0xF301, 0xA601, 0x0C01, 0x1802, 0x3004, 0x6008)},
};

static inline uint16_t crc16(uint16_t crc, const uint8_t* p, size_t count) {
    for (; count >= 8; count -= 8, p += 8) {
        crc = (uint16_t)(kCrc16[7][(crc ^ p[0]) & 0xFF] ^ kCrc16[6][crc >> 8 ^ p[1]] ^ kCrc16[5][p[2]] ^
                         kCrc16[4][p[3]] ^ kCrc16[3][p[4]] ^ kCrc16[2][p[5]] ^ kCrc16[1][p[6]] ^ kCrc16[0][p[7]]);
    }
    for (; count > 0; --count, ++p) {
        crc = (uint16_t)(crc >> 8 ^ kCrc16[0][(crc ^ *p) & 0xFF]);
    }
    return crc;
}

#endif

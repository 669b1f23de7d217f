// SPDX-License-Identifier: MIT
// The two checksums of the system: CRC-16/MODBUS (version blocks, pages, regions, update file) and the
// 1-Wire CRC-8 (EEPROM, NEVENT messages).
#pragma once

#include <cstddef>
#include <cstdint>

/// Start value of every CRC-16 of the system.
inline constexpr uint16_t kCrc16Start = 0xFFFF;

/// One byte of CRC-16/MODBUS: polynomial 0x8005 reflected, no final XOR.
uint16_t crc16_update(uint16_t crc, uint8_t byte);

/// CRC-16/MODBUS over `count` bytes, continuing from `init`. The ASCII digits 1 to 9 give 0x4B37 from kCrc16Start.
uint16_t crc16_buffer(uint16_t init, const uint8_t* data, size_t count);

/// The 1-Wire CRC-8 (polynomial 0x8C reflected) over `count` bytes, continuing from `init`. The board starts with 0xFF
/// instead of the usual 0.
uint8_t crc8_1wire(uint8_t init, const uint8_t* data, size_t count);

// SPDX-License-Identifier: MIT
// One i2c-dev bus and the two transfers that everything else is made of. Nothing else in the tool makes a system
// call to the bus. Inline, because an update makes thousands of them.
#pragma once

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

#include <cstdint>
#include <cstring>

struct I2cBus {
    int32_t bus_number = 0;  ///< N of /dev/i2c-N
    int32_t fd = -1;         ///< negative: not open
};

/// Opens /dev/i2c-N for the number N in `bus_text` (see parse_int). False when the text is no number, or one above 31
/// bits (the bus is then as it was), when it is negative (only bus_number has changed), or when the device can't be
/// opened (fd is then -1). A descriptor opened before is replaced, not closed.
bool open_bus(I2cBus& bus, const char* bus_text);

inline constexpr uint16_t kI2cChunkSize = 256;

/// The messages as one transfer, which is one system call; none without an open bus. False when the bus or the device
/// refuses.
inline bool i2c_transfer(const I2cBus& bus, i2c_msg* messages, uint32_t count) {
    i2c_rdwr_ioctl_data request{messages, count};
    return bus.fd >= 0 && ioctl(bus.fd, I2C_RDWR, &request) >= 0;
}

/// For more than 256 bytes; see below.
bool i2c_write_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, const uint8_t* data);
bool i2c_read_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, uint8_t* data);

/// Writes `length` bytes to the registers from `start` on, in one message. More than 256 bytes go out as several
/// transfers that all begin at `start`: 256 registers later the device's pointer is back there. False at the first
/// transfer that the device or the bus refuses; without an open bus, at once and without a system call.
inline bool i2c_write(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, const uint8_t* data) {
    if (length > kI2cChunkSize) {
        return i2c_write_chunks(bus, address, start, length, data);
    }
    uint8_t buffer[1 + kI2cChunkSize];
    buffer[0] = start;
    if (length > 0) {
        std::memcpy(buffer + 1, data, length);
    }
    i2c_msg message{address, 0, static_cast<uint16_t>(length + 1), buffer};
    return i2c_transfer(bus, &message, 1);
}

/// Reads `length` bytes from the registers from `start` on: the register number is written, then the bytes are read
/// after a repeated start, as one transfer. Splits and fails like i2c_write.
inline bool i2c_read(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, uint8_t* data) {
    if (length > kI2cChunkSize) {
        return i2c_read_chunks(bus, address, start, length, data);
    }
    i2c_msg messages[] = {{address, 0, 1, &start}, {address, I2C_M_RD, length, data}};
    return i2c_transfer(bus, messages, 2);
}

bool i2c_write_byte(const I2cBus& bus, uint8_t address, uint8_t reg, uint8_t value);

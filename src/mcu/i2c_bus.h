// SPDX-License-Identifier: MIT
// One i2c-dev bus and its two transfers, a write and a read. No other file makes a system call to the bus. Inline,
// because an update makes thousands of transfers.
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

/// Opens /dev/i2c-N for the number N in `bus_text` (see parse_int). A descriptor that is already open is replaced, not
/// closed. False if the text is not a number or does not fit into 31 bits (nothing changes), if the number is negative
/// (only bus_number changes), or if the device cannot be opened (fd becomes -1).
bool open_bus(I2cBus& bus, const char* bus_text);

inline constexpr uint16_t kI2cChunkSize = 256;

/// Sends the messages as one transfer, in one system call. False when the transfer fails, or without an open bus; then
/// no call is made.
inline bool i2c_transfer(const I2cBus& bus, i2c_msg* messages, uint32_t count) {
    i2c_rdwr_ioctl_data request{messages, count};
    return bus.fd >= 0 && ioctl(bus.fd, I2C_RDWR, &request) >= 0;
}

/// The same as i2c_write and i2c_read, for more than 256 bytes.
bool i2c_write_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, const uint8_t* data);
bool i2c_read_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, uint8_t* data);

/// Writes `length` bytes to consecutive registers, the first being `start`, in one message. More than 256 bytes are
/// split into several transfers, each of which begins at `start`: the register number wraps after 256 bytes. Stops and
/// returns false at the first transfer that fails, see i2c_transfer.
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

/// Reads `length` bytes from consecutive registers, the first being `start`: one transfer that writes the register
/// number and reads after a repeated start. Splits and fails like i2c_write.
inline bool i2c_read(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, uint8_t* data) {
    if (length > kI2cChunkSize) {
        return i2c_read_chunks(bus, address, start, length, data);
    }
    i2c_msg messages[] = {{address, 0, 1, &start}, {address, I2C_M_RD, length, data}};
    return i2c_transfer(bus, messages, 2);
}

/// Reads what the adapter can do: I2C_FUNC_I2C and others of <linux/i2c.h>. Sends nothing on the bus.
bool i2c_functions(const I2cBus& bus, unsigned long& functions);

bool i2c_write_byte(const I2cBus& bus, uint8_t address, uint8_t reg, uint8_t value);

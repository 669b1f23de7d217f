// SPDX-License-Identifier: MIT
#include "mcu/i2c_bus.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdio>

#include "util/parse_number.h"

namespace {

template <typename Byte, typename TransferChunk>
bool transfer_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, Byte* data,
                     TransferChunk transfer_chunk) {
    uint32_t offset = 0;
    do {
        const auto chunk = static_cast<uint16_t>(std::min<uint32_t>(length - offset, kI2cChunkSize));
        if (!transfer_chunk(bus, address, start, chunk, data + offset)) {
            return false;
        }
        offset += chunk;
    } while (offset < length);
    return true;
}

}  // namespace

bool open_bus(I2cBus& bus, const char* bus_text) {
    int64_t number = 0;
    if (!parse_int(bus_text, number) || number > INT32_MAX) {
        return false;
    }
    bus.bus_number = static_cast<int32_t>(std::max<int64_t>(number, INT32_MIN));
    if (number < 0) {
        return false;
    }
    char path[32];
    std::snprintf(path, sizeof path, "/dev/i2c-%d", bus.bus_number);
    bus.fd = open(path, O_RDWR);
    return bus.fd >= 0;
}

bool i2c_write_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, const uint8_t* data) {
    return transfer_chunks(bus, address, start, length, data, i2c_write);
}

bool i2c_read_chunks(const I2cBus& bus, uint8_t address, uint8_t start, uint16_t length, uint8_t* data) {
    return transfer_chunks(bus, address, start, length, data, i2c_read);
}

bool i2c_functions(const I2cBus& bus, unsigned long& functions) {
    return bus.fd >= 0 && ioctl(bus.fd, I2C_FUNCS, &functions) >= 0;
}

bool i2c_write_byte(const I2cBus& bus, uint8_t address, uint8_t reg, uint8_t value) {
    return i2c_write(bus, address, reg, 1, &value);
}

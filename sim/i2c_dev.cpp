// SPDX-License-Identifier: MIT
#include "sim/i2c_dev.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace sim {

namespace {

constexpr size_t kMaxMessages = I2C_RDWR_IOCTL_MAX_MSGS;
constexpr size_t kMaxMessageSize = 8192;  // the kernel's own limit

/// Counted reference to memory of the client.
using Data = std::unique_ptr<UMockdevIoctlData, void (*)(UMockdevIoctlData*)>;

struct Device {
    TransferFunction transfer;
    uint16_t slave = 0;  // for SMBus calls, which only one client at a time makes
};

struct Result {
    long value;
    int error;
};

/// The memory that a pointer in the client's memory refers to; null when it cannot be read.
Data resolve(UMockdevIoctlData* data, size_t offset, size_t size) {
    GError* error = nullptr;
    UMockdevIoctlData* target = umockdev_ioctl_data_resolve(data, offset, size, &error);
    if (error != nullptr) {
        g_error_free(error);
        target = nullptr;
    }
    return {target, [](UMockdevIoctlData* d) { g_object_unref(d); }};
}

Result rdwr(Device& device, UMockdevIoctlData* arg) {
    const Data request = resolve(arg, 0, sizeof(i2c_rdwr_ioctl_data));
    if (request == nullptr) {
        return {-1, EFAULT};
    }
    i2c_rdwr_ioctl_data header{};
    std::memcpy(&header, request->data, sizeof header);
    if (header.nmsgs == 0 || header.nmsgs > kMaxMessages) {
        return {-1, EINVAL};
    }
    const Data table = resolve(request.get(), offsetof(i2c_rdwr_ioctl_data, msgs), header.nmsgs * sizeof(i2c_msg));
    if (table == nullptr) {
        return {-1, EFAULT};
    }
    std::vector<Data> buffers;
    std::vector<Bytes> bytes(header.nmsgs);
    std::vector<Message> messages;
    for (size_t i = 0; i < header.nmsgs; ++i) {
        i2c_msg message{};
        std::memcpy(&message, table->data + i * sizeof message, sizeof message);
        if (message.len > kMaxMessageSize) {
            return {-1, EINVAL};
        }
        buffers.push_back(resolve(table.get(), i * sizeof message + offsetof(i2c_msg, buf), message.len));
        if (message.len > 0 && buffers.back() == nullptr) {
            return {-1, EFAULT};
        }
        bytes[i].assign(message.len, 0);
        if (message.len > 0) {
            std::memcpy(bytes[i].data(), buffers.back()->data, message.len);
        }
        messages.push_back({message.addr, (message.flags & I2C_M_RD) != 0, bytes[i]});
    }
    if (!device.transfer(messages)) {
        return {-1, ENXIO};
    }
    for (size_t i = 0; i < header.nmsgs; ++i) {
        if (messages[i].read && !bytes[i].empty()) {
            umockdev_ioctl_data_update(buffers[i].get(), 0, bytes[i].data(), static_cast<gint>(bytes[i].size()));
        }
    }
    return {static_cast<long>(header.nmsgs), 0};
}

/// The two SMBus calls with which i2cdetect probes addresses: quick command and byte.
Result smbus(Device& device, UMockdevIoctlData* arg) {
    const Data request = resolve(arg, 0, sizeof(i2c_smbus_ioctl_data));
    if (request == nullptr) {
        return {-1, EFAULT};
    }
    i2c_smbus_ioctl_data header{};
    std::memcpy(&header, request->data, sizeof header);
    const bool read = header.read_write == I2C_SMBUS_READ;
    uint8_t byte = 0;
    Message message{device.slave, read, {}};
    if (header.size == I2C_SMBUS_BYTE) {
        byte = header.command;
        message.bytes = std::span(&byte, 1);
    } else if (header.size != I2C_SMBUS_QUICK) {
        return {-1, EOPNOTSUPP};
    }
    if (!device.transfer(std::span(&message, 1))) {
        return {-1, ENXIO};
    }
    if (read && header.size == I2C_SMBUS_BYTE) {
        const Data answer = resolve(request.get(), offsetof(i2c_smbus_ioctl_data, data), sizeof(i2c_smbus_data));
        if (answer == nullptr) {
            return {-1, EFAULT};
        }
        umockdev_ioctl_data_update(answer.get(), 0, &byte, 1);
    }
    return {0, 0};
}

Result functionality(UMockdevIoctlData* arg) {
    const Data answer = resolve(arg, 0, sizeof(unsigned long));
    if (answer == nullptr) {
        return {-1, EFAULT};
    }
    unsigned long functions = I2C_FUNC_I2C | I2C_FUNC_SMBUS_QUICK | I2C_FUNC_SMBUS_BYTE;
    umockdev_ioctl_data_update(answer.get(), 0, reinterpret_cast<guint8*>(&functions), sizeof functions);
    return {0, 0};
}

Result select_slave(Device& device, UMockdevIoctlData* arg) {
    unsigned long address = 0;
    std::memcpy(&address, arg->data, sizeof address);
    if (address > 0x7F) {
        return {-1, EINVAL};
    }
    device.slave = static_cast<uint16_t>(address);
    return {0, 0};
}

gboolean handle(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client, gpointer user) {
    Device& device = *static_cast<Device*>(user);
    UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
    Result result{-1, ENOTTY};
    switch (umockdev_ioctl_client_get_request(client)) {
        case I2C_RDWR: result = rdwr(device, arg); break;
        case I2C_SMBUS: result = smbus(device, arg); break;
        case I2C_FUNCS: result = functionality(arg); break;
        case I2C_SLAVE:
        case I2C_SLAVE_FORCE: result = select_slave(device, arg); break;
        default: break;
    }
    umockdev_ioctl_client_complete(client, result.value, result.error);
    return TRUE;
}

}  // namespace

UMockdevIoctlBase* make_i2c_dev(TransferFunction transfer) {
    UMockdevIoctlBase* base = umockdev_ioctl_base_new();
    auto* device = new Device{std::move(transfer)};
    g_signal_connect_data(
        base, "handle-ioctl", G_CALLBACK(handle), device,
        [](gpointer user, GClosure* /*closure*/) { delete static_cast<Device*>(user); }, GConnectFlags{});
    return base;
}

}  // namespace sim

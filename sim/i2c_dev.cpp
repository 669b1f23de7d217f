// SPDX-License-Identifier: MIT
#include "sim/i2c_dev.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace sim {

namespace {

/// Counted reference to memory of the client.
using Data = std::unique_ptr<UMockdevIoctlData, void (*)(UMockdevIoctlData*)>;

// Kept in each client's object: the address for SMBus calls, and the process.
constexpr char kSlave[] = "slave";
constexpr char kProcess[] = "process";

constexpr unsigned long kFunctions = I2C_FUNC_I2C | I2C_FUNC_SMBUS_QUICK | I2C_FUNC_SMBUS_BYTE |
                                     I2C_FUNC_SMBUS_BYTE_DATA | I2C_FUNC_SMBUS_WORD_DATA | I2C_FUNC_SMBUS_I2C_BLOCK;

struct Result {
    long value;
    int error;
};

/// Who is at the other end of a new connection: umockdev keeps its sockets to itself.
class Peers {
public:
    Peers() {
        newest();
    }

    /// The other process of a socket that was not open at the last call; 0 if there is none.
    pid_t newest() {
        pid_t process = 0;
        std::set<ino_t> open_sockets;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
            const int fd = std::atoi(entry.path().filename().c_str());
            struct stat file {};
            ucred peer{};
            socklen_t size = sizeof peer;
            // A listening socket is its own peer.
            if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.pid != getpid() &&
                fstat(fd, &file) == 0) {
                open_sockets.insert(file.st_ino);
                process = seen_.contains(file.st_ino) ? process : peer.pid;
            }
        }
        seen_ = std::move(open_sockets);
        return process;
    }

private:
    std::set<ino_t> seen_;
};

/// A transfer of one client
using ClientTransfer = std::function<bool(std::span<const Message>)>;

struct Device {
    TransferFunction transfer;
    Peers peers;
};

template <typename T>
T number(UMockdevIoctlClient* client, const char* key) {
    return static_cast<T>(GPOINTER_TO_UINT(g_object_get_data(G_OBJECT(client), key)));
}

void set_number(UMockdevIoctlClient* client, const char* key, unsigned long value) {
    g_object_set_data(G_OBJECT(client), key, GUINT_TO_POINTER(value));  // NOLINT(performance-no-int-to-ptr)
}

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

Result rdwr(const ClientTransfer& transfer, UMockdevIoctlData* arg) {
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
        if (message.len > kMaxMessageSize || message.addr > 0x7F) {  // ten-bit addresses: not offered
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
    if (!transfer(messages)) {
        return {-1, ENXIO};
    }
    for (size_t i = 0; i < header.nmsgs; ++i) {
        if (messages[i].read && !bytes[i].empty()) {
            umockdev_ioctl_data_update(buffers[i].get(), 0, bytes[i].data(), static_cast<gint>(bytes[i].size()));
        }
    }
    return {static_cast<long>(header.nmsgs), 0};
}

/// Where the bytes of an SMBus call lie in its data. Nothing when the call is not offered.
std::optional<std::span<uint8_t>> smbus_bytes(uint32_t size, i2c_smbus_data& data) {
    switch (size) {
        case I2C_SMBUS_QUICK: return std::span(data.block, 0);
        case I2C_SMBUS_BYTE:
        case I2C_SMBUS_BYTE_DATA: return std::span(data.block, 1);
        case I2C_SMBUS_WORD_DATA: return std::span(data.block, 2);
        case I2C_SMBUS_I2C_BLOCK_BROKEN:  // what the C library of i2c-tools calls for 32 bytes, and to write
        case I2C_SMBUS_I2C_BLOCK_DATA:
            data.block[0] = std::min<uint8_t>(data.block[0], I2C_SMBUS_BLOCK_MAX);
            return std::span(data.block + 1, data.block[0]);
        default: return std::nullopt;
    }
}

/// The SMBus calls as the kernel makes them from I2C messages.
Result smbus(const ClientTransfer& transfer, uint16_t slave, UMockdevIoctlData* arg) {
    const Data request = resolve(arg, 0, sizeof(i2c_smbus_ioctl_data));
    if (request == nullptr) {
        return {-1, EFAULT};
    }
    i2c_smbus_ioctl_data header{};
    std::memcpy(&header, request->data, sizeof header);
    const bool read = header.read_write == I2C_SMBUS_READ;
    // A byte that is written without a register is in the place of the register, and there is no data.
    const bool has_data = header.size != I2C_SMBUS_QUICK && (header.size != I2C_SMBUS_BYTE || read);
    i2c_smbus_data data{};
    const Data memory = has_data ? resolve(request.get(), offsetof(i2c_smbus_ioctl_data, data), sizeof data)
                                 : Data(nullptr, [](UMockdevIoctlData*) {});
    if (memory != nullptr) {
        std::memcpy(&data, memory->data, sizeof data);
    } else if (has_data) {
        return {-1, EFAULT};
    }
    if (read && header.size == I2C_SMBUS_I2C_BLOCK_BROKEN) {
        data.block[0] = I2C_SMBUS_BLOCK_MAX;
    }
    const auto bytes = smbus_bytes(header.size, data);
    if (!bytes) {
        return {-1, EOPNOTSUPP};
    }
    Bytes written;
    if (header.size != I2C_SMBUS_QUICK && (header.size != I2C_SMBUS_BYTE || !read)) {
        written.push_back(header.command);
    }
    if (has_data && !read) {
        written.insert(written.end(), bytes->begin(), bytes->end());
    }
    std::vector<Message> messages;
    if (!read || !written.empty()) {
        messages.push_back({slave, false, written});
    }
    if (read) {
        messages.push_back({slave, true, *bytes});
    }
    if (!transfer(messages)) {
        return {-1, ENXIO};
    }
    if (read && has_data) {
        umockdev_ioctl_data_update(memory.get(), 0, data.block, sizeof data);
    }
    return {0, 0};
}

Result functionality(UMockdevIoctlData* arg) {
    const Data answer = resolve(arg, 0, sizeof(unsigned long));
    if (answer == nullptr) {
        return {-1, EFAULT};
    }
    unsigned long functions = kFunctions;
    umockdev_ioctl_data_update(answer.get(), 0, reinterpret_cast<guint8*>(&functions), sizeof functions);
    return {0, 0};
}

Result select_slave(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
    unsigned long address = 0;
    std::memcpy(&address, arg->data, sizeof address);
    if (address > 0x7F) {
        return {-1, EINVAL};
    }
    set_number(client, kSlave, address);
    return {0, 0};
}

void connected(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client, gpointer user) {
    set_number(client, kProcess, static_cast<unsigned long>(static_cast<Device*>(user)->peers.newest()));
}

gboolean handle(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client, gpointer user) {
    const auto process = number<pid_t>(client, kProcess);
    const ClientTransfer transfer = [&device = *static_cast<Device*>(user),
                                     process](std::span<const Message> messages) {
        return device.transfer(messages, process);
    };
    UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
    const auto slave = number<uint16_t>(client, kSlave);
    Result result{-1, ENOTTY};
    switch (umockdev_ioctl_client_get_request(client)) {
        case I2C_RDWR: result = rdwr(transfer, arg); break;
        case I2C_SMBUS: result = smbus(transfer, slave, arg); break;
        case I2C_FUNCS: result = functionality(arg); break;
        case I2C_SLAVE:
        case I2C_SLAVE_FORCE: result = select_slave(client, arg); break;
        default: break;
    }
    umockdev_ioctl_client_complete(client, result.value, result.error);
    return TRUE;
}

}  // namespace

UMockdevIoctlBase* make_i2c_dev(TransferFunction transfer) {
    UMockdevIoctlBase* base = umockdev_ioctl_base_new();
    auto* device = new Device{std::move(transfer), {}};
    g_signal_connect(base, "client-connected", G_CALLBACK(connected), device);
    g_signal_connect_data(
        base, "handle-ioctl", G_CALLBACK(handle), device,
        [](gpointer user, GClosure* /*closure*/) { delete static_cast<Device*>(user); }, GConnectFlags{});
    return base;
}

}  // namespace sim

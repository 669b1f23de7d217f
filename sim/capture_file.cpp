// SPDX-License-Identifier: MIT
#include "sim/capture_file.h"

#include <linux/i2c.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string_view>

#include "util/little_endian.h"

namespace sim {

namespace {

constexpr uint32_t kSectionBlock = 0x0A0D0D0A;
constexpr uint32_t kInterfaceBlock = 1;
constexpr uint32_t kPacketBlock = 6;
constexpr uint32_t kByteOrderMark = 0x1A2B3C4D;
constexpr uint16_t kI2cLinkType = 209;
constexpr uint32_t kSnapLength = 65535;  // with 0, tshark ends a live capture at once
constexpr uint16_t kCommentOption = 1;
constexpr uint16_t kResolutionOption = 9;
constexpr size_t kPseudoHeader = 5;                      // bus and flags; the address is the first byte on the bus
constexpr size_t kMaxMessages = 42;                      // of one I2C_RDWR call
constexpr size_t kMaxPacket = kPseudoHeader + 1 + 8192;  // the kernel's limit of a message
constexpr uint8_t kEventPacket = 0x80;
constexpr std::string_view kFailedComment = "not acknowledged";
constexpr uint64_t kUsPerSecond = 1'000'000;

size_t padded(size_t size) {
    return (size + 3) / 4 * 4;
}

void append(Bytes& out, std::span<const uint8_t> bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
    out.resize(padded(out.size()));
}

void append32(Bytes& out, uint32_t value) {
    std::array<uint8_t, 4> bytes{};
    put_le32(bytes.data(), value);
    append(out, bytes);
}

/// Type, length, body, length.
void append_block(Bytes& out, uint32_t type, const Bytes& body) {
    const auto length = static_cast<uint32_t>(body.size() + 12);
    append32(out, type);
    append32(out, length);
    append(out, body);
    append32(out, length);
}

void append_packet(Bytes& out, const RecordedTransfer& transfer, const RecordedMessage& message, bool last) {
    const unsigned flags = (message.read ? I2C_M_RD : 0U) | (last ? I2C_M_STOP : 0U);
    const auto address = static_cast<uint8_t>(message.address << 1 | (message.read ? 1 : 0));
    Bytes packet{transfer.bus, 0, 0, static_cast<uint8_t>(flags >> 8), static_cast<uint8_t>(flags), address};
    const size_t size = packet.size() + message.size;
    packet.insert(packet.end(), message.bytes.begin(), message.bytes.end());
    Bytes body;
    append32(body, 0);  // the only interface
    append32(body, static_cast<uint32_t>(transfer.time_us >> 32));
    append32(body, static_cast<uint32_t>(transfer.time_us));
    append32(body, static_cast<uint32_t>(packet.size()));
    append32(body, static_cast<uint32_t>(size));
    append(body, packet);
    if (last && !transfer.acknowledged) {
        append32(body, kCommentOption | static_cast<uint32_t>(kFailedComment.size()) << 16);
        append(body, Bytes(kFailedComment.begin(), kFailedComment.end()));
        append32(body, 0);
    }
    append_block(out, kPacketBlock, body);
}

/// A part of the file, with the byte order of its section.
struct Part {
    std::span<const uint8_t> bytes;
    bool big_endian = false;

    uint32_t get32(size_t offset) const {
        const uint32_t value = get_le32(&bytes[offset]);
        return big_endian ? __builtin_bswap32(value) : value;
    }

    uint16_t get16(size_t offset) const {
        const uint16_t value = get_le16(&bytes[offset]);
        return big_endian ? __builtin_bswap16(value) : value;
    }

    /// The value of the first option that begins so, in the list at this offset.
    std::optional<std::string_view> option(size_t offset, uint16_t code, std::string_view start) const {
        while (offset + 4 <= bytes.size() && get16(offset) != 0) {
            const size_t size = get16(offset + 2);
            if (size > bytes.size() - offset - 4) {
                break;
            }
            const std::string_view value(reinterpret_cast<const char*>(&bytes[offset]) + 4, size);
            if (get16(offset) == code && value.starts_with(start)) {
                return value;
            }
            offset += 4 + padded(size);
        }
        return std::nullopt;
    }
};

struct Interface {
    bool i2c;
    uint64_t units_per_second;
};

class Reader {
public:
    Recording recording;

    /// False, with the problem, at damage.
    bool read_block(uint32_t type, const Part& body) {
        switch (type) {
            case kSectionBlock: interfaces_.clear(); return true;
            case kInterfaceBlock: return read_interface(body);
            case kPacketBlock: return read_packet(body);
            default: return true;
        }
    }

    bool has_open_transfer() const {
        return std::any_of(open_.begin(), open_.end(), [](const auto& open) { return !open.messages.empty(); });
    }

    bool fail(const std::string& problem) {
        recording.problem = problem;
        return false;
    }

private:
    bool read_interface(const Part& body) {
        if (body.bytes.size() < 8) {
            return fail("damaged interface");
        }
        uint64_t units = kUsPerSecond;
        if (const auto value = body.option(8, kResolutionOption, ""); value && value->size() == 1) {
            const bool binary = (value->front() & 0x80) != 0;
            const unsigned exponent = value->front() & 0x7FU;
            if (exponent > (binary ? 30 : 9)) {
                return fail("time stamps finer than nanoseconds");
            }
            units = 1;
            for (unsigned i = 0; i < exponent; ++i) {
                units *= binary ? 2 : 10;
            }
        }
        interfaces_.push_back({body.get16(0) == kI2cLinkType, units});
        return true;
    }

    bool read_packet(const Part& body) {
        if (body.bytes.size() < 20 || body.get32(0) >= interfaces_.size() || body.get32(12) > body.bytes.size() - 20) {
            return fail("damaged packet");
        }
        const Interface& interface = interfaces_[body.get32(0)];
        const std::span<const uint8_t> packet = body.bytes.subspan(20, body.get32(12));
        if (!interface.i2c) {
            return fail("not an I2C bus: its link type is another than 209");
        }
        if (packet.size() <= kPseudoHeader || body.get32(16) < packet.size() || body.get32(16) > kMaxPacket) {
            return fail("damaged packet");
        }
        if ((packet[0] & kEventPacket) != 0) {
            return true;
        }
        const uint64_t units = uint64_t{body.get32(4)} << 32 | body.get32(8);
        RecordedTransfer& open = open_[packet[0]];
        if (open.messages.empty()) {
            open.bus = packet[0];
            open.time_us = units / interface.units_per_second * kUsPerSecond +
                           units % interface.units_per_second * kUsPerSecond / interface.units_per_second;
        }
        const std::span<const uint8_t> data = packet.subspan(kPseudoHeader + 1);
        open.messages.push_back({static_cast<uint16_t>(packet[kPseudoHeader] >> 1), (packet[kPseudoHeader] & 1) != 0,
                                 body.get32(16) - kPseudoHeader - 1, Bytes(data.begin(), data.end())});
        if ((packet[3] & (I2C_M_STOP >> 8)) == 0) {
            return open.messages.size() < kMaxMessages || fail("messages without an end of their transfer");
        }
        open.acknowledged = !body.option(20 + padded(packet.size()), kCommentOption, kFailedComment);
        recording.transfers.push_back(std::move(open));
        open = {};
        return true;
    }

    std::vector<Interface> interfaces_;
    std::array<RecordedTransfer, kMaxCapturedBus + 1> open_{};
};

}  // namespace

bool RecordedTransfer::complete() const {
    return std::all_of(messages.begin(), messages.end(), [&](const RecordedMessage& message) {
        return message.bytes.size() == message.size || (message.read && !acknowledged);
    });
}

Bytes capture_header() {
    Bytes section;
    append32(section, kByteOrderMark);
    append32(section, 1);  // version 1.0
    append32(section, 0xFFFFFFFF);
    append32(section, 0xFFFFFFFF);  // length unknown
    Bytes interface;
    append32(interface, kI2cLinkType);
    append32(interface, kSnapLength);
    Bytes out;
    append_block(out, kSectionBlock, section);
    append_block(out, kInterfaceBlock, interface);
    return out;
}

Bytes capture_packets(const RecordedTransfer& transfer) {
    Bytes out;
    for (const RecordedMessage& message : transfer.messages) {
        append_packet(out, transfer, message, &message == &transfer.messages.back());
    }
    return out;
}

std::vector<Message> messages_of(RecordedTransfer& transfer) {
    std::vector<Message> messages;
    for (RecordedMessage& message : transfer.messages) {
        messages.push_back({message.address, message.read, message.bytes});
    }
    return messages;
}

RecordedTransfer record(uint8_t bus, const Transfer& transfer) {
    RecordedTransfer result{bus, transfer.time_us, transfer.acknowledged, {}};
    for (const Message& message : transfer.messages) {
        const bool known = transfer.acknowledged || !message.read;
        result.messages.push_back({message.address, message.read, message.bytes.size(),
                                   known ? Bytes(message.bytes.begin(), message.bytes.end()) : Bytes()});
    }
    return result;
}

bool is_capture(std::span<const uint8_t> bytes) {
    return bytes.size() >= 4 && get_le32(bytes.data()) == kSectionBlock;
}

std::string load_bytes(const std::string& path, Bytes& bytes) {
    std::ifstream file(path, std::ios::binary);
    std::istream& in = path == "-" ? std::cin : file;
    if (!in) {
        return std::strerror(errno);
    }
    bytes.assign(std::istreambuf_iterator<char>(in), {});
    return in.bad() ? std::strerror(errno) : "";
}

Recording read_capture(std::span<const uint8_t> bytes) {
    Reader reader;
    Part rest{bytes};
    if (!is_capture(bytes)) {
        reader.fail("not a pcapng file");
        return reader.recording;
    }
    while (rest.bytes.size() >= 12) {
        // The type of a section reads the same in both byte orders.
        if (get_le32(rest.bytes.data()) == kSectionBlock) {
            rest.big_endian = get_le32(&rest.bytes[8]) != kByteOrderMark;
        }
        const uint32_t length = rest.get32(4);
        if (length < 12 || length % 4 != 0) {
            reader.fail("damaged block");
            return reader.recording;
        }
        if (length > rest.bytes.size()) {
            break;
        }
        if (!reader.read_block(rest.get32(0), {rest.bytes.subspan(8, length - 12), rest.big_endian})) {
            return reader.recording;
        }
        rest.bytes = rest.bytes.subspan(length);
    }
    if (!rest.bytes.empty() || reader.has_open_transfer()) {
        reader.fail("cut off");
    }
    return reader.recording;
}

}  // namespace sim

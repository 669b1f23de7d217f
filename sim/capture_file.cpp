// SPDX-License-Identifier: MIT
#include "sim/capture_file.h"

#include <linux/i2c.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
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
constexpr std::string_view kMicroseconds = "\6";
constexpr std::string_view kFailed = "not acknowledged";
constexpr size_t kPseudoHeader = 6;  // bus, flags, address and direction
constexpr uint8_t kEventPacket = 0x80;

void append(Bytes& out, std::span<const uint8_t> bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
    out.resize((out.size() + 3) / 4 * 4);
}

void append_words(Bytes& out, std::initializer_list<uint64_t> words) {
    for (const uint64_t word : words) {
        std::array<uint8_t, 4> bytes{};
        put_le32(bytes.data(), static_cast<uint32_t>(word));
        append(out, bytes);
    }
}

void append_block(Bytes& out, uint32_t type, const Bytes& body) {
    append_words(out, {type, body.size() + 12});
    append(out, body);
    append_words(out, {body.size() + 12});
}

void append_packet(Bytes& out, const RecordedTransfer& transfer, const RecordedMessage& message) {
    const bool last = &message == &transfer.messages.back();
    const unsigned flags = (message.read ? I2C_M_RD : 0U) | (last ? I2C_M_STOP : 0U);
    Bytes packet{transfer.bus,
                 0,
                 0,
                 static_cast<uint8_t>(flags >> 8),
                 static_cast<uint8_t>(flags),
                 static_cast<uint8_t>(message.address << 1 | (message.read ? 1 : 0))};
    packet.insert(packet.end(), message.bytes.begin(), message.bytes.end());
    Bytes body;
    append_words(body, {0, transfer.time_us >> 32, transfer.time_us, packet.size(), kPseudoHeader + message.size});
    append(body, packet);
    if (last && !transfer.acknowledged) {
        append_words(body, {kCommentOption | kFailed.size() << 16});
        append(body, Bytes(kFailed.begin(), kFailed.end()));
        append_words(body, {0});
    }
    append_block(out, kPacketBlock, body);
}

/// The first option with this code that begins so, in the list at this offset.
std::optional<std::string_view> find_option(std::span<const uint8_t> body, size_t offset, uint16_t code,
                                            std::string_view start) {
    while (offset + 4 <= body.size() && get_le16(&body[offset]) != 0) {
        const size_t size = get_le16(&body[offset + 2]);
        if (size > body.size() - offset - 4) {
            break;
        }
        const std::string_view value(reinterpret_cast<const char*>(&body[offset]) + 4, size);
        if (get_le16(&body[offset]) == code && value.starts_with(start)) {
            return value;
        }
        offset += 4 + (size + 3) / 4 * 4;
    }
    return std::nullopt;
}

class Reader {
public:
    /// Returns an empty text, or why the file cannot be read on.
    std::string read_block(uint32_t type, std::span<const uint8_t> body) {
        switch (type) {
            case kSectionBlock: is_i2c_.clear(); return "";
            case kInterfaceBlock: return read_interface(body);
            case kPacketBlock: return read_packet(body);
            default: return "";
        }
    }

    bool has_open_transfer() const {
        return std::any_of(open_.begin(), open_.end(), [](const auto& open) { return !open.messages.empty(); });
    }

    std::vector<RecordedTransfer> transfers;

private:
    std::string read_interface(std::span<const uint8_t> body) {
        if (body.size() < 8) {
            return "damaged interface";
        }
        is_i2c_.push_back(get_le16(body.data()) == kI2cLinkType);
        const auto resolution = find_option(body, 8, kResolutionOption, "");
        return !resolution || *resolution == kMicroseconds ? "" : "time stamps are not in microseconds";
    }

    std::string read_packet(std::span<const uint8_t> body) {
        const auto word = [&](size_t index) { return get_le32(&body[4 * index]); };
        if (body.size() < 20 || word(0) >= is_i2c_.size() || word(3) > body.size() - 20 || word(3) < kPseudoHeader ||
            word(4) < word(3) || word(4) > kPseudoHeader + kMaxMessageSize) {
            return "damaged packet";
        }
        if (!is_i2c_[word(0)]) {
            return "not an I2C bus: its link type is another than 209";
        }
        const std::span<const uint8_t> packet = body.subspan(20, word(3));
        if ((packet[0] & kEventPacket) != 0) {
            return "";
        }
        RecordedTransfer& open = open_[packet[0]];
        if (open.messages.empty()) {
            open.bus = packet[0];
            open.time_us = uint64_t{word(1)} << 32 | word(2);
        }
        open.messages.push_back({static_cast<uint16_t>(packet[5] >> 1), (packet[5] & 1) != 0, word(4) - kPseudoHeader,
                                 Bytes(packet.begin() + kPseudoHeader, packet.end())});
        if ((packet[3] & I2C_M_STOP >> 8) == 0) {
            return open.messages.size() < kMaxMessages ? "" : "messages without an end of their transfer";
        }
        open.acknowledged = !find_option(body, 20 + (packet.size() + 3) / 4 * 4, kCommentOption, kFailed);
        transfers.push_back(std::move(open));
        open = {};
        return "";
    }

    std::vector<bool> is_i2c_;  // each interface of the section
    std::array<RecordedTransfer, kMaxCapturedBus + 1> open_{};
};

}  // namespace

bool RecordedTransfer::complete() const {
    return std::all_of(messages.begin(), messages.end(), [&](const RecordedMessage& message) {
        return message.bytes.size() == message.size || (message.read && !acknowledged);
    });
}

bool can_capture(const RecordedTransfer& transfer) {
    return transfer.bus <= kMaxCapturedBus && !transfer.messages.empty() && transfer.messages.size() <= kMaxMessages &&
           std::all_of(transfer.messages.begin(), transfer.messages.end(), [](const RecordedMessage& message) {
               return message.address <= 0x7F && message.size <= kMaxMessageSize &&
                      message.bytes.size() <= message.size;
           });
}

Bytes capture_header() {
    Bytes section;
    append_words(section, {kByteOrderMark, 1, 0xFFFFFFFF, 0xFFFFFFFF});  // version 1.0, any length
    Bytes interface;
    append_words(interface, {kI2cLinkType, kSnapLength});
    Bytes out;
    append_block(out, kSectionBlock, section);
    append_block(out, kInterfaceBlock, interface);
    return out;
}

Bytes capture_packets(const RecordedTransfer& transfer) {
    Bytes out;
    for (const RecordedMessage& message : transfer.messages) {
        append_packet(out, transfer, message);
    }
    return out;
}

Bytes capture_of(std::span<const RecordedTransfer> transfers) {
    Bytes out = capture_header();
    for (const RecordedTransfer& transfer : transfers) {
        const Bytes packets = capture_packets(transfer);
        out.insert(out.end(), packets.begin(), packets.end());
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

Recording read_capture(std::span<const uint8_t> bytes) {
    Reader reader;
    std::string problem = is_capture(bytes) ? "" : "not a pcapng file";
    while (problem.empty() && bytes.size() >= 12) {
        const size_t length = get_le32(&bytes[4]);
        if (is_capture(bytes) && get_le32(&bytes[8]) != kByteOrderMark) {
            problem = "not a little-endian file";
        } else if (length < 12 || length % 4 != 0) {
            problem = "damaged block";
        } else if (length > bytes.size()) {
            break;
        } else {
            problem = reader.read_block(get_le32(bytes.data()), bytes.subspan(8, length - 12));
            bytes = bytes.subspan(length);
        }
    }
    if (problem.empty() && (!bytes.empty() || reader.has_open_transfer())) {
        problem = "cut off";
    }
    return {std::move(reader.transfers), problem};
}

std::vector<RecordedTransfer> transfers_of_bus(const Recording& recording, int bus, std::string& problem) {
    std::set<int> buses;
    std::vector<RecordedTransfer> result;
    for (const RecordedTransfer& transfer : recording.transfers) {
        buses.insert(transfer.bus);
        if (bus < 0 || transfer.bus == bus) {
            result.push_back(transfer);
        }
    }
    if (result.empty() || (bus < 0 && buses.size() > 1)) {
        problem = result.empty() && bus >= 0 ? "no transfer on bus " + std::to_string(bus) : "no transfer";
        if (!buses.empty()) {
            problem = (bus < 0 ? "more than one bus" : problem) + "; choose with --bus:";
            for (const int found : buses) {
                problem += " " + std::to_string(found);
            }
        }
        result.clear();
    }
    return result;
}

std::string load_bytes(const std::string& path, Bytes& bytes) {
    std::ifstream file(path, std::ios::binary);
    std::istream& in = path == "-" ? std::cin : file;
    for (char byte = 0; in.get(byte);) {  // an iterator over the buffer would not set eof()
        bytes.push_back(static_cast<uint8_t>(byte));
    }
    return !in.eof() ? std::strerror(errno) : "";
}

}  // namespace sim

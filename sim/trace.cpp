// SPDX-License-Identifier: MIT
#include "sim/trace.h"

#include "sim/frame_table.h"
#include "sim/text.h"
#include "util/little_endian.h"

namespace sim {

namespace {

std::string hex(std::span<const uint8_t> bytes) {
    std::string result;
    for (const uint8_t byte : bytes) {
        result += text(" %02x", byte);
    }
    return result;
}

std::string device_name(uint16_t address, uint16_t mcu_address) {
    if (address == mcu_address) {
        return "mcu";
    }
    for (const BusDevice& device : bus_devices()) {
        if (device.address == address) {
            return std::string(device.name);
        }
    }
    return text("%02x", address);
}

std::string status_words(uint8_t status) {
    if (!is_finished(status)) {
        return "busy";
    }
    return is_success(status) ? "finished, succeeded" : "finished, failed";
}

}  // namespace

std::string TraceDecoder::describe_write(std::span<const uint8_t> bytes) {
    const uint8_t reg = bytes[0];
    const std::span<const uint8_t> data = bytes.subspan(1);
    if (data.empty()) {
        return text("select register %02x", reg);
    }
    if (reg == kCommandRegister && data.size() == 1) {
        last_command_ = register_command_name(data[0]);
        return "command " + last_command_;
    }
    if (reg == kParameterRegister && data.size() == 2) {
        return text("parameter %04x", get_le16(data.data()));
    }
    if (reg == kMarkerRegister && data.size() == 1) {
        return text("reset marker := %02x", data[0]);
    }
    if (reg + data.size() == kFrameCommandRegister + 1U) {
        const FrameForm* form = find_frame_form(data.back());
        if (form != nullptr && form->start == reg) {
            last_command_ = form->name;
            std::string frame = "frame " + last_command_;
            for (const Field& field : form->fields) {
                frame.append(" ").append(field.name).append("=").append(field_text(field, reg, data));
            }
            return frame;
        }
    }
    return text("write %zu bytes at %02x", data.size(), reg);
}

std::string TraceDecoder::describe_read(uint8_t reg, std::span<const uint8_t> bytes) const {
    if ((reg == kFrameCommandRegister || reg == kCommandRegister) && bytes.size() == 1) {
        return "status of " + last_command_ + ": " + status_words(bytes[0]);
    }
    if (reg == kFrameRegister || reg == kDataRegister) {
        return "response of " + last_command_;
    }
    if (reg == kParameterRegister) {
        return "result of " + last_command_;
    }
    if (reg == kStatusBlockRegister && bytes.size() == kStatusBlockSize) {
        return "status block";
    }
    if (reg == kMarkerRegister) {
        return "reset marker";
    }
    return text("read %zu bytes at %02x", bytes.size(), reg);
}

std::string TraceDecoder::words(const Transfer& transfer, uint16_t mcu_address) {
    if (transfer.messages.empty()) {
        return "nothing";
    }
    const Message& first = transfer.messages.front();
    const Message& last = transfer.messages.back();
    const bool to_mcu = first.address == mcu_address;
    const std::string device = device_name(first.address, mcu_address) + " ";
    std::string what = "read " + std::to_string(last.bytes.size()) + " bytes";
    if (!first.read && !first.bytes.empty()) {
        const uint8_t reg = first.bytes[0];
        if (!last.read) {
            what = to_mcu ? describe_write(first.bytes) : text("write at %02x", reg);
        } else {
            what = to_mcu ? describe_read(reg, last.bytes) : text("register %02x", reg);
        }
    } else if (!first.read) {
        what = "address only";
    }
    const std::string written = first.read ? " |" : " |" + hex(first.bytes);
    if (!transfer.acknowledged) {
        return device + (last.read ? "read" : what) + " - not acknowledged" + written;
    }
    return device + what + written + (last.read ? " ->" + hex(last.bytes) : "");
}

std::string TraceDecoder::request(std::span<const Message> messages, uint16_t mcu_address) {
    if (messages.empty() || !messages.back().read) {
        return words({0, 0, messages, true}, mcu_address);
    }
    const Message& first = messages.front();
    return device_name(first.address, mcu_address) + text(" read %zu bytes |", messages.back().bytes.size()) +
           (first.read ? "" : hex(first.bytes));
}

std::string TraceDecoder::line(const Transfer& transfer, uint16_t mcu_address) {
    return text("%6llu %11.3f ", static_cast<unsigned long long>(transfer.number),
                static_cast<double>(static_cast<int64_t>(transfer.time_us - start_us_)) / 1000.0) +
           words(transfer, mcu_address) + "\n";
}

}  // namespace sim

// SPDX-License-Identifier: MIT
#include "sim/trace.h"

#include <cstdarg>
#include <cstdio>

#include "sim/command_names.h"
#include "util/little_endian.h"

namespace sim {

namespace {

std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string text(const char* format, ...) {
    char buffer[160];
    va_list values;
    va_start(values, format);
    std::vsnprintf(buffer, sizeof buffer, format, values);
    va_end(values);
    return buffer;
}

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
    switch (address) {
        case kChargerAddress: return "charger";
        case kDisplayAddress: return "display";
        case kUsbAddress: return "usb";
        default: return text("%02x", address);
    }
}

std::string status_words(uint8_t status) {
    if (!is_finished(status)) {
        return "busy";
    }
    return is_success(status) ? "finished, succeeded" : "finished, failed";
}

/// The fields of a frame, which begins at its start register.
std::string frame_fields(FrameCommand command, std::span<const uint8_t> frame) {
    switch (command) {
        case FrameCommand::kWriteSegment: return text(" page=%u segment=%u", get_le16(&frame[32]), frame[34]);
        case FrameCommand::kCommitPage: return text(" page=%u crc=%04x", get_le16(&frame[0]), get_le16(&frame[3]));
        case FrameCommand::kReadSegment: return text(" page=%u segment=%u", get_le16(&frame[0]), frame[2]);
        case FrameCommand::kEnableOther: return text(" swid=%04x crc=%04x", get_le16(&frame[0]), get_le16(&frame[35]));
        case FrameCommand::kResetDelayed: return text(" delay=%u.%us", frame[0] / 10, frame[0] % 10);
        default: return "";
    }
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
            return "frame " + last_command_ + frame_fields(form->command, data);
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

std::string TraceDecoder::line(const Transfer& transfer, uint16_t mcu_address) {
    std::string line = text("%6llu %11.3f", static_cast<unsigned long long>(transfer.number),
                            static_cast<double>(transfer.time_us - start_us_) / 1000.0);
    if (transfer.messages.empty()) {
        return line + " nothing\n";
    }
    const Message& first = transfer.messages.front();
    const Message& last = transfer.messages.back();
    const bool to_mcu = first.address == mcu_address;
    line += " " + device_name(first.address, mcu_address) + " ";
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
    if (!transfer.acknowledged) {
        return line + (last.read ? "read" : what) + " - not acknowledged |" + (first.read ? "" : hex(first.bytes)) +
               "\n";
    }
    return line + what + " |" + (first.read ? "" : hex(first.bytes)) + (last.read ? " ->" + hex(last.bytes) : "") +
           "\n";
}

}  // namespace sim

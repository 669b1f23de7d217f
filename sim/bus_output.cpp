// SPDX-License-Identifier: MIT
#include "sim/bus_output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "sim/capture_file.h"

namespace sim {

template <typename Text>
void BusOutput::File::write(const Text& text) const {
    if (out != nullptr) {
        out->write(reinterpret_cast<const char*>(text.data()), static_cast<std::streamsize>(text.size()));
    }
}

std::string BusOutput::open(const std::string& trace_path, const std::string& capture_path, bool unbuffered) {
    if (!capture_path.empty() && bus_ > kMaxCapturedBus) {
        return "a capture has no bus above " + std::to_string(kMaxCapturedBus);
    }
    trace_.name = trace_path;
    capture_.name = capture_path;
    for (File* file : {&trace_, &capture_}) {
        std::error_code error;
        if (file->name == "-") {
            file->out = &std::cout;
        } else if (!file->name.empty()) {
            file->file.open(file->name, std::ios::binary | std::ios::trunc);
            if (!file->file) {
                return file->name + ": " + std::strerror(errno);
            }
            file->out = &file->file;
        }
        if (file->out != nullptr &&
            (unbuffered || file->name == "-" || !std::filesystem::is_regular_file(file->name, error))) {
            *file->out << std::unitbuf;
        }
    }
    capture_.write(capture_header());
    return "";
}

void BusOutput::write(const Transfer& transfer) {
    trace_.write(decoder_.line(transfer, mcu_address_));
    capture_.write(capture_packets(record(static_cast<uint8_t>(bus_), transfer)));
}

std::string BusOutput::close() {
    for (const File* file : {&trace_, &capture_}) {
        if (file->out != nullptr && !file->out->flush()) {
            return (file->name == "-" ? "standard output" : file->name) + ": not everything could be written";
        }
    }
    return "";
}

}  // namespace sim

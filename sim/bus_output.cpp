// SPDX-License-Identifier: MIT
#include "sim/bus_output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "sim/capture_file.h"

namespace sim {

namespace {

std::string_view text_of(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::string BusOutput::File::open(const std::string& path, bool unbuffered) {
    path_ = path;
    if (path == "-") {
        path_ = "standard output";
        out_ = &std::cout;
        flush_ = true;
    }
    if (path == "-" || path.empty()) {
        return "";
    }
    file_.open(path, std::ios::binary | std::ios::trunc);
    if (!file_) {
        return path + ": " + std::strerror(errno);
    }
    std::error_code error;
    out_ = &file_;
    flush_ = unbuffered || !std::filesystem::is_regular_file(path, error);
    return "";
}

void BusOutput::File::write(std::string_view bytes) {
    if (out_ == nullptr) {
        return;
    }
    out_->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (flush_) {
        out_->flush();
    }
}

std::string BusOutput::File::close() {
    if (out_ == nullptr) {
        return "";
    }
    out_->flush();
    return *out_ ? "" : path_ + ": not everything could be written";
}

std::string BusOutput::open(const std::string& trace_path, const std::string& capture_path, bool unbuffered) {
    if (!capture_path.empty() && bus_ > kMaxCapturedBus) {
        return "a capture has no bus above " + std::to_string(kMaxCapturedBus);
    }
    std::string problem = trace_.open(trace_path, unbuffered);
    if (problem.empty()) {
        problem = capture_.open(capture_path, unbuffered);
    }
    capture_.write(text_of(capture_header()));
    return problem;
}

void BusOutput::write(const Transfer& transfer) {
    if (trace_.is_open()) {
        trace_.write(decoder_.line(transfer, mcu_address_));
    }
    if (capture_.is_open()) {
        capture_.write(text_of(capture_packets(record(static_cast<uint8_t>(bus_), transfer))));
    }
}

std::string BusOutput::close() {
    const std::string problem = trace_.close();
    return problem.empty() ? capture_.close() : problem;
}

}  // namespace sim

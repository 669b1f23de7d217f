// SPDX-License-Identifier: MIT
#include "image/flash_copy.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "image/host_file.h"
#include "update/file_notes.h"
#include "update/update_file.h"

namespace {

constexpr uint8_t kUnreadByte = 0x55;

bool parse_bytes(std::vector<uint8_t>& bytes, McuDevice& device, std::string& error) {
    std::FILE* file = fmemopen(bytes.data(), bytes.size(), "rb");
    if (file == nullptr) {
        error = std::strerror(errno);
        return false;
    }
    const bool ok = parse_update_file(device, file);
    std::fclose(file);
    if (!ok) {
        error = device.last_error.c_str();
    }
    return ok;
}

}  // namespace

bool read_flash_copy(const std::string& path, FlashCopy& copy, std::string& error) {
    std::vector<uint8_t> bytes;
    if (!read_bytes(path, kReadLimit, bytes, error)) {
        return false;
    }
    copy.is_update_file = find_magic(bytes).has_value();
    if (!copy.is_update_file && bytes.size() != kMemorySize) {
        error = path + ": neither an update file nor a read-back of " + std::to_string(kMemorySize) + " bytes";
        return false;
    }
    if (!copy.is_update_file) {
        copy.memory = bytes;
        return true;
    }
    McuDevice device(nullptr);
    if (!parse_bytes(bytes, device, error)) {
        error = path + ": " + error;
        return false;
    }
    copy.swid = device.file_swid;
    copy.memory = programmed_flash(device.file_image.get(), device.file_page_map.get());
    return true;
}

bool looks_unread(const FlashCopy& copy, uint32_t segment) {
    const uint8_t* begin = copy.memory.data() + segment * kSegmentSize;
    return !copy.is_update_file &&
           std::all_of(begin, begin + kSegmentSize, [](uint8_t byte) { return byte == kUnreadByte; });
}

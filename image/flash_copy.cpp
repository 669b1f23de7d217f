// SPDX-License-Identifier: MIT
#include "image/flash_copy.h"

#include <algorithm>

#include "image/host_file.h"
#include "update/file_notes.h"

namespace {

constexpr uint8_t kUnreadByte = 0x55;

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
    if (!load_bytes(bytes, device, error)) {
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

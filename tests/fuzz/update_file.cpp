// SPDX-License-Identifier: MIT
// The loader on update files with a few edits (tests/fuzz/made_file.h).
#include "update/update_file.h"

#include <cstring>

#include "tests/fuzz/made_file.h"

namespace {

using Numbers = std::vector<uint32_t>;

Numbers numbers(const McuDevice& device) {
    return {device.file_reserved0,  device.file_swid,        device.file_crc0,      device.file_crc1,
            device.file_reserved10, device.file_region_size, device.file_page_size, device.file_memory_size};
}

/// What the device holds after this refusal: as many of the file's numbers as promised, the others still `before`.
Numbers expected_numbers(const Bytes& file, const std::string& refusal, Numbers before) {
    constexpr std::pair<size_t, int> fields[] = {{0, 2}, {2, 2}, {6, 2}, {8, 2}, {10, 2}, {12, 4}, {16, 2}, {18, 4}};
    const bool none = contains(refusal, "header") || contains(refusal, "seek");
    const size_t count = none ? 0 : contains(refusal, "swid") ? 2 : 8;
    for (size_t i = 0; i < count; ++i) {
        before[i] = number_at(file, file.size() - 24 + fields[i].first, fields[i].second);
    }
    return before;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes file = edited_file({{data, size}});
    const std::string refusal = expected_refusal(file);
    const std::string& path = memory_file(file);
    McuDevice device(nullptr);
    device.file_reserved0 = device.file_swid = device.file_crc0 = device.file_crc1 = device.file_reserved10 = 0xA5A5;
    device.file_region_size = device.file_memory_size = device.file_page_size = 0xA5A5;
    device.file_image = allocate_bytes(1);
    device.file_page_map = allocate_bytes(1);
    device.last_error = "before";
    const Numbers expected = expected_numbers(file, refusal, numbers(device));
    const uint8_t* const old_image = device.file_image.get();
    const uint8_t* const old_map = device.file_page_map.get();

    const bool loads = load_update_file(device, path.c_str());
    check(loads == refusal.empty(), "the file loads if and only if it is right");
    check(device.last_error == (refusal.empty() ? "before" : refusal), "the reason is the expected one");
    check(numbers(device) == expected, "as many numbers are replaced as promised");
    if (refusal.empty() || contains(refusal, "CRC")) {
        const uint8_t* start = file.data() + file_start(file);
        check(std::memcmp(device.file_image.get(), start, 0x42000) == 0, "the image is the file's");
        check(std::memcmp(device.file_page_map.get(), start + 0x42000, 528) == 0, "the page map is the file's");
    } else {
        check(device.file_image.get() == old_image && device.file_page_map.get() == old_map, "the buffers stay");
    }
    return 0;
}

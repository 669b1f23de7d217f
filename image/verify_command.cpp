// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>

#include "image/commands.h"
#include "image/flash_content.h"
#include "image/host_file.h"
#include "image/inspector.h"
#include "update/reset_vector.h"
#include "update/update_file.h"

namespace {

bool verify(const char* path) {
    if (is_pipe(path)) {
        std::printf("%s: a pipe, save it as a file first\n", path);
        return false;
    }
    McuDevice device(nullptr);
    if (!load_update_file(device, path)) {
        std::printf("%s: %s\n", path, device.last_error.c_str());
        return false;
    }
    const std::vector<uint8_t> flash = programmed_flash(device.file_image.get(), device.file_page_map.get());
    const uint16_t stored[kRegions] = {device.file_crc0, device.file_crc1};
    for (int region = 0; region < kRegions; ++region) {
        if (stored[region] != region_checksum(flash, region)) {
            std::printf("%s: loads, but the checksum of region %d is wrong (the MCU would refuse to enable it)\n", path,
                        region);
            return false;
        }
        const auto begin = flash.begin() + region * static_cast<ptrdiff_t>(kRegionSize);
        if (std::all_of(begin, begin + kRegionSize, [](uint8_t byte) { return byte == kErasedByte; })) {
            std::printf("%s: loads, but region %d is empty (the MCU would start it nevertheless)\n", path, region);
            return false;
        }
        if (!starts_in_region(&*begin, region)) {
            std::printf(
                "%s: loads, but region %d does not begin with a jump into itself (the MCU would start it "
                "nevertheless)\n",
                path, region);
            return false;
        }
    }
    Inspection file;
    std::string error;
    if (!inspect_file(path, file, error)) {
        std::printf("%s\n", error.c_str());
        return false;
    }
    if (!sha256_fits(file)) {
        std::printf("%s: loads, but does not have the SHA-256 that it names\n", path);
        return false;
    }
    std::printf("%s: okay\n", path);
    return true;
}

}  // namespace

bool run_verify(const std::vector<std::string>& paths) {
    bool all_good = true;
    for (const std::string& path : paths) {
        all_good = verify(path.c_str()) && all_good;
    }
    return all_good;
}

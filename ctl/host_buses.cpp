// SPDX-License-Identifier: MIT
#include "ctl/host_buses.h"

#include <cstdio>
#include <cstring>

#include "util/host_files.h"

namespace {

constexpr int kBusLimit = 256;

bool read_line(const char* format, int bus, std::string& line) {
    char path[64];
    char text[128];
    std::snprintf(path, sizeof path, format, bus);
    if (!read_file(path, text, sizeof text)) {
        return false;
    }
    line.assign(text, std::strcspn(text, "\n"));
    return true;
}

}  // namespace

std::vector<HostBus> host_buses() {
    std::vector<HostBus> buses;
    for (int bus = 0; bus < kBusLimit; ++bus) {
        std::string name;
        const bool has_node = read_line("/sys/class/i2c-dev/i2c-%d/name", bus, name);
        if (has_node || read_line("/sys/bus/i2c/devices/i2c-%d/name", bus, name)) {
            buses.push_back({bus, name, has_node});
        }
    }
    return buses;
}

std::string driver_at(int bus, uint8_t address) {
    char path[64];
    char text[1024];
    std::snprintf(path, sizeof path, "/sys/bus/i2c/devices/%d-%04x/uevent", bus, address);
    const char* word = read_file(path, text, sizeof text) ? std::strstr(text, "DRIVER=") : nullptr;
    if (word == nullptr) {
        return "";
    }
    word += std::strlen("DRIVER=");
    return {word, std::strcspn(word, "\n")};
}

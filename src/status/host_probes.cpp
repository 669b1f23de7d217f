// SPDX-License-Identifier: MIT
#include "status/host_probes.h"

#include <cstdio>
#include <cstring>

#include "util/host_files.h"
#include "util/parse_number.h"

namespace {

/// Truncates and clamps; NaN becomes 0.
uint32_t to_unsigned(float value) {
    if (!(value > 0.0F)) {
        return 0;
    }
    return value >= 4294967296.0F ? UINT32_MAX : static_cast<uint32_t>(value);
}

bool read_temperature(const char* path, float& temperature) {
    temperature = 0.0F;
    char text[10];
    if (!read_file(path, text, sizeof text)) {
        return false;
    }
    const size_t length = std::strlen(text);
    if (length > 1) {
        text[length - 1] = '\0';  // the line end
    }
    return parse_float(text, temperature);
}

/// The first word of /proc/uptime.
bool read_uptime_word(char (&word)[64]) {
    if (!read_file("/proc/uptime", word, sizeof word)) {
        return false;
    }
    word[std::strcspn(word, " ")] = '\0';
    return true;
}

}  // namespace

void read_uptime(char* text) {
    char content[64];
    if (!read_uptime_word(content)) {
        std::snprintf(text, kUptimeTextSize, "no uptime");
        return;
    }
    float rest = 0.0F;
    parse_float(content, rest);
    // Single precision is part of the output: after a long uptime its rounding shows in the seconds.
    const uint32_t days = to_unsigned(rest / 3600.0F / 24.0F);
    rest -= static_cast<float>(days * 86400U);
    const auto hours = static_cast<uint8_t>(to_unsigned(rest / 3600.0F));
    rest -= static_cast<float>(hours * 3600U);
    const auto minutes = static_cast<uint8_t>(to_unsigned(rest / 60.0F));
    rest -= static_cast<float>(minutes * 60U);
    const auto seconds = static_cast<uint8_t>(to_unsigned(rest));
    std::snprintf(text, kUptimeTextSize, "%ud %02u:%02u:%02u", days, static_cast<unsigned>(hours),
                  static_cast<unsigned>(minutes), static_cast<unsigned>(seconds));
}

bool read_uptime_seconds(float& seconds) {
    char content[64];
    return read_uptime_word(content) && parse_float(content, seconds);
}

bool read_network_temperature(float& temperature) {
    return read_temperature("/dev/temp_nic", temperature);
}

bool read_display_temperature(float& temperature) {
    return read_temperature("/dev/temp_disp", temperature);
}

bool read_temperatures(float (&temperatures)[2]) {
    read_network_temperature(temperatures[0]);
    return read_display_temperature(temperatures[1]);
}

bool read_poe_gpio(McuDevice& device, bool& present) {
    if (!file_exists("/sys/class/gpio/gpio414")) {
        // Result ignored: without the export, reading the value fails.
        write_file("/sys/class/gpio/export", "414", 3);
    }
    char value[2];
    if (!read_file("/sys/class/gpio/gpio414/value", value, sizeof value)) {
        return fail(device, "could not read PoE GPIO");
    }
    present = value[0] == '0';
    return true;
}

// SPDX-License-Identifier: MIT
#include "mcu/mcu_device.h"

#include <cstdarg>
#include <cstdio>

namespace {

void set_text(McuDevice& device, const char* format, va_list values) {
    char text[ErrorText::kSize] = "";
    // Formatted into a copy: the old text is often one of the values.
    std::vsnprintf(text, sizeof text, format, values);
    device.last_error = text;
}

}  // namespace

bool fail(McuDevice& device, const char* format, ...) {
    va_list values;
    va_start(values, format);
    set_text(device, format, values);
    va_end(values);
    return false;
}

bool note(McuDevice& device, const char* format, ...) {
    va_list values;
    va_start(values, format);
    set_text(device, format, values);
    va_end(values);
    return true;
}

// SPDX-License-Identifier: MIT
// What a process holds on to.
#pragma once

#include <malloc.h>

#include <filesystem>
#include <iterator>
#include <string>

namespace sweep {

struct Resources {
    long descriptors = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    size_t bytes = mallinfo2().uordblks;  ///< 0 under a sanitizer, which has an allocator of its own
};

/// Empty, or what there is more of than before. The allocator itself keeps back some of what is freed: `slack` bytes.
inline std::string growth(const Resources& before, size_t slack) {
    const Resources now;
    if (now.descriptors != before.descriptors) {
        return std::to_string(now.descriptors - before.descriptors) + " descriptors are left open";
    }
    if (now.bytes > before.bytes + slack) {
        return "the memory has grown by " + std::to_string(now.bytes - before.bytes) + " bytes";
    }
    return "";
}

}  // namespace sweep

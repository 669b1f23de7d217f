// SPDX-License-Identifier: MIT
// Buffers from malloc. The C++ library's new would link in its exceptions, which cost 70 KiB at every start.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

struct FreeBytes {
    void operator()(uint8_t* bytes) const {
        std::free(bytes);
    }
};

using ByteBuffer = std::unique_ptr<uint8_t[], FreeBytes>;

/// Returns null when memory is exhausted. The bytes are not initialised.
inline ByteBuffer allocate_bytes(size_t count) {
    return ByteBuffer(static_cast<uint8_t*>(std::malloc(count)));
}

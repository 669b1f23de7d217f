// SPDX-License-Identifier: MIT
// Memory that is asked for once it is needed. From malloc: the C++ library's new would bring its exceptions along, and
// with them 70 KiB at every start.
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

/// Null when there is no memory left. The bytes are not set.
inline ByteBuffer allocate_bytes(size_t count) {
    return ByteBuffer(static_cast<uint8_t*>(std::malloc(count)));
}

// SPDX-License-Identifier: MIT
// The fuzzers' memory. Large blocks come from the same places again and again: the sanitizer's own allocator maps and
// unmaps each, and the page faults take longer than a run. What is not in use is poisoned, as there.
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

constexpr size_t kSmallest = 0x20000;
constexpr size_t kBlockSize = 0x100000;
constexpr size_t kBlocks = 40;

alignas(4096) char blocks[kBlocks * kBlockSize];
size_t sizes[kBlocks];  // of those in use, otherwise 0

bool is_large_block(const void* memory) {
    const char* place = static_cast<const char*>(memory);
    return place >= blocks && place < blocks + sizeof blocks;
}

void* take_large_block(size_t size) {
    static const bool poisoned = (__asan_poison_memory_region(blocks, sizeof blocks), true);
    size_t* free_size = std::find(sizes, sizes + kBlocks, size_t{0});
    if (!poisoned || free_size == sizes + kBlocks) {
        std::fputs("large blocks are not freed\n", stderr);
        std::abort();
    }
    *free_size = size;
    char* block = blocks + static_cast<size_t>(free_size - sizes) * kBlockSize;
    __asan_unpoison_memory_region(block, size);
    return block;
}

void free_large_block(void* memory) {
    size_t& size = sizes[static_cast<size_t>(static_cast<char*>(memory) - blocks) / kBlockSize];
    __asan_poison_memory_region(memory, size);
    size = 0;
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void __real_free(void* memory);

void* __wrap_malloc(size_t size) {
    return size >= kSmallest && size <= kBlockSize ? take_large_block(size) : __real_malloc(size);
}

void __wrap_free(void* memory) {
    (is_large_block(memory) ? free_large_block : __real_free)(memory);
}

}  // extern "C"

void* operator new(size_t size) {
    void* memory = __wrap_malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return __wrap_malloc(size);
}

void operator delete(void* memory) noexcept {
    __wrap_free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
    __wrap_free(memory);
}

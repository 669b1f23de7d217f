// SPDX-License-Identifier: MIT
// Memory that runs out on demand, see FakeKernel::failing_call and largest_block.
#include <cerrno>
#include <cstdlib>
#include <new>

#include "tests/support/fake_kernel.h"

extern "C" {

void* __real_malloc(size_t size);

void* __wrap_malloc(size_t size) {
    if (FakeKernel::current() != nullptr && size > FakeKernel::current()->largest_block) {
        errno = ENOMEM;
        return nullptr;
    }
    return call_fails(ENOMEM) ? nullptr : __real_malloc(size);
}

}  // extern "C"

void* operator new(size_t size) {
    void* memory = call_fails(ENOMEM) ? nullptr : __real_malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return call_fails(ENOMEM) ? nullptr : __real_malloc(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
    std::free(memory);
}

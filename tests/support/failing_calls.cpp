// SPDX-License-Identifier: MIT
// Calls of the system that fail on demand, see FakeKernel::failing_call.
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tests/support/fake_kernel.h"

namespace {

int own_calls = 1;  // 0: the program under test calls

}  // namespace

OwnCalls::OwnCalls() {
    ++own_calls;
}

OwnCalls::~OwnCalls() {
    --own_calls;
}

ProgramCalls::ProgramCalls() {
    --own_calls;
}

ProgramCalls::~ProgramCalls() {
    ++own_calls;
}

bool call_fails(int error) {
    FakeKernel* kernel = FakeKernel::current();
    if (kernel == nullptr || own_calls != 0 || ++kernel->calls != kernel->failing_call) {
        return false;
    }
    errno = error;
    return true;
}

extern "C" {

int __real_fstat(int fd, struct stat* status);
int __real_flock(int fd, int operation);
ssize_t __real_read(int fd, void* bytes, size_t count);
ssize_t __real_write(int fd, const void* bytes, size_t count);
int __real_fsync(int fd);
int __real_linkat(int old_folder, const char* old_path, int folder, const char* path, int flags);

int __wrap_fstat(int fd, struct stat* status) {
    return call_fails(EIO) ? -1 : __real_fstat(fd, status);
}

int __wrap_flock(int fd, int operation) {
    return call_fails(ENOLCK) ? -1 : __real_flock(fd, operation);
}

ssize_t __wrap_read(int fd, void* bytes, size_t count) {
    return call_fails(EIO) ? -1 : __real_read(fd, bytes, count);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    return call_fails(ENOSPC) ? -1 : __real_write(fd, bytes, count);
}

int __wrap_fsync(int fd) {
    return call_fails(EIO) ? -1 : __real_fsync(fd);
}

int __wrap_linkat(int old_folder, const char* old_path, int folder, const char* path, int flags) {
    return call_fails(EIO) ? -1 : __real_linkat(old_folder, old_path, folder, path, flags);
}

}  // extern "C"

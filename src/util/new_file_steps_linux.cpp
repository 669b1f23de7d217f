// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "util/new_file_steps.h"

namespace {

constexpr unsigned kNoReplace = 1;  // RENAME_NOREPLACE, which not every C library names

}  // namespace

int open_unlistable_folder(const char* path) {
    // Everything works on such a descriptor but its sync.
    return openat(AT_FDCWD, path, O_PATH | O_DIRECTORY | O_CLOEXEC);
}

bool rename_if_free(int folder, const char* name, const char* new_name) {
    return syscall(SYS_renameat2, folder, name, folder, new_name, kNoReplace) == 0;
}

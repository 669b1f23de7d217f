// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "util/new_file_steps.h"

int open_unlistable_folder(const char* /*path*/) {
    errno = EACCES;
    return -1;
}

bool rename_if_free(int folder, const char* name, const char* new_name) {
    // A rename replaces whatever has the name by then. So an empty file takes the name, which fails if it is not free.
    const int placeholder = openat(folder, new_name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (placeholder < 0) {
        return false;
    }
    (void)close(placeholder);
    if (renameat(folder, name, folder, new_name) == 0) {
        return true;
    }
    const int reason = errno;
    (void)unlinkat(folder, new_name, 0);
    errno = reason;
    return false;
}

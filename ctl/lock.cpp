// SPDX-License-Identifier: MIT
#include "ctl/lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ctl/interruption.h"
#include "util/clock.h"

namespace {

constexpr useconds_t kLockPauseUs = 50'000;
// Not blocking: a FIFO would wait for its writer.
constexpr int kOpenFlags = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

bool is_default(const char* path) {
    return std::strcmp(path, kDefaultLock) == 0;
}

int open_or_create(const char* path) {
    const int descriptor = open(path, kOpenFlags);
    if (descriptor >= 0 || errno != ENOENT || is_default(path)) {
        return descriptor;
    }
    const int created = open(path, kOpenFlags | O_CREAT | O_EXCL, 0660);
    // Somebody else may have made it meanwhile.
    return created < 0 && errno == EEXIST ? open(path, kOpenFlags) : created;
}

/// The command that makes the lock, to append to a text.
const char* advice_for(const char* path) {
    return is_default(path) ? "; this makes it: sudo systemd-tmpfiles --create sv-updater.conf" : "";
}

bool check_file(int descriptor, const char* path, Failure& failure) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return fail(failure, Reason::kNoLock, "cannot look at the lock %s: %s", path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return fail(failure, Reason::kNoLock, "the lock %s is not a regular file%s", path, advice_for(path));
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return fail(failure, Reason::kNoLock, "the lock %s belongs to another user%s", path, advice_for(path));
    }
    return true;
}

bool fail_to_open(const char* path, Failure& failure) {
    const int reason = errno;
    if (reason == EACCES) {
        return fail(failure, Reason::kNoPermission, "cannot open the lock %s: %s; members of the group i2c may", path,
                    std::strerror(reason));
    }
    return fail(failure, Reason::kNoLock, "cannot open the lock %s: %s%s", path,
                reason == ELOOP ? "it is a link" : std::strerror(reason), advice_for(path));
}

/// Whether the name still leads to this file: otherwise somebody else may hold a lock of the same name. Closes `again`,
/// the name opened anew, -1 if nothing is there.
bool is_still_there(int descriptor, int again) {
    struct stat held {};
    struct stat named {};
    const bool known = again >= 0 && fstat(descriptor, &held) == 0 && fstat(again, &named) == 0;
    if (again >= 0) {
        close(again);
    }
    return known && held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

Lock::~Lock() {
    release();
}

void Lock::release() {
    if (descriptor_ >= 0) {
        close(descriptor_);
        descriptor_ = -1;
    }
}

bool Lock::take(const char* path, Sharing sharing, double seconds, Failure& failure) {
    const timespec start = monotonic_now();
    const int operation = (sharing == Sharing::kAlone ? LOCK_EX : LOCK_SH) | LOCK_NB;
    for (;;) {
        release();
        descriptor_ = open_or_create(path);
        if (descriptor_ < 0) {
            return fail_to_open(path, failure);
        }
        if (!check_file(descriptor_, path, failure)) {
            return false;
        }
        if (flock(descriptor_, operation) == 0) {
            const int again = open(path, kOpenFlags);
            if (again < 0 && errno != ENOENT && errno != ELOOP) {
                return fail_to_open(path, failure);
            }
            if (is_still_there(descriptor_, again)) {
                return true;
            }
        } else if (errno != EWOULDBLOCK && errno != EINTR) {
            return fail(failure, Reason::kNoLock, "cannot lock %s: %s", path, std::strerror(errno));
        }
        if (interrupted()) {
            return fail(failure, Reason::kInterrupted, "interrupted while waiting for the lock");
        }
        if (elapsed_ms(start, monotonic_now()) >= seconds * 1000) {
            return fail(failure, Reason::kHeldLock, "somebody else holds the lock %s", path);
        }
        usleep(kLockPauseUs);
    }
}

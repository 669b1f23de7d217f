// SPDX-License-Identifier: MIT
#include "util/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include "util/new_file_steps.h"

namespace {

constexpr int kAttempts = 100;
// Memory cards and sticks often have a file system without links.
constexpr int kNoLinks[] = {EPERM, EMLINK, EOPNOTSUPP, ENOTSUP, ENOSYS};

bool refuse(int reason) {
    errno = reason;
    return false;
}

template <typename Call>
auto repeat_interrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

int open_folder(const char* path) {
    const int folder = repeat_interrupted([=] { return openat(AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    return folder < 0 && errno == EACCES ? open_unlistable_folder(path) : folder;
}

bool sync_folder(int folder) {
    // Other errors ignored: this folder cannot be synced.
    return repeat_interrupted([=] { return fsync(folder); }) == 0 || errno != EIO;
}

bool is_same_file(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

NewFile::~NewFile() {
    const int reason = errno;
    // Results ignored: there is nothing left to do about them.
    if (own_[0] != '\0') {
        (void)unlinkat(folder_, own_, 0);
    }
    if (file_ >= 0) {
        (void)close(file_);
    }
    if (folder_ >= 0) {
        (void)close(folder_);
    }
    errno = reason;
}

/// Stores folder and name of the target.
bool NewFile::split(const char* target) {
    const char* slash = std::strrchr(target, '/');
    const char* name = slash == nullptr ? target : slash + 1;
    const auto folder_size = static_cast<size_t>(name - target);
    if (*name == '\0' || std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) {
        return refuse(EISDIR);
    }
    if (folder_size >= sizeof path_ || std::strlen(name) >= sizeof target_) {
        return refuse(ENAMETOOLONG);
    }
    std::memcpy(target_, name, std::strlen(name) + 1);
    if (slash != nullptr) {
        std::memcpy(path_, target, folder_size);
        path_[folder_size] = '\0';
    }
    return true;
}

bool NewFile::check_target() const {
    struct stat there {};
    struct stat own {};
    if (fstatat(folder_, target_, &there, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT;
    }
    if (existing_ == Existing::kKept) {
        return refuse(EEXIST);
    }
    if (!S_ISREG(there.st_mode)) {
        return refuse(S_ISLNK(there.st_mode) ? ELOOP : S_ISDIR(there.st_mode) ? EISDIR : EEXIST);
    }
    return fstat(file_, &own) == 0 && (own.st_uid == there.st_uid || refuse(EPERM));
}

bool NewFile::create(const char* target, Existing existing) {
    existing_ = existing;
    if (!split(target)) {
        return false;
    }
    folder_ = open_folder(path_);
    if (folder_ < 0) {
        return false;
    }
    char name[sizeof own_];
    for (int attempt = 0; attempt < kAttempts && file_ < 0; ++attempt) {
        // The time makes the name hard to occupy on purpose.
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        std::snprintf(name, sizeof name, ".sv-new-%ld-%ld-%d", static_cast<long>(getpid()), now.tv_nsec, attempt);
        file_ = openat(folder_, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (file_ < 0 && errno != EEXIST && errno != EINTR) {
            return false;
        }
    }
    if (file_ < 0) {
        return false;
    }
    std::memcpy(own_, name, sizeof own_);
    return check_target();
}

bool NewFile::write(const void* bytes, size_t count) {
    const char* next = static_cast<const char*>(bytes);
    while (error_ == 0 && count > 0) {
        const ssize_t written = repeat_interrupted([&] { return ::write(file_, next, count); });
        if (written <= 0) {
            // A write of nothing leaves errno as it was.
            error_ = written < 0 ? errno : EIO;
        } else {
            next += written;
            count -= static_cast<size_t>(written);
        }
    }
    return error_ == 0 || refuse(error_);
}

/// Gives the file the target's name.
bool NewFile::rename_or_link() const {
    if (existing_ == Existing::kReplaced) {
        return renameat(folder_, own_, folder_, target_) == 0;
    }
    if (linkat(folder_, own_, folder_, target_, 0) == 0) {
        return true;
    }
    return std::count(std::begin(kNoLinks), std::end(kNoLinks), errno) > 0 && rename_if_free(folder_, own_, target_);
}

bool NewFile::stands_at_target() const {
    struct stat there {};
    struct stat own {};
    return fstatat(folder_, target_, &there, AT_SYMLINK_NOFOLLOW) == 0 && fstat(file_, &own) == 0 &&
           is_same_file(there, own);
}

bool NewFile::put_in_place() {
    if (error_ != 0) {
        return refuse(error_);
    }
    if (repeat_interrupted([this] { return fsync(file_); }) != 0 || !check_target() || !rename_or_link()) {
        return false;
    }
    // Result ignored: after a rename there is nothing under this name.
    (void)unlinkat(folder_, own_, 0);
    own_[0] = '\0';
    return (stands_at_target() || refuse(ESTALE)) && sync_folder(folder_);
}

// SPDX-License-Identifier: MIT
// Makes a file beside its target and puts it in place when it is complete, so that nobody ever sees a part of it and
// nothing is lost on the way. Needs no memory but its own.
#pragma once

#include <cstddef>

/// What may happen to that which stands at the target.
enum class Existing {
    kKept,      ///< nothing may stand there, not even a dangling link
    kReplaced,  ///< only a regular file of the same owner may stand there; never a link
};

/// Each member returns whether it succeeded; after a failure errno holds the reason, and the target is as it was.
class NewFile {
public:
    NewFile() = default;
    /// Removes the file unless it was put in place. A killed process leaves it under its own name. Keeps errno.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Creates an empty file, ".sv-new-" and digits, in the folder of the target, with mode 0666 less umask. Failure:
    /// also EEXIST, ELOOP (a link), EISDIR or EPERM (another owner's) if what stands at the target must stay. REQUIRES:
    /// called once.
    bool create(const char* target, Existing existing);

    /// Appends the bytes. After a failure the file is of no use.
    bool write(const void* bytes, size_t count);

    /// Syncs the file, links it to the target's name or renames it over the target, and syncs the folder. Failure: also
    /// as create(), and ESTALE: somebody has put another file in place of this one. After EIO the file may
    /// already stand at the target, and a power loss may undo that.
    bool put_in_place();

private:
    bool split(const char* target);
    bool check_target() const;
    bool rename_or_link() const;
    bool stands_at_target() const;

    int folder_ = -1;
    int file_ = -1;
    int error_ = 0;  // errno of the first failed write
    Existing existing_ = Existing::kKept;
    // Linux' limits. Not every system has some, or names them.
    char path_[4096] = ".";  // of the folder
    char target_[256] = "";  // name in the folder
    char own_[48] = "";      // also; empty: nothing to remove
};

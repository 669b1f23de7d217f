// SPDX-License-Identifier: MIT
// The lock that all users of the MCU share: an update holds it alone, readers hold it together. Taken with flock(2), so
// the kernel releases it however a process ends.
#pragma once

#include "ctl/outcome.h"

/// tmpfiles.d makes the folder (root, 0755) and the file (root:i2c, 0660).
inline constexpr char kDefaultLock[] = "/run/sv_updater/lock";

enum class Sharing { kShared, kAlone };

class Lock {
public:
    Lock() = default;
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    /// Waits up to `seconds` for the lock. A link, a FIFO, and a file that belongs neither to root nor to the caller
    /// are refused at once; a missing file is created, except the default one. Failure: kHeldLock, kNoLock,
    /// kInterrupted.
    bool take(const char* path, Sharing sharing, double seconds, Failure& failure);

    void release();

private:
    int descriptor_ = -1;
};

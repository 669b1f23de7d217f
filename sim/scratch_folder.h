// SPDX-License-Identifier: MIT
// A folder that is gone when the process has ended, however it ends.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace sim {

class ScratchFolder {
public:
    /// Starts a process that watches this one, with a copy of its memory, and makes a folder in TMPDIR. When this
    /// process ends without remove(), the watcher calls `on_death`, and removes the folder.
    /// REQUIRES: this process has one thread.
    explicit ScratchFolder(std::function<void()> on_death);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Empty, or why there is no folder.
    const std::string& problem() const {
        return problem_;
    }

    const std::string& path() const {
        return path_;
    }

    /// Returns when the folder is removed.
    void remove();

private:
    [[noreturn]] void watch(int socket);

    std::function<void()> on_death_;
    std::string problem_;
    std::string path_;
    int socket_ = -1;  ///< a byte to the watcher: all is well
    pid_t watcher_ = -1;
};

}  // namespace sim

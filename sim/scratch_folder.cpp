// SPDX-License-Identifier: MIT
#include "sim/scratch_folder.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

namespace sim {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder(std::function<void()> on_death) : on_death_(std::move(on_death)) {
    const char* parent = std::getenv("TMPDIR");
    parent = parent == nullptr || *parent == '\0' ? "/tmp" : parent;
    std::error_code ignored;
    path_ = (fs::absolute(parent, ignored) / "sv_board.XXXXXX").string();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0 || (watcher_ = fork()) < 0) {
        problem_ = std::string("no process could be started: ") + std::strerror(errno);
        return;
    }
    if (watcher_ == 0) {
        close(ends[1]);
        watch(ends[0]);
    }
    close(ends[0]);
    socket_ = ends[1];
    int error = EIO;
    if (recv(socket_, &error, sizeof error, 0) < 0 || error != 0 || recv(socket_, path_.data(), path_.size(), 0) <= 0) {
        problem_ = "no folder could be made in " + std::string(parent) + " (TMPDIR): " + std::strerror(error);
    }
}

void ScratchFolder::watch(int socket) {
    setsid();  // so that a signal to the process group does not reach it
    // The watcher makes the folder: there is no moment at which nobody would remove it.
    const int error = mkdtemp(path_.data()) == nullptr ? errno : 0;
    send(socket, &error, sizeof error, MSG_NOSIGNAL);
    send(socket, path_.data(), path_.size(), MSG_NOSIGNAL);
    char byte = 0;
    if (recv(socket, &byte, 1, 0) <= 0) {
        on_death_();
    }
    // Programs that still run may add files meanwhile.
    std::error_code ignored;
    for (int i = 0; error == 0 && i < 100 && fs::exists(path_, ignored); ++i) {
        fs::remove_all(path_, ignored);
    }
    _exit(0);
}

void ScratchFolder::remove() {
    if (socket_ >= 0) {
        send(socket_, "", 1, MSG_NOSIGNAL);
        close(socket_);
        socket_ = -1;
        while (waitpid(watcher_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

ScratchFolder::~ScratchFolder() {
    remove();
}

}  // namespace sim

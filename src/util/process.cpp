// SPDX-License-Identifier: MIT
#include "util/process.h"

#include <fcntl.h>
#include <poll.h>

void reserve_standard_descriptors() {
    pollfd descriptors[] = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
    if (poll(descriptors, 3, 0) <= 0) {
        return;
    }
    // In ascending order: open() takes the lowest free number, which is then the closed one.
    for (const pollfd& descriptor : descriptors) {
        if ((descriptor.revents & POLLNVAL) != 0) {
            static_cast<void>(open("/dev/null", O_RDWR));
        }
    }
}

void ignore_broken_pipe() {
    std::signal(SIGPIPE, SIG_IGN);
}

void ignore_hangup() {
    std::signal(SIGHUP, SIG_IGN);
}

HangupScope::HangupScope() {
    sigaction(SIGHUP, nullptr, &before_);
}

HangupScope::~HangupScope() {
    sigaction(SIGHUP, &before_, nullptr);
}

// SPDX-License-Identifier: MIT
#include "util/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <initializer_list>

bool reserve_standard_descriptors() {
    // Ascending, because open() returns the lowest free number.
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) != descriptor) {
            return false;
        }
    }
    return true;
}

void ignore_output_signals() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void buffer_output() {
    static char buffer[65536];
    const int descriptor = fileno(stdout);
    if (descriptor >= 0 && isatty(descriptor) == 0) {
        std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    }
}

void ignore_hangup() {
    std::signal(SIGHUP, SIG_IGN);
}

BrokenPipeScope::BrokenPipeScope() {
    std::fflush(stdout);
    struct sigaction by_default {};
    by_default.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &by_default, &before_);
}

BrokenPipeScope::~BrokenPipeScope() {
    std::fflush(stdout);
    sigaction(SIGPIPE, &before_, nullptr);
}

HangupScope::HangupScope() {
    sigaction(SIGHUP, nullptr, &before_);
}

HangupScope::~HangupScope() {
    sigaction(SIGHUP, &before_, nullptr);
}

SignalPause::SignalPause() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, &before_);
}

SignalPause::~SignalPause() {
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

// SPDX-License-Identifier: MIT
#include "ctl/interruption.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t signal_seen = 0;

constexpr int kEnding[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int kStopping[] = {SIGTSTP, SIGTTIN, SIGTTOU};

void note_signal(int signal) {
    signal_seen = signal;
}

}  // namespace

void catch_interruptions() {
    signal_seen = 0;
    struct sigaction action {};
    action.sa_handler = note_signal;
    // Without SA_RESTART: a write to a reader that does not read must end.
    for (const int signal : kEnding) {
        struct sigaction before {};
        // Whoever starts a command with a signal ignored, as nohup does, wants it ignored.
        if (sigaction(signal, nullptr, &before) != 0 || before.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
}

bool interrupted() {
    return signal_seen != 0;
}

void ignore_interruptions() {
    for (const int signal : kEnding) {
        std::signal(signal, SIG_IGN);
    }
    for (const int signal : kStopping) {
        std::signal(signal, SIG_IGN);
    }
}

// SPDX-License-Identifier: MIT
#include "ctl/session.h"

#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ctl/interruption.h"

namespace {

constexpr useconds_t kTurnPauseUs = 10'000;

}  // namespace

Session::~Session() {
    if (bus.fd >= 0) {
        close(bus.fd);
    }
}

bool Session::open(const CommonOptions& options, Failure& failure) {
    device.address = options.address;
    if (open_bus(bus, options.bus.c_str())) {
        return true;
    }
    const int reason = errno;
    if (reason == EACCES || reason == EPERM) {
        return fail(failure, Reason::kNoPermission, "cannot open /dev/i2c-%s: %s; members of the group i2c may",
                    options.bus.c_str(), std::strerror(reason));
    }
    return fail(failure, Reason::kNoBus, "cannot open /dev/i2c-%s: %s", options.bus.c_str(), std::strerror(reason));
}

bool Session::take_turn(const timespec& start, double seconds, Failure& failure) const {
    for (;;) {
        // Other errors: this file cannot be locked.
        if (flock(bus.fd, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
            return true;
        }
        if (interrupted()) {
            return fail(failure, Reason::kInterrupted, "interrupted while waiting for the bus");
        }
        if (elapsed_ms(start, monotonic_now()) >= seconds * 1000) {
            return fail(failure, Reason::kHeldLock, "somebody else reads /dev/i2c-%d", bus.bus_number);
        }
        usleep(kTurnPauseUs);
    }
}

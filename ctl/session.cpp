// SPDX-License-Identifier: MIT
#include "ctl/session.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

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

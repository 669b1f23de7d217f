// SPDX-License-Identifier: MIT
// The ioctls of /dev/i2c-N, answered by the board.
#pragma once

#include <sys/types.h>
#include <umockdev.h>

#include <functional>
#include <span>

#include "sim/board.h"

namespace sim {

/// One transfer on the bus, and the process that makes it: 0 if that is not known. False when a device did not
/// acknowledge.
using TransferFunction = std::function<bool(std::span<const Message>, pid_t)>;

/// A handler for umockdev, which calls `transfer` on a thread of its own.
UMockdevIoctlBase* make_i2c_dev(TransferFunction transfer);

}  // namespace sim

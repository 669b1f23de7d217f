// SPDX-License-Identifier: MIT
// The ioctls of an i2c-dev file, answered by the board.
#pragma once

#include <umockdev.h>

#include "sim/testbed.h"

namespace sim {

/// A handler for umockdev. REQUIRES: the testbed outlives it.
UMockdevIoctlBase* make_i2c_dev(Testbed& testbed);

}  // namespace sim

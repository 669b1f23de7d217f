// SPDX-License-Identifier: MIT
// What the host's kernel knows of its I2C buses.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct HostBus {
    int number;        ///< N of /dev/i2c-N
    std::string name;  ///< of the adapter
    bool has_node;     ///< false: the module i2c-dev, which makes /dev/i2c-N, is not loaded
};

/// The buses 0 to 255 that exist.
std::vector<HostBus> host_buses();

/// The kernel driver that serves this address of the bus; empty: none.
std::string driver_at(int bus, uint8_t address);

// SPDX-License-Identifier: MIT
#include "ctl/power_source.h"

#include "mcu/transactions.h"
#include "status/host_probes.h"

const char* reported_source(const InputStatus& status) {
    if (!status.reports_inputs) {
        return "unknown";
    }
    switch (status.source) {
        case PowerSource::kExt: return "ext";
        case PowerSource::kLink1: return "link1";
        case PowerSource::kLink2: return "link2";
        case PowerSource::kNone: break;
    }
    return nullptr;
}

bool find_power_source(McuDevice& device, const char*& name, Failure& failure) {
    uint8_t block[kStatusBlockBufferSize];
    if (!read_status_block(device, block)) {
        return fail(failure, Reason::kNoAnswer, "the MCU does not report its power state: %s",
                    device.last_error.c_str());
    }
    name = reported_source(decode_status_block(block));
    bool poe = false;
    if (name == nullptr && read_poe_gpio(device, poe) && poe) {
        name = "poe";
    }
    return name != nullptr || fail(failure, Reason::kNoPower, "no source feeds the board");
}

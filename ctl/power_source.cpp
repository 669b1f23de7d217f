// SPDX-License-Identifier: MIT
#include "ctl/power_source.h"

#include "diag/input_status.h"
#include "mcu/transactions.h"
#include "status/host_probes.h"

namespace {

/// The name of the source that the status block reports; null: none.
const char* reported_source(const InputStatus& status) {
    if (!status.reports_inputs) {
        return "unknown";
    }
    switch (status.source) {
        case PowerSource::kExt: return "XLR";
        case PowerSource::kLink1: return "Link1";
        case PowerSource::kLink2: return "Link2";
        case PowerSource::kNone: break;
    }
    return nullptr;
}

}  // namespace

bool find_power_source(McuDevice& device, const char*& name, Failure& failure) {
    uint8_t block[kStatusBlockBufferSize];
    if (!read_status_block(device, block)) {
        return fail(failure, Reason::kNoAnswer, "the MCU does not report its power state: %s",
                    device.last_error.c_str());
    }
    name = reported_source(decode_status_block(block));
    bool poe = false;
    if (name == nullptr && read_poe_gpio(device, poe) && poe) {
        name = "PoE";
    }
    return name != nullptr || fail(failure, Reason::kNoPower, "no source feeds the board");
}

// SPDX-License-Identifier: MIT
#include "diag/input_status.h"

#include <cstdio>

#include "diag/status_block.h"

namespace {

const char* yes_no(bool value) {
    return value ? "yes" : "no";
}

void print_source(const InputStatus& status) {
    switch (status.source) {
        case PowerSource::kNone: std::puts("source            = none"); break;
        case PowerSource::kExt: std::puts("source            = ext (XLR), index=0"); break;
        case PowerSource::kLink1: std::printf("source            = Link1, index=%d\n", status.teko_idx); break;
        case PowerSource::kLink2: std::printf("source            = Link2, index=%d\n", status.teko_idx); break;
    }
}

void print_message(const InputStatus& status, const uint8_t* message) {
    if (status.message_pending) {
        std::printf("message           = pending (%02x %02x %02x %02x %02x", message[0], message[1], message[2],
                    message[3], message[4]);
        if (status.handshake != 1) {
            std::printf(", invalid handshake %02x", status.handshake);
        }
        std::puts(")");
        return;
    }
    std::printf("message           = none");
    if (status.handshake != 0) {
        std::printf(" (invalid handshake %02x)", status.handshake);
    }
    std::putchar('\n');
}

void print_index(uint8_t index) {
    switch (index) {
        case 0: std::puts("TEKO_idx          = 0 (ext)"); break;
        case 1: std::puts("TEKO_idx          = 1 (downstream)"); break;
        case 2: std::puts("TEKO_idx          = 2 (downstream)"); break;
        case 3: std::puts("TEKO_idx          = 3 (unknown)"); break;
        default: std::printf("TEKO_idx          = %d (invalid)\n", index); break;
    }
}

}  // namespace

void print_input_status(const McuDevice& device, const uint8_t* status_block) {
    const InputStatus status = decode_status_block(status_block);
    std::printf("status            = %02x %02x %02x\n", status_block[0], status_block[1], status_block[2]);
    print_source(status);
    std::printf("TEKO1             = %s\n", status.teko1_connected ? "connected" : "not-connected");
    std::printf("TEKO2             = %s\n", status.teko2_connected ? "connected" : "not-connected");
    std::printf("reset             = %s (%02x)\n", status.reset_marker_read != device.reset_marker ? "occurred" : "no",
                status.reset_marker_read);
    print_message(status, status_block + kMessageOffset);
    if (!status.teko_supported) {
        std::puts("TEKO_support      = NOT supported");
    }
    std::printf("ext               = %s\n", status.ext_validated ? "validated" : "unknown-or-invalid");
    std::printf("Input_status      = %s\n", status.input_error ? "error" : "ok");
    print_index(status.teko_idx);
    std::printf("TEKO1_IMP         = %2d Ohm (%2d max)\n", status.teko1_imp, status.teko1_imp_max);
    std::printf("TEKO2_IMP         = %2d Ohm (%2d max)\n", status.teko2_imp, status.teko2_imp_max);
    std::printf("TEKO1_OC          = %s, alert=%s\n", yes_no(status.teko1_oc), yes_no(status.teko1_oc_alert));
    std::printf("TEKO2_OC          = %s, alert=%s\n", yes_no(status.teko2_oc), yes_no(status.teko2_oc_alert));
}

// SPDX-License-Identifier: MIT
#include "diag/input_status.h"

#include <cstdio>

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

void print_message(const InputStatus& status) {
    if (status.message_pending) {
        const uint8_t* message = status.message;
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

InputStatus decode_status_block(const uint8_t* block) {
    return {
        .source = static_cast<PowerSource>(block[0] & 0x03),
        .teko1_connected = (block[0] & 0x08) != 0,
        .teko2_connected = (block[0] & 0x10) != 0,
        .reports_inputs = (block[0] & 0x9A) != 0,
        .teko_supported = (block[0] & 0x80) != 0,
        .message_pending = (block[0] & 0x40) != 0,
        .message = {block[5], block[6], block[7], block[8], block[9]},
        .handshake = block[10],
        .ext_validated = (block[1] & 0x02) != 0,
        .input_error = (block[1] & 0x04) != 0,
        .teko_idx = static_cast<uint8_t>(block[2] & 0x0F),
        .reset_marker_read = block[15],
        .teko1_imp = block[16],
        .teko2_imp = block[17],
        .teko1_imp_max = block[18],
        .teko2_imp_max = block[19],
        .teko1_oc = (block[2] & 0x10) != 0,
        .teko2_oc = (block[2] & 0x20) != 0,
        .teko1_oc_alert = (block[2] & 0x40) != 0,
        .teko2_oc_alert = (block[2] & 0x80) != 0,
    };
}

void print_input_status(const McuDevice& device, const uint8_t* status_block) {
    const InputStatus status = decode_status_block(status_block);
    std::printf("status            = %02x %02x %02x\n", status_block[0], status_block[1], status_block[2]);
    print_source(status);
    std::printf("TEKO1             = %s\n", status.teko1_connected ? "connected" : "not-connected");
    std::printf("TEKO2             = %s\n", status.teko2_connected ? "connected" : "not-connected");
    std::printf("reset             = %s (%02x)\n", status.reset_marker_read != device.reset_marker ? "occurred" : "no",
                status.reset_marker_read);
    print_message(status);
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

// SPDX-License-Identifier: MIT
// What the MCU understands on top of plain transfers: register commands, frame commands, and a few single
// registers. Nothing here repeats a failed transfer, and nothing but last_error of the device changes. Frame commands
// are inline, because an update makes thousands of them.
#pragma once

#include <unistd.h>

#include <cstdint>

#include "mcu/frames.h"
#include "mcu/mcu_device.h"

/// The status block and one more byte: 1 when the block could be read, else 0.
inline constexpr uint8_t kStatusBlockBufferSize = kStatusBlockSize + 1;

/// A plain read of the MCU's registers. Sets no text.
inline bool read_registers(McuDevice& device, uint8_t start, uint8_t length, uint8_t* data) {
    return i2c_read(*device.bus, device.address, start, length, data);
}

/// A plain write. Sets no text.
inline bool write_registers(McuDevice& device, uint8_t start, uint16_t length, const uint8_t* data) {
    return i2c_write(*device.bus, device.address, start, length, data);
}

inline constexpr int kPollLimit = 5001;
inline constexpr useconds_t kPollPauseUs = 1000;

/// Reads the status until the command has finished, up to 5001 times with 1 ms after each read that did not say so.
/// Returns the last status that could be read, 0 when none could; it is not a finished one when the polls have run out.
inline uint8_t poll_status(McuDevice& device, uint8_t status_register) {
    uint8_t status = 0;
    for (int i = 0; i < kPollLimit; ++i) {
        uint8_t byte = 0;
        if (read_registers(device, status_register, 1, &byte)) {
            status = byte;
            if (is_finished(status)) {
                return status;
            }
        }
        usleep(kPollPauseUs);
    }
    return status;
}

/// Polls the frame status, then reads `read_size` response bytes (none for 0). Returns the last status read, and 0 when
/// none could be read or the response could not.
inline uint8_t poll_frame_status(McuDevice& device, uint8_t* response, uint8_t read_size) {
    const uint8_t status = poll_status(device, kFrameCommandRegister);
    if (read_size == 0) {
        return status;
    }
    response[0] = 0;
    if (is_finished(status) && !read_registers(device, kFrameRegister, read_size, response)) {
        return 0;
    }
    return status;
}

/// Word the reasons of a failed frame command, and return false.
bool fail_write(McuDevice& device, uint8_t start, uint16_t length);
bool fail_frame(McuDevice& device, uint8_t start, uint16_t length, uint8_t first_byte, uint8_t read_size,
                uint8_t status);

/// Writes the frame to the registers from `start` on, waits and fetches the response. `status_out`, when given,
/// receives the completion status, 0 when the write failed. Failure: "I2C write error, …" when the write failed,
/// else "read poll error, …" with the status.
inline bool run_frame_command(McuDevice& device, uint8_t start, const uint8_t* frame, uint16_t length,
                              uint8_t* response, uint8_t read_size, uint8_t* status_out) {
    if (status_out != nullptr) {
        *status_out = 0;
    }
    if (!write_registers(device, start, length, frame)) {
        return fail_write(device, start, length);
    }
    const uint8_t status = poll_frame_status(device, response, read_size);
    if (status_out != nullptr) {
        *status_out = status;
    }
    return is_success(status) || fail_frame(device, start, length, frame[0], read_size, status);
}

template <uint8_t Start>
bool run_frame_command(McuDevice& device, const Frame<Start>& frame, uint8_t* response = nullptr,
                       uint8_t read_size = 0) {
    return run_frame_command(device, Start, frame.bytes, frame.kLength, response, read_size, nullptr);
}

/// Writes the code, waits as above, and reads the 16-bit result when one is wanted. A failure leaves 0 in the result if
/// the command was sent. Failure: "I2C write error, …", "read cmd error, …" with the status, or "I2C read error, …".
bool run_register_command(McuDevice& device, RegisterCommand command, uint16_t* result);

/// Writes the 16-bit parameter first. Failure: "I2C write error, …", or as above.
bool run_register_command_with_param(McuDevice& device, uint16_t param, RegisterCommand command, uint16_t* result);

/// Clears the counters and sums of the MCU's diagnostics.
bool reset_diagnostics(McuDevice& device);

/// Writes the device's reset_marker. Failure: "I2C write error, …" with the marker.
bool write_reset_marker(McuDevice& device);

/// Writes the marker if byte 15 of the block is not it; otherwise sends nothing. Fails as write_reset_marker.
bool rearm_reset_marker(McuDevice& device, const uint8_t* status_block);

/// Tells the MCU that its pending message has been taken. Failure: "I2C write error, …" with the value 00.
bool acknowledge_message(McuDevice& device);

/// Writes one byte to kDataRegister up to 400 times, for the search of a bus fault. Ends at the first write that fails,
/// which is no failure.
bool test_i2c_bug1(McuDevice& device);

/// Reads the status block into 21 bytes: the last one becomes 1, on failure 0. Failure: "I2C read error, …".
bool read_status_block(McuDevice& device, uint8_t* block);

/// Reads the marker register and forgets it. Sets no text.
bool probe_mcu(McuDevice& device);

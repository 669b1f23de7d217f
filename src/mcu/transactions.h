// SPDX-License-Identifier: MIT
// Register commands, frame commands, and the registers that are used without a command. A failed transfer is never
// repeated, and of the device only last_error changes. Frame commands are inline, because an update makes thousands of
// them.
#pragma once

#include <unistd.h>

#include <cstdint>

#include "mcu/frames.h"
#include "mcu/i2c_bus.h"
#include "mcu/mcu_device.h"

/// The status block and one more byte, which is 1 if the block was read and 0 if the read failed.
inline constexpr uint8_t kStatusBlockBufferSize = kStatusBlockSize + 1;

/// Reads registers of the MCU without a command. Leaves last_error unchanged.
inline bool read_registers(McuDevice& device, uint8_t start, uint8_t length, uint8_t* data) {
    return i2c_read(*device.bus, device.address, start, length, data);
}

/// Writes registers of the MCU without a command. Leaves last_error unchanged.
inline bool write_registers(McuDevice& device, uint8_t start, uint16_t length, const uint8_t* data) {
    return i2c_write(*device.bus, device.address, start, length, data);
}

inline constexpr int kPollLimit = 5001;
inline constexpr useconds_t kPollPauseUs = 1000;

/// Polls the status register until the command has finished, at most 5001 times, with 1 ms after each poll. A poll that
/// fails counts like any other. Returns the last status read, or 0 if every poll failed.
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

/// Polls the frame status, then reads `read_size` bytes of response; 0 means that there is no response. Returns the
/// last status read, or 0 if every poll failed or the response could not be read.
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

/// Set last_error for a failed frame command and return false.
bool fail_write(McuDevice& device, uint8_t start, uint16_t length);
bool fail_frame(McuDevice& device, uint8_t start, uint16_t length, uint8_t first_byte, uint8_t read_size,
                uint8_t status);

/// Writes the frame, polls its status and reads the response. `status_out`, unless null, is set to the result of
/// poll_frame_status, or to 0 if the write failed. Failure: "I2C write error, …" if the write failed, otherwise "read
/// poll error, …" with the status.
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

/// Writes the code, polls the status and, unless `result` is null, reads the 16-bit result. Failure: "I2C write error,
/// …", "read cmd error, …" with the status, or "I2C read error, …"; the result is then 0 if the command was sent, and
/// unchanged otherwise.
bool run_register_command(McuDevice& device, RegisterCommand command, uint16_t* result);

/// Writes the 16-bit parameter, then runs the command. Failure: "I2C write error, …", or as run_register_command.
bool run_register_command_with_param(McuDevice& device, uint16_t param, RegisterCommand command, uint16_t* result);

/// Clears the MCU's counters and sums, as a register command.
bool reset_diagnostics(McuDevice& device);

/// Writes reset_marker to the marker register. Failure: "I2C write error, …" with the marker.
bool write_reset_marker(McuDevice& device);

/// Writes the marker if the status block holds another one; otherwise sends nothing. Fails as write_reset_marker.
bool rearm_reset_marker(McuDevice& device, const uint8_t* status_block);

/// Acknowledges the MCU's pending message. Failure: "I2C write error, …" with the value 00.
bool acknowledge_message(McuDevice& device);

/// Stress test for a bus fault: writes one byte to kDataRegister up to 400 times, and stops at the first write that
/// fails. Always true.
bool test_i2c_bug1(McuDevice& device);

/// Reads the status block into kStatusBlockBufferSize bytes. Failure: "I2C read error, …".
bool read_status_block(McuDevice& device, uint8_t* block);

/// Whether the marker register can be read. Leaves last_error unchanged.
bool probe_mcu(McuDevice& device);

// SPDX-License-Identifier: MIT
#include "mcu/transactions.h"

namespace {

bool write_single_register(McuDevice& device, uint8_t reg, uint8_t value) {
    if (write_registers(device, reg, 1, &value)) {
        return true;
    }
    return fail(device, "I2C write error, start %02x, size %02x, value %02x", reg, 1, value);
}

}  // namespace

bool fail_write(McuDevice& device, uint8_t start, uint16_t length) {
    return fail(device, "I2C write error, start %02x, size %02x", start, length);
}

bool fail_frame(McuDevice& device, uint8_t start, uint16_t length, uint8_t first_byte, uint8_t read_size,
                uint8_t status) {
    return fail(device, "read poll error, cmd start %02x, size %02x, data %02x, read size %02x, error %02x", start,
                length, first_byte, read_size, status);
}

bool run_register_command(McuDevice& device, RegisterCommand command, uint16_t* result) {
    const auto code = static_cast<uint8_t>(command);
    if (!write_registers(device, kCommandRegister, 1, &code)) {
        return fail(device, "I2C write error, start %02x, size %02x, cmd %02x", kCommandRegister, 1, code);
    }
    const uint8_t status = poll_status(device, kCommandRegister);
    if (result != nullptr) {
        *result = 0;
    }
    if (!is_success(status)) {
        return fail(device, "read cmd error, cmd %02x, start %02x, result %02x", code, kCommandRegister, status);
    }
    if (result == nullptr) {
        return true;
    }
    uint8_t bytes[2];
    if (!read_registers(device, kParameterRegister, sizeof bytes, bytes)) {
        return fail(device, "I2C read error, cmd %02x, start %02x, size %02x", code, kParameterRegister, 2);
    }
    *result = get_le16(bytes);
    return true;
}

bool run_register_command_with_param(McuDevice& device, uint16_t param, RegisterCommand command, uint16_t* result) {
    uint8_t bytes[2];
    put_le16(bytes, param);
    if (!write_registers(device, kParameterRegister, sizeof bytes, bytes)) {
        return fail_write(device, kParameterRegister, sizeof bytes);
    }
    return run_register_command(device, command, result);
}

bool reset_diagnostics(McuDevice& device) {
    return run_register_command(device, RegisterCommand::kResetDiagnostics, nullptr);
}

bool write_reset_marker(McuDevice& device) {
    return write_single_register(device, kMarkerRegister, device.reset_marker);
}

bool rearm_reset_marker(McuDevice& device, const uint8_t* status_block) {
    return status_block[kMarkerRegister] == device.reset_marker || write_reset_marker(device);
}

bool acknowledge_message(McuDevice& device) {
    return write_single_register(device, kHandshakeRegister, 0);
}

bool test_i2c_bug1(McuDevice& device) {
    constexpr int writes = 400;
    constexpr uint8_t value = 3;
    for (int i = 0; i < writes && write_registers(device, kDataRegister, 1, &value); ++i) {
    }
    return true;
}

bool read_status_block(McuDevice& device, uint8_t* block) {
    const bool ok = read_registers(device, kStatusBlockRegister, kStatusBlockSize, block);
    block[kStatusBlockSize] = ok ? 1 : 0;
    if (ok) {
        return true;
    }
    return fail(device, "I2C read error, start %02x, size %02x", kStatusBlockRegister, kStatusBlockSize);
}

bool probe_mcu(McuDevice& device) {
    uint8_t marker = 0;
    return read_registers(device, kMarkerRegister, 1, &marker);
}

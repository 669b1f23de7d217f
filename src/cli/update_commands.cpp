// SPDX-License-Identifier: MIT
#include "cli/update_commands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "log/log.h"
#include "mcu/flash_geometry.h"
#include "mcu/identity.h"
#include "mcu/reset.h"
#include "status/status_line.h"
#include "update/flash_region.h"
#include "update/update_file.h"
#include "update/update_procedure.h"
#include "util/byte_buffer.h"
#include "util/parse_number.h"
#include "util/process.h"

namespace {

constexpr int kUpdateAttempts = 3;
constexpr uint8_t kMaxResetDelay = 255;
constexpr uint8_t kUnreadFill = 0x55;

using FilePointer = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

bool reset(CommandContext& context) {
    reset_mcu(context.device);
    log_message(kLogInfo, "%s", context.device.last_error.c_str());
    pause_before_next_command(context);
    return true;
}

uint8_t tenths_of_seconds(float seconds) {
    if (seconds > 25.5F) {
        return kMaxResetDelay;
    }
    if (!(seconds >= 0.0F)) {
        return 0;
    }
    return static_cast<uint8_t>(static_cast<double>(seconds) / 0.1);
}

/// Writes the whole memory and closes the file: a full disk may show only at the close.
bool write_memory_file(FilePointer file, const uint8_t* memory) {
    const bool written = std::fwrite(memory, 1, kMemorySize, file.get()) == kMemorySize && std::fflush(file.get()) == 0;
    const int reason = errno;
    const bool closed = std::fclose(file.release()) == 0;
    if (!written) {
        errno = reason;
    }
    return written && closed;
}

bool attempt_update(McuDevice& device) {
    if (!read_version(device, nullptr) || !read_flash_status(device, nullptr)) {
        return log_last_error(device);
    }
    log_status_summary(device);
    return run_update(device) || log_last_error(device);
}

bool attempt_update_repeatedly(McuDevice& device) {
    for (int attempt = 0; attempt < kUpdateAttempts; ++attempt) {
        if (attempt_update(device)) {
            return true;
        }
    }
    return false;
}

/// Updates from the loaded file, in up to three attempts, and logs the verdict.
bool update_and_report(McuDevice& device) {
    // Programming ignores hang-ups; after the verdict they have their effect again.
    const HangupScope hangup;
    if (!attempt_update_repeatedly(device)) {
        log_message(kLogError, "overall SV MCU update = ERROR");
        return false;
    }
    log_message(kLogInfo, "%s", device.last_error.c_str());
    if (device.update_without_reset != 0) {
        log_message(kLogInfo, "overall SV MCU update = reset-needed");
    } else {
        log_message(kLogInfo, "overall SV MCU update = okay");
    }
    return true;
}

/// Loads the file and logs what it holds.
bool load_and_log(McuDevice& device, const char* path) {
    if (!load_update_file(device, path)) {
        return false;
    }
    log_message(kLogInfo, "update file swid %04x crc %04x %04x", device.file_swid, device.file_crc0, device.file_crc1);
    return true;
}

const char* load_verdict(bool loaded) {
    return loaded ? "okay" : "error";
}

}  // namespace

bool run_force_update(CommandContext& context) {
    context.device.force_update = 1;
    return true;
}

bool run_without_force_update(CommandContext& context) {
    context.device.force_update = 0;
    return true;
}

bool run_update_without_reset(CommandContext& context) {
    context.device.update_without_reset = 1;
    return true;
}

bool run_update_with_reset(CommandContext& context) {
    context.device.update_without_reset = 0;
    return true;
}

bool run_update_without_disable(CommandContext& context) {
    context.device.update_without_disable = 1;
    return true;
}

bool run_reset_delay(CommandContext& context) {
    float seconds = 0.0F;
    if (!parse_float(context.words.take(), seconds)) {
        log_message(kLogError, "invalid parameter to --reset-delay");
        return false;
    }
    context.device.reset_now_sync = 0;
    context.device.reset_delay = tenths_of_seconds(seconds);
    return true;
}

bool run_reset(CommandContext& context) {
    return reset(context);
}

bool run_reset_now(CommandContext& context) {
    context.device.reset_delay = 0;
    context.device.reset_now_sync = 0;
    return reset(context);
}

bool run_reset_now_sync(CommandContext& context) {
    context.device.reset_delay = kMaxResetDelay;
    context.device.reset_now_sync = 1;
    return reset(context);
}

bool run_erase(CommandContext& context) {
    return erase_other_region(context.device) || log_last_error(context.device);
}

bool run_read(CommandContext& context) {
    McuDevice& device = context.device;
    const char* path = context.words.take();
    std::printf("reading %s\n", path);
    // Allocated before the file is opened, which truncates it.
    const ByteBuffer memory = allocate_bytes(kMemorySize);
    if (memory == nullptr) {
        log_message(kLogError, "out of memory for the read-back");
        return false;
    }
    FilePointer file(std::fopen(path, "wb"), std::fclose);
    if (file == nullptr) {
        std::puts("could not open file");
        return false;
    }
    // Result ignored: without the page size that it supplies, read_memory refuses.
    read_version(device, nullptr);
    std::memset(memory.get(), kUnreadFill, kMemorySize);
    if (!read_memory(device, 0, kMemoryPages, memory.get(), kMemorySize)) {
        log_message(kLogError, "could not read data (%s)", device.last_error.c_str());
        return false;
    }
    if (!write_memory_file(std::move(file), memory.get())) {
        log_message(kLogError, "could not write %s (%s)", path, std::strerror(errno));
        return false;
    }
    return true;
}

bool run_update_command(CommandContext& context) {
    McuDevice& device = context.device;
    const char* path = context.words.take();
    const bool loaded = load_and_log(device, path);
    log_message(kLogInfo, "update file = %s (%s)", load_verdict(loaded), path);
    if (!loaded) {
        return log_last_error(device);
    }
    if (!update_and_report(device)) {
        return false;
    }
    pause_before_next_command(context);
    return true;
}

bool run_upd(CommandContext& context) {
    McuDevice& device = context.device;
    device.reset_delay = 0;
    device.reset_now_sync = 0;
    device.force_update = 0;
    device.update_without_reset = 0;
    return run_update_command(context);
}

bool run_read_update(CommandContext& context) {
    McuDevice& device = context.device;
    const char* path = context.words.take();
    const bool loaded = load_and_log(device, path);
    std::printf("reading file = %s (%s)\n", load_verdict(loaded), path);
    std::printf("message = %s\n", device.last_error.c_str());
    return true;
}

bool run_debug_update(CommandContext& context) {
    log_status_summary(context.device);
    return true;
}

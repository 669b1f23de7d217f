// SPDX-License-Identifier: MIT
#include "ctl/backup.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "ctl/board_state.h"
#include "ctl/interruption.h"
#include "mcu/flash_geometry.h"
#include "util/byte_buffer.h"
#include "util/new_file.h"

namespace {

bool fail_to_write(const std::string& path, Failure& failure) {
    const int reason = errno;
    if (reason == EEXIST) {
        return fail(failure, Reason::kBackupExists, "%s exists already", path.c_str());
    }
    return fail(failure, reason_not_written(reason, Reason::kBackupFailed), "could not write %s: %s", path.c_str(),
                std::strerror(reason));
}

bool read_flash(McuDevice& device, uint8_t* memory, Progress& progress, Failure& failure) {
    progress.begin_backup(kMemoryPages);
    for (uint16_t page = 0; page < kMemoryPages; ++page) {
        if (interrupted()) {
            return fail(failure, Reason::kInterrupted, "interrupted");
        }
        if (!read_page_patiently(device, page, memory + size_t{page} * kPageSize, failure)) {
            return false;
        }
        progress.backed_up();
    }
    return true;
}

}  // namespace

bool check_backup_target(const std::string& path, Failure& failure) {
    struct stat status {};
    const bool free = path.empty() || lstat(path.c_str(), &status) != 0;
    return free || fail(failure, Reason::kBackupExists, "%s exists already", path.c_str());
}

bool keep_backup(McuDevice& device, const std::string& path, Progress& progress, Failure& failure) {
    if (path.empty()) {
        return true;
    }
    const ByteBuffer memory = allocate_bytes(kMemorySize);
    if (memory == nullptr) {
        return fail(failure, Reason::kNoMemory, "out of memory for the backup");
    }
    NewFile file;
    if (!file.create(path.c_str(), Existing::kKept)) {
        return fail_to_write(path, failure);
    }
    if (!read_flash(device, memory.get(), progress, failure)) {
        return false;
    }
    return (file.write(memory.get(), kMemorySize) && file.put_in_place()) || fail_to_write(path, failure);
}

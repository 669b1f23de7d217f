// SPDX-License-Identifier: MIT
#include "update/update_procedure.h"

#include <unistd.h>

#include <cstdio>

#include "log/log.h"
#include "mcu/reset.h"
#include "mcu/transactions.h"
#include "update/flash_region.h"
#include "update/progress_line.h"
#include "util/process.h"

namespace {

constexpr int kPageAttempts = 5;
constexpr useconds_t kPageRetryUs = 500'000;

struct Region {
    int number;
    uint16_t mcu_crc;     // as the MCU reports it
    uint16_t wanted_crc;  // after programming, from the file
};

struct Plan {
    Region running;
    Region target;
};

Plan make_plan(const McuDevice& device) {
    const Region region0{0, device.crc0, device.file_crc0};
    const Region region1{1, device.crc1, device.file_crc1};
    return device.active_region == 0 ? Plan{region0, region1} : Plan{region1, region0};
}

bool is_up_to_date(const McuDevice& device, const Region& running) {
    return device.file_swid == device.swid && running.wanted_crc == running.mcu_crc;
}

/// The running firmware has software id 0, and the other region already holds the file's firmware.
bool needs_reboot_only(const McuDevice& device, const Region& target) {
    return device.swid == 0 && device.other_swid != 0 && device.other_swid == device.file_swid &&
           target.mcu_crc == target.wanted_crc;
}

bool reboot_only(McuDevice& device, const Region& target) {
    if (device.update_without_reset != 0) {
        std::puts("reset needed");
        return fail(device, "reboot only needed (other (%d) is up to date)", target.number);
    }
    reset_mcu(device);
    return note(device, "reboot only (other (%d) is up to date)", target.number);
}

bool erase(McuDevice& device, const Region& target) {
    if (!request_erase(device)) {
        return false;
    }
    std::printf("erased other region %d\n", target.number);
    return true;
}

bool write_page_with_retries(McuDevice& device, uint16_t page, const ProgressLine& progress) {
    const uint8_t* data = device.file_image.get() + uint32_t{page} * device.file_page_size;
    for (int attempt = 0; attempt < kPageAttempts; ++attempt) {
        if (write_page(device, page, data, device.file_page_size)) {
            return true;
        }
        progress.failed();
        usleep(kPageRetryUs);
    }
    std::putchar('\n');
    return false;
}

bool write_pages(McuDevice& device, const Region& target) {
    const uint32_t start = target.number == 0 ? 0 : device.region_size;
    std::printf("programming, starting at %x\n", start);
    const uint32_t first_page = start / device.file_page_size;
    // A region's last page is neither programmed nor covered by the checksum.
    const uint32_t pages = device.file_region_size / device.file_page_size - 1;
    ProgressLine progress;
    for (uint32_t i = 0; i < pages; ++i) {
        const auto page = static_cast<uint16_t>(first_page + i);
        progress.set(i, pages);
        if (device.file_page_map[page] == 0) {
            progress.skipped();
        } else {
            progress.page();
            if (!write_page_with_retries(device, page, progress)) {
                return false;
            }
        }
        progress.advance();
    }
    progress.done();
    return true;
}

bool enable(McuDevice& device, const Region& target) {
    if (!run_frame_command(device, enable_frame(device.file_swid, target.wanted_crc))) {
        return fail(device, "could not enable other region (%d, %s)", target.number, device.last_error.c_str());
    }
    std::printf("enabled other region %d\n", target.number);
    // Flushed, so that a killed update leaves this line in a pipe or a file, too.
    std::fflush(stdout);
    return true;
}

bool disable(McuDevice& device, const Region& running) {
    if (!run_frame_command(device, disable_frame())) {
        return fail(device, "could not disable current region (%d, %s)", running.number, device.last_error.c_str());
    }
    log_message(kLogInfo, "disabled current region %d", running.number);
    return true;
}

void reset_after_update(McuDevice& device) {
    if (device.update_without_reset != 0) {
        log_message(kLogInfo, "reset: needed");
        return;
    }
    reset_mcu(device);
    log_message(kLogInfo, "reset: %s", device.last_error.c_str());
}

bool program(McuDevice& device, const Plan& plan) {
    log_message(kLogInfo, "doing update in region %d (from swid %04x crc %04x to swid %04x crc %04x)",
                plan.target.number, device.swid, plan.running.mcu_crc, device.file_swid, plan.target.wanted_crc);
    ignore_hangup();
    if (!erase(device, plan.target) || !write_pages(device, plan.target) || !enable(device, plan.target)) {
        return false;
    }
    if (device.update_without_disable == 0 && !disable(device, plan.running)) {
        return false;
    }
    reset_after_update(device);
    return note(device, "update done in region %d with swid %04x crc %04x", plan.target.number, device.file_swid,
                plan.target.wanted_crc);
}

}  // namespace

bool run_update(McuDevice& device) {
    if (device.hwid == 0) {
        return fail(device, "version info not available (not read yet)");
    }
    if (device.file_region_size != device.region_size) {
        return fail(device, "invalid region size (read vs. update file)");
    }
    if (device.file_page_size != device.page_size) {
        return fail(device, "invalid page size (read vs. update file)");
    }
    if (device.file_memory_size != device.memory_size) {
        return fail(device, "invalid memory size (read vs. update file)");
    }
    return update_firmware(device);
}

bool update_firmware(McuDevice& device) {
    const Plan plan = make_plan(device);
    if (device.force_update != 0) {
        return program(device, plan);
    }
    if (is_up_to_date(device, plan.running)) {
        return note(device, "nothing to do (region %d is already up to date with swid %04x crc %04x)",
                    plan.running.number, device.file_swid, plan.running.wanted_crc);
    }
    if (needs_reboot_only(device, plan.target)) {
        return reboot_only(device, plan.target);
    }
    return program(device, plan);
}

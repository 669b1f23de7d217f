// SPDX-License-Identifier: MIT
#include "update/update_procedure.h"

#include <cstdio>

#include "log/log.h"
#include "mcu/reset.h"
#include "update/flash_region.h"
#include "update/program_pages.h"
#include "update/progress_line.h"
#include "util/process.h"

namespace {

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

/// Prints the progress of programming.
class PrintedPages : public PageObserver {
public:
    void begin(uint32_t index, uint32_t pages, bool marked) override {
        line_.set(index, pages);
        if (marked) {
            line_.page();
        } else {
            line_.skipped();
        }
    }

    void failed() override {
        line_.failed();
    }

    void end() override {
        line_.advance();
    }

    void done() const {
        line_.done();
    }

private:
    ProgressLine line_;
};

bool write_pages(McuDevice& device, const Region& target) {
    std::printf("programming, starting at %x\n", target.number == 0 ? 0 : device.region_size);
    PrintedPages pages;
    if (!program_pages(device, target.number, pages)) {
        std::putchar('\n');
        return false;
    }
    pages.done();
    return true;
}

bool enable(McuDevice& device, const Region& target) {
    if (!request_enable(device, target.number, device.file_swid, target.wanted_crc)) {
        return false;
    }
    std::printf("enabled other region %d\n", target.number);
    // Flushed, so that a killed update leaves this line in a pipe or a file, too.
    std::fflush(stdout);
    return true;
}

bool disable(McuDevice& device, const Region& running) {
    if (!request_disable(device, running.number)) {
        return false;
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

// SPDX-License-Identifier: MIT
#include "ctl/update_course.h"

#include <cstring>

#include "ctl/firmware_file.h"
#include "ctl/identify.h"
#include "ctl/interruption.h"
#include "ctl/seen_reset.h"
#include "mcu/flash_geometry.h"
#include "mcu/identity.h"
#include "update/flash_region.h"
#include "update/program_pages.h"

namespace {

constexpr int kAttempts = 3;
constexpr int kPageRewrites = 3;
constexpr unsigned kMaxResets = 9;

class Course {
public:
    Course(McuDevice& device, const CourseOptions& options, Progress& progress, CourseResult& result, Failure& failure)
        : device_(device), options_(options), progress_(progress), result_(result), failure_(failure) {}

    /// One attempt. True when the file runs.
    bool attempt();

private:
    bool begin_changes();
    bool mark();
    bool reset();
    bool program(int region);
    bool verify(int region);
    bool verify_page(uint16_t page, const uint8_t* wanted);
    bool start_other(int running);

    McuDevice& device_;
    const CourseOptions& options_;
    Progress& progress_;
    CourseResult& result_;
    Failure& failure_;
    bool begun_ = false;
};

bool Course::attempt() {
    while (result_.resets <= kMaxResets) {
        BoardState state;
        if (!read_board_state(device_, state, failure_)) {
            return false;
        }
        const bool started = result_.started == state.running();
        switch (next_step(find_row(state), started, options_.sure)) {
            case Step::kNone: return true;
            case Step::kReset:
                if (!reset()) {
                    return false;
                }
                break;
            case Step::kProgram:
                if (!program(state.other())) {
                    return false;
                }
                [[fallthrough]];
            case Step::kStart: return start_other(state.running());
        }
    }
    return fail(failure_, Reason::kNotConfirmed, "the MCU restarts again and again");
}

/// The last moment to interrupt.
bool Course::begin_changes() {
    if (begun_) {
        return true;
    }
    // Looked at only when no signal can come any more: a later one would end the update between two frames.
    ignore_interruptions();
    if (interrupted()) {
        return fail(failure_, Reason::kInterrupted, "interrupted");
    }
    progress_.begin_changes();
    begun_ = true;
    return true;
}

bool Course::mark() {
    return set_marker(device_) || fail(failure_, Reason::kNoAnswer, "the reset marker of the MCU could not be set");
}

bool Course::reset() {
    if (!begin_changes() || !mark()) {
        return false;
    }
    progress_.say("resetting the MCU");
    result_.changing = true;
    result_.started = -1;
    result_.disabled_other = false;
    if (!reset_and_see(device_, failure_)) {
        return false;
    }
    ++result_.resets;
    result_.started = device_.active_region;
    return true;
}

bool Course::program(int region) {
    if (!check_region_content(device_, region, options_.any_content, failure_) || !begin_changes()) {
        return false;
    }
    result_.changing = true;
    result_.disabled_other = false;
    progress_.begin_region(device_, region, options_.verify);
    if (!request_erase(device_)) {
        return fail(failure_, Reason::kEraseFailed, "%s", device_.last_error.c_str());
    }
    if (!program_pages(device_, region, progress_)) {
        return fail(failure_, Reason::kWriteFailed, "%s", device_.last_error.c_str());
    }
    return !options_.verify || verify(region);
}

bool Course::verify(int region) {
    for (int i = 0; i < kProgrammedPages; ++i) {
        const auto page = static_cast<uint16_t>(region * kRegionPages + i);
        const uint8_t* wanted = page_content(device_, page);
        if (wanted == nullptr) {
            continue;
        }
        if (!verify_page(page, wanted)) {
            return false;
        }
        progress_.verified();
    }
    return true;
}

bool Course::verify_page(uint16_t page, const uint8_t* wanted) {
    uint8_t data[kPageSize];
    for (int rewrites = 0;; ++rewrites) {
        if (!read_page_patiently(device_, page, data, failure_)) {
            return false;
        }
        if (std::memcmp(data, wanted, sizeof data) == 0) {
            return true;
        }
        if (rewrites == kPageRewrites) {
            return fail(failure_, Reason::kVerifyFailed, "page %03x does not hold what was written", page);
        }
        bool can_be_written = true;
        for (size_t i = 0; i < sizeof data; ++i) {
            // Only an erase sets a bit.
            can_be_written = can_be_written && (data[i] & wanted[i]) == wanted[i];
        }
        // Result ignored: the page is read again in any case, also because the reading may have been what was wrong.
        static_cast<void>(can_be_written && write_page(device_, page, wanted, kPageSize));
    }
}

bool Course::start_other(int running) {
    if (!begin_changes() || !mark()) {
        return false;
    }
    const int region = 1 - running;
    progress_.say("enabling the new region");
    result_.changing = true;
    const uint16_t checksum = file_crc(device_, region);
    if (!request_enable(device_, region, device_.file_swid, checksum)) {
        return fail(failure_, Reason::kEnableFailed, "%s", device_.last_error.c_str());
    }
    if (!identify(device_, failure_)) {
        return false;
    }
    if (device_.active_region == running) {
        // Disabled now, a board whose enable was lost could not start.
        if (region_swid(device_, region) != device_.file_swid || region_crc(device_, region) != checksum) {
            return fail(failure_, Reason::kEnableFailed, "region %d was not enabled", region);
        }
        // Had the MCU restarted, the disable could hit the region that was just enabled.
        if (!marker_stands(device_)) {
            return fail(failure_, Reason::kNotConfirmed, "the MCU restarted by itself");
        }
        result_.started = -1;
        if (!request_disable(device_, running)) {
            return fail(failure_, Reason::kDisableFailed, "%s", device_.last_error.c_str());
        }
        result_.disabled_other = true;
        progress_.say("resetting the MCU");
        if (!reset_and_see(device_, failure_)) {
            return false;
        }
        ++result_.resets;
    }
    // Otherwise the MCU has restarted by itself, and runs the region that was just enabled.
    result_.started = device_.active_region;
    if (device_.active_region == region && runs_file(device_)) {
        return true;
    }
    result_.disabled_other = false;
    return fail(failure_, Reason::kNotConfirmed, "region %d still runs after the reset", device_.active_region);
}

}  // namespace

bool runs_file(const McuDevice& device) {
    return device.swid == device.file_swid &&
           region_crc(device, device.active_region) == file_crc(device, device.active_region);
}

bool run_course(McuDevice& device, const CourseOptions& options, Progress& progress, CourseResult& result,
                Failure& failure) {
    Course course(device, options, progress, result, failure);
    for (int left = kAttempts; left > 0; --left) {
        if (course.attempt()) {
            return true;
        }
        if (!result.changing || failure.reason == Reason::kBadFile) {
            return false;
        }
        progress.failed_attempt(failure);
    }
    return false;
}

// SPDX-License-Identifier: MIT
#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <new>

#include "ctl/backup.h"
#include "ctl/commands.h"
#include "ctl/identify.h"
#include "ctl/interruption.h"
#include "ctl/power_source.h"
#include "ctl/report.h"
#include "ctl/update_course.h"
#include "ctl/update_report.h"
#include "util/clock.h"

namespace {

bool check_hardware(const McuDevice& device, const FirmwareNotes& notes, Failure& failure) {
    const bool fits =
        notes.hwids.empty() || std::find(notes.hwids.begin(), notes.hwids.end(), device.hwid) != notes.hwids.end();
    return fits ||
           fail(failure, Reason::kWrongHardware, "the file is for other hardware, and this is %04x", device.hwid);
}

bool check_power(McuDevice& device, const UpdateOptions& options, UpdateReport& report) {
    if (find_power_source(device, report.power, report.failure)) {
        return true;
    }
    return report.failure.reason == Reason::kNoPower && options.any_power;
}

/// Everything before the first change: false leaves the reason in the report, or the status kCurrent.
bool prepare(Session& session, const CommonOptions& common, const UpdateOptions& options, Row& row,
             UpdateReport& report) {
    McuDevice& device = session.device;
    Failure& failure = report.failure;
    if (!session.lock.take(common.lock.c_str(), Sharing::kAlone, common.lock_wait, failure) ||
        !load_firmware_file(options.file.c_str(), device, report.notes, failure)) {
        return false;
    }
    report.loaded = true;
    BoardState state;
    if (!check_backup_target(options.backup, failure) || !session.open(common, failure) ||
        !read_board_state(device, state, failure)) {
        return false;
    }
    report.before = state.info;
    report.after = state.info;
    row = find_row(state);
    report.row = &row;
    if (!check_hardware(device, report.notes, failure)) {
        return false;
    }
    if (next_step(row, false, options.sure) == Step::kNone) {
        report.status = kCurrent;
        report.next_start = row == Row::kRunsAlone ? "same" : "unknown";
        return false;
    }
    return check_region_content(device, state.other(), options.any_content, failure) &&
           check_power(device, options, report);
}

/// After a failed course: what the MCU runs now, and what that proves.
ExitStatus judge_failure(McuDevice& device, const CourseResult& result, UpdateReport& report) {
    if (!result.changing) {
        return kRefused;
    }
    report.after = McuInfo{};
    Failure ignored;  // the course has a reason already
    if (!identify(device, ignored)) {
        return kUnconfirmed;
    }
    report.after = device.info();
    const bool same =
        report.after.swid == report.before.swid &&
        region_crc(report.after, report.after.active_region) == region_crc(report.before, report.before.active_region);
    return same && result.started == report.after.active_region ? kFailed : kUnconfirmed;
}

void run(Session& session, const UpdateOptions& options, Row row, Progress& progress, UpdateReport& report) {
    McuDevice& device = session.device;
    syslog(LOG_NOTICE, "update to software id %04x begins, region %d runs %04x", device.file_swid, device.active_region,
           device.swid);
    const CourseOptions course{options.sure, options.verify, options.any_content};
    CourseResult result;
    const bool done = run_course(device, course, progress, result, report.failure);
    report.changing = result.changing;
    report.resets = result.resets;
    if (!done) {
        report.status = judge_failure(device, result, report);
        return;
    }
    report.after = device.info();
    // Nothing is new if the file ran before: a pending reset may have come meanwhile, or --sure has seen it start
    // again.
    const bool again = row == Row::kRuns && report.after.active_region == report.before.active_region;
    report.status = again || !result.changing ? kCurrent : kDone;
    const bool alone = region_swid(report.after, 1 - report.after.active_region) == 0;
    report.next_start = alone || result.disabled_other || again ? "same" : "unknown";
}

}  // namespace

int run_update_command(const CommonOptions& common, const UpdateOptions& options) {
    const timespec start = monotonic_now();
    catch_interruptions();
    Session session;
    UpdateReport report;
    Progress progress;
    Row row = Row::kBlank;
    try {
        if (!prepare(session, common, options, row, report)) {
            report.status = report.failure.reason == Reason::kHeldLock ? kLocked : report.status;
        } else if (options.check) {
            report.status = kDone;
        } else if (keep_backup(session.device, options.backup, progress, report.failure)) {
            report.backed_up = !options.backup.empty();
            run(session, options, row, progress, report);
        }
    } catch (const std::bad_alloc&) {
        // Nothing has been changed: from the first change on no memory is needed.
        fail(report.failure, Reason::kNoMemory, "out of memory");
    }
    report.seconds = elapsed_ms(start, monotonic_now()) / 1000.0;
    report_update(common, options, session.device, report);
    return report.status;
}

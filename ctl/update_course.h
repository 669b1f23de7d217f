// SPDX-License-Identifier: MIT
// The part of an update that changes the MCU: from what the board reports to the file's firmware running.
#pragma once

#include "ctl/decision.h"
#include "ctl/outcome.h"
#include "ctl/progress.h"

struct CourseOptions {
    bool sure = false;         ///< a firmware that runs already is made to start again
    bool verify = true;        ///< read the programmed pages back
    bool any_content = false;  ///< see check_region_content
};

/// What happened. Filled also by a course that fails.
struct CourseResult {
    bool changing = false;        ///< a frame was sent that changes flash, regions or the running program
    unsigned resets = 0;          ///< seen ones
    bool disabled_other = false;  ///< the region that does not run now was disabled, and the MCU confirmed it
    int started = -1;             ///< region that was seen to start and was not disabled since; -1: none
};

/// Brings the MCU to run the loaded file, in up to three attempts, each of which begins with what the board reports
/// then (next_step). Only the region that is not running is ever erased or written. At no moment can a board that could
/// start no longer start. Allocates nothing. Before the first frame that changes something, gives up when interrupted;
/// from then on signals have no effect. Failure: the reason of the last attempt.
bool run_course(McuDevice& device, const CourseOptions& options, Progress& progress, CourseResult& result,
                Failure& failure);

/// Whether the running region, as the device knows it, has the id and the checksum of the file.
bool runs_file(const McuDevice& device);

// SPDX-License-Identifier: MIT
// How an update ended: for people, for programs, for the system log.
#pragma once

#include <string>
#include <vector>

#include "ctl/commands.h"
#include "ctl/decision.h"
#include "ctl/firmware_file.h"

struct UpdateReport {
    ExitStatus status = kRefused;
    Failure failure;  ///< of every status but kDone and kCurrent
    FirmwareNotes notes;
    bool loaded = false;               ///< the file is good; the device holds its ids and checksums
    const Row* row = nullptr;          ///< null: not known
    McuInfo before;                    ///< hwid 0: not known
    McuInfo after;                     ///< hwid 0: not known
    const char* next_start = nullptr;  ///< "same": no other firmware can start; "unknown"; null: nothing is known
    const char* power = nullptr;       ///< the source; null: not known
    bool backed_up = false;
    bool changing = false;  ///< a frame was sent that changes something
    unsigned resets = 0;    ///< seen ones
    double seconds = 0;
};

/// The same call as words that can be run as they stand, without the backup, which exists then.
std::vector<std::string> repeat_words(const CommonOptions& common, const UpdateOptions& options);

/// Prints and logs the end of an update. Survives the lack of memory with a shorter object.
void report_update(const CommonOptions& common, const UpdateOptions& options, const McuDevice& device,
                   const UpdateReport& report);

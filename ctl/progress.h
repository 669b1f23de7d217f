// SPDX-License-Identifier: MIT
// The progress of an update, for people, on standard error: on a terminal a bar with the time left, elsewhere a line at
// every tenth. Allocates nothing.
#pragma once

#include <cstdint>
#include <ctime>

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"
#include "update/program_pages.h"

class Progress : public PageObserver {
public:
    Progress();

    /// A line of its own. The text is printable.
    void say(const char* text);

    /// Says once that nothing interrupts from here on.
    void begin_changes();

    /// Counts from 0: the marked pages of the region, twice with `verify`.
    void begin_region(const McuDevice& device, int region, bool verify);

    void begin(uint32_t index, uint32_t pages, bool marked) override;
    void failed() override;
    void end() override;
    void verified();

    /// An attempt has failed, and another one may follow.
    void failed_attempt(const Failure& failure);

    /// Pages of the backup, of `total`.
    void begin_backup(uint32_t total);
    void backed_up();

private:
    void start(const char* what, uint32_t total);
    void step();
    void draw(uint32_t percent);
    void end_line();

    bool terminal_;
    const char* what_ = "";
    uint32_t total_ = 0;
    uint32_t done_ = 0;
    uint32_t shown_ = 0;      // percent
    bool marked_ = false;     // the page in work
    bool line_open_ = false;  // the bar is on the line
    timespec began_{};
};

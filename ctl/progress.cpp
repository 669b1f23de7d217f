// SPDX-License-Identifier: MIT
#include "ctl/progress.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>

#include "mcu/flash_geometry.h"
#include "util/clock.h"

namespace {

constexpr uint32_t kBarWidth = 30;
constexpr char kBar[] = "##############################";
static_assert(sizeof kBar == kBarWidth + 1);

/// Whether a line can be written without waiting: a terminal that was stopped with ^S, or a reader that does not read,
/// must not hold up an update. What cannot be written is left out.
bool is_ready() {
    pollfd errors{STDERR_FILENO, POLLOUT, 0};
    return poll(&errors, 1, 0) == 1 && (errors.revents & POLLOUT) != 0;
}

}  // namespace

Progress::Progress() : terminal_(isatty(STDERR_FILENO) == 1) {}

void Progress::end_line() {
    if (line_open_ && is_ready()) {
        std::fputc('\n', stderr);
        line_open_ = false;
    }
}

void Progress::say(const char* text) {
    end_line();
    if (is_ready()) {
        std::fprintf(stderr, "%s\n", text);
    }
}

void Progress::begin_changes() {
    say("the update begins: until it ends, interrupting has no effect; keep the power on");
}

void Progress::start(const char* what, uint32_t total) {
    end_line();
    what_ = what;
    total_ = total;
    done_ = 0;
    shown_ = 0;
    began_ = monotonic_now();
}

void Progress::begin_region(const McuDevice& device, int region, bool verify) {
    uint32_t marked = 0;
    for (int i = 0; i < kProgrammedPages; ++i) {
        marked += device.file_page_map[static_cast<size_t>(region * kRegionPages + i)] != 0 ? 1 : 0;
    }
    start(region == 0 ? "programming region 0" : "programming region 1", verify ? 2 * marked : marked);
}

void Progress::begin_backup(uint32_t total) {
    start("reading the flash", total);
}

void Progress::begin(uint32_t /*index*/, uint32_t /*pages*/, bool marked) {
    marked_ = marked;
}

void Progress::failed() {
    say("a page was not accepted, and is tried again");
}

void Progress::end() {
    if (marked_) {
        step();
    }
}

void Progress::verified() {
    step();
}

void Progress::backed_up() {
    step();
}

void Progress::failed_attempt(const Failure& failure) {
    end_line();
    if (is_ready()) {
        std::fprintf(stderr, "an attempt failed: %s\n", failure.text);
    }
}

void Progress::step() {
    ++done_;
    const uint32_t percent = total_ == 0 ? 100 : done_ * 100 / total_;
    const uint32_t grain = terminal_ ? 1 : 10;
    if (percent / grain != shown_ / grain && is_ready()) {
        draw(percent);
    }
    shown_ = percent;
}

void Progress::draw(uint32_t percent) {
    if (!terminal_) {
        std::fprintf(stderr, "%s: %u %%\n", what_, percent / 10 * 10);
        return;
    }
    const uint32_t left_ms = percent == 0 ? 0 : elapsed_ms(began_, monotonic_now()) / percent * (100 - percent);
    const int filled = static_cast<int>(percent * kBarWidth / 100);
    std::fprintf(stderr, "\r%s [%-30.*s] %3u %%, %u s left ", what_, filled, kBar, percent, (left_ms + 999) / 1000);
    line_open_ = true;
    if (percent == 100) {
        end_line();
    }
}

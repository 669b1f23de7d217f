// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>

#include "ctl/commands.h"
#include "ctl/interruption.h"
#include "ctl/power_output.h"
#include "ctl/report.h"
#include "log/timestamp.h"
#include "util/clock.h"

namespace {

constexpr int64_t kSecondUs = 1'000'000;
constexpr int64_t kLongestSleepUs = 100'000;  // a signal just before a sleep does not end that sleep

int64_t microseconds() {
    const timespec time = monotonic_now();
    return int64_t{time.tv_sec} * kSecondUs + time.tv_nsec / 1000;
}

/// "2026-11-16T21:52:16.123Z"
std::string utc_now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    char stamp[kTimestampSize];
    format_timestamp(static_cast<uint32_t>(time.tv_sec), stamp, sizeof stamp);
    char text[kTimestampSize + 8];
    std::snprintf(text, sizeof text, "%.10sT%s.%03dZ", stamp, stamp + 11, static_cast<int>(time.tv_nsec / 1'000'000));
    return text;
}

/// False when interrupted.
bool sleep_until(int64_t end_us) {
    for (int64_t rest = 0; !interrupted() && (rest = end_us - microseconds()) > 0;) {
        usleep(static_cast<useconds_t>(std::min(rest, kLongestSleepUs)));
    }
    return !interrupted();
}

std::string json_row(const std::string& time, const Power& power, const Failure& failure) {
    JsonObject object;
    object.add("time", json_string(time)).add("reason", json_reason(failure));
    add_power(object, power);
    return object.text() + "\n";
}

/// The exit status, if the output is at its end: a reader that has gone has seen enough, and a signal ends a write that
/// waits for its reader.
std::optional<int> write_row(const std::string& row) {
    errno = 0;
    if (std::fwrite(row.data(), 1, row.size(), stdout) == row.size() && std::fflush(stdout) == 0) {
        return std::nullopt;
    }
    if (errno == EPIPE || interrupted()) {
        return kDone;
    }
    std::fprintf(stderr, "sv_ctl: could not write a row: %s\n", std::strerror(errno));
    return kRefused;
}

/// Takes one reading and writes its row. The exit status, if the watch is at its end.
std::optional<int> watch_once(const CommonOptions& common, const WatchOptions& options) {
    const std::string time = utc_now();
    Power power;
    Failure failure;
    if (!take_reading(common, power, failure)) {
        if (failure.reason == Reason::kInterrupted) {
            return kDone;
        }
        power = Power{};  // what was read before the failure would look like a whole row
    }
    return write_row(options.csv ? time + "," + reason_word(failure.reason) + csv_values(power) + "\n"
                                 : json_row(time, power, failure));
}

}  // namespace

int run_watch_command(const CommonOptions& common, const WatchOptions& options) {
    catch_interruptions();
    if (options.csv) {
        if (const auto status = write_row("time,reason" + csv_names() + "\n")) {
            return *status;
        }
    }
    const int64_t begin = microseconds();
    const int64_t interval = std::llround(options.interval * static_cast<double>(kSecondUs));
    int64_t turn = 0;
    for (uint64_t rows = 0; options.count == 0 || rows < options.count; ++rows) {
        if (!sleep_until(begin + turn * interval)) {
            break;
        }
        if (const auto status = watch_once(common, options)) {
            return *status;
        }
        // The turns that have passed during the reading are left out.
        turn = std::max(turn + 1, (microseconds() - begin + interval - 1) / interval);
    }
    return kDone;
}

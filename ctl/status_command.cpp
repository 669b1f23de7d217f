// SPDX-License-Identifier: MIT
#include "ctl/commands.h"
#include "ctl/power_output.h"
#include "ctl/report.h"

namespace {

std::string status_object(const Power& power, const Failure& failure) {
    const bool is_done = failure.reason == Reason::kNone;
    JsonObject object;
    object.add("result", json_string(is_done ? "done" : "refused"))
        .add("reason", json_reason(failure))
        .add("retry", may_retry(failure.reason) ? "true" : "false")
        .add("message", json_string(failure.text));
    add_power(object, power);
    return object.text() + "\n";
}

}  // namespace

int run_status_command(const CommonOptions& common) {
    Power power;
    Failure failure;
    const bool is_done = take_reading(common, power, failure);
    const bool was_asked = is_done || failure.reason == Reason::kNoAnswer || failure.reason == Reason::kBusyMcu;
    int status = kDone;
    if (common.json) {
        status = print_result(status_object(power, failure));
    } else if (was_asked) {
        status = print_result(power_lines(power));
    }
    if (is_done) {
        return status;
    }
    CommonOptions plain = common;
    plain.json = false;  // the object is printed already
    return report_failure(plain, failure);
}

// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstring>

#include "ctl/commands.h"
#include "ctl/power_output.h"
#include "ctl/report.h"
#include "util/new_file.h"
#include "util/process.h"

namespace {

bool replace_file(const std::string& path, const std::string& text, Failure& failure) {
    const SignalPause pause;  // no temporary file may remain
    NewFile file;
    if (file.create(path.c_str(), Existing::kReplaced) && file.write(text.data(), text.size()) && file.put_in_place()) {
        return true;
    }
    const int error = errno;
    const char* text_of_error = error == ELOOP ? "it is a link" : std::strerror(error);
    return fail(failure, reason_not_written(error, Reason::kOutputFailed), "cannot replace %s: %s", path.c_str(),
                text_of_error);
}

}  // namespace

int run_metrics_command(const CommonOptions& common, const MetricsOptions& options) {
    Power power;
    Failure failure;
    const bool is_up = take_reading(common, power, failure);
    // Written after a failure, too: the file before would look like a board that is well.
    const std::string text = power_metrics(power, failure);
    int status = kDone;
    if (options.output.empty()) {
        status = print_result(text);
    } else {
        Failure output;
        if (!replace_file(options.output, text, output)) {
            return report_failure(common, output);
        }
    }
    if (!is_up) {
        return report_failure(common, failure);
    }
    return common.json ? print_result(JsonObject()
                                          .add("result", json_string("done"))
                                          .add("reason", "null")
                                          .add("retry", "false")
                                          .text() +
                                      "\n")
                       : status;
}

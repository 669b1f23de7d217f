// SPDX-License-Identifier: MIT
#include "ctl/report.h"

#include <cstdio>

#include "util/json.h"

std::string hex4(unsigned number) {
    char text[12];
    std::snprintf(text, sizeof text, "%04x", number);
    return text;
}

std::string json_reason(const Failure& failure) {
    return failure.reason == Reason::kNone ? "null" : json_string(reason_word(failure.reason));
}

int report_failure(const CommonOptions& options, const Failure& failure) {
    if (options.json) {
        const JsonObject object = JsonObject()
                                      .add("result", json_string("refused"))
                                      .add("reason", json_string(reason_word(failure.reason)))
                                      .add("retry", may_retry(failure.reason) ? "true" : "false")
                                      .add("message", json_string(failure.text));
        // Result ignored: the status reports the failure, too.
        static_cast<void>(print_result(object.text() + "\n"));
    }
    std::fprintf(stderr, "sv_ctl: %s\n", failure.text);
    return failure.reason == Reason::kHeldLock ? kLocked : kRefused;
}

int print_result(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return kDone;
    }
    std::fputs("sv_ctl: could not write the result\n", stderr);
    return kRefused;
}

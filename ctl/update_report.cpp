// SPDX-License-Identifier: MIT
#include "ctl/update_report.h"

#include <syslog.h>

#include <cstdio>
#include <new>

#include "ctl/advice.h"
#include "ctl/report.h"
#include "util/json.h"

namespace {

const char* result_word(const UpdateReport& report, bool check) {
    switch (report.status) {
        case kDone: return check ? "would-update" : "done";
        case kCurrent: return "current";
        case kFailed: return "failed";
        case kUnconfirmed: return "unconfirmed";
        case kLocked: return "locked";
        default: return "refused";
    }
}

bool is_success(const UpdateReport& report) {
    return report.status == kDone || report.status == kCurrent;
}

/// The same call would find its own backup, and refuse: the advice leaves the backup out.
bool same_call_may_succeed(const UpdateReport& report) {
    return !is_success(report) && may_retry(report.failure.reason) && !report.backed_up;
}

std::string text_or_null(const char* text) {
    return text == nullptr || *text == '\0' ? "null" : json_string(text);
}

std::string json_bool(bool value) {
    return value ? "true" : "false";
}

/// What both regions hold and which one runs; null when it is not known.
std::string mcu_json(const McuInfo& info) {
    if (info.hwid == 0) {
        return "null";
    }
    std::vector<std::string> regions;
    for (const int region : {0, 1}) {
        regions.push_back(JsonObject()
                              .add("swid", json_string(hex4(region_swid(info, region))))
                              .add("crc", json_string(hex4(region_crc(info, region))))
                              .text());
    }
    return JsonObject().add("running", std::to_string(info.active_region)).add("regions", json_array(regions)).text();
}

std::string file_json(const UpdateOptions& options, const McuDevice& device, const UpdateReport& report) {
    JsonObject file;
    file.add("name", json_string(options.file));
    if (report.loaded) {
        file.add("version", text_or_null(report.notes.version.c_str()))
            .add("swid", json_string(hex4(device.file_swid)))
            .add("crc", json_strings({hex4(device.file_crc0), hex4(device.file_crc1)}))
            .add("sha256", json_string(report.notes.sha256));
    }
    return file.text();
}

std::string message_of(const UpdateReport& report, bool check) {
    if (!is_success(report)) {
        return report.failure.text;
    }
    const McuInfo& info = report.after;
    if (check && report.status == kDone) {
        return "region " + std::to_string(1 - info.active_region) + " would be made to run (" + row_name(*report.row) +
               ")";
    }
    return "region " + std::to_string(info.active_region) + " runs software id " + hex4(info.swid) + ", checksum " +
           hex4(region_crc(info, info.active_region));
}

void print_json(const CommonOptions& common, const UpdateOptions& options, const McuDevice& device,
                const UpdateReport& report) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f", report.seconds);
    const McuInfo& known = report.after.hwid != 0 ? report.after : report.before;
    const bool advise = report.status == kFailed || report.status == kUnconfirmed;
    JsonObject object;
    object.add("result", json_string(result_word(report, options.check)))
        .add("exit", std::to_string(report.status))
        .add("reason", is_success(report) ? "null" : json_string(reason_word(report.failure.reason)))
        .add("retry", json_bool(same_call_may_succeed(report)))
        .add("message", json_string(message_of(report, options.check)))
        .add("advice", advise ? json_strings(repeat_words(common, options)) : "null")
        .add("check", json_bool(options.check))
        .add("row", report.row == nullptr ? "null" : json_string(row_name(*report.row)))
        .add("changing", json_bool(report.changing))
        .add("resets", std::to_string(report.resets))
        .add("file", file_json(options, device, report))
        .add("serial", known.hwid == 0 ? "null" : json_string(known.serial))
        .add("hwid", known.hwid == 0 ? "null" : json_string(hex4(known.hwid)))
        .add("before", mcu_json(report.before))
        .add("after", mcu_json(report.after))
        .add("next_start", text_or_null(report.next_start))
        .add("power", text_or_null(report.power))
        .add("backup", report.backed_up ? json_string(options.backup) : "null")
        .add("seconds", seconds)
        .add("version", json_string(SV_VERSION));
    // Result ignored: the exit status is that of the update, whether or not somebody reads this.
    static_cast<void>(print_result(object.text() + "\n"));
}

void print_text(const CommonOptions& common, const UpdateOptions& options, const UpdateReport& report) {
    if (is_success(report)) {
        static_cast<void>(print_result(std::string(result_word(report, options.check)) + ": " +
                                       message_of(report, options.check) + "\n"));
        if (report.next_start != nullptr && std::string_view(report.next_start) == "unknown") {
            std::fputs("the other region may be enabled as well, and the MCU may start it\n", stderr);
        }
        return;
    }
    std::fprintf(stderr, "sv_ctl: %s: %s\n", result_word(report, options.check), report.failure.text);
    if (report.status == kFailed || report.status == kUnconfirmed) {
        std::fprintf(stderr, "%srepeat it: %s\n",
                     report.status == kFailed ? "" : "keep the power on, do not reset the MCU, and ",
                     shell_line(repeat_words(common, options)).c_str());
        std::fputs("an MCU that stays silent after its power was cut needs its programming adapter\n", stderr);
    }
}

}  // namespace

std::vector<std::string> repeat_words(const CommonOptions& common, const UpdateOptions& options) {
    std::vector<std::string> words = ctl_words(common, "update");
    const std::pair<bool, const char*> flags[] = {{common.json, "--json"},
                                                  {options.sure, "--sure"},
                                                  {!options.verify, "--no-verify"},
                                                  {options.any_content, "--any-content"},
                                                  {options.any_power, "--any-power"}};
    for (const auto& [given, flag] : flags) {
        if (given) {
            words.emplace_back(flag);
        }
    }
    words.insert(words.end(), {"--", options.file});
    return words;
}

void report_update(const CommonOptions& common, const UpdateOptions& options, const McuDevice& device,
                   const UpdateReport& report) {
    const char* reason = is_success(report) ? "" : reason_word(report.failure.reason);
    syslog(is_success(report) ? LOG_NOTICE : LOG_ERR, "update %s%s%s%s%s", result_word(report, options.check),
           *reason != '\0' ? ", " : "", reason, *reason != '\0' ? ": " : "",
           is_success(report) ? "" : report.failure.text);
    bool owes_object = common.json;
    try {
        if (common.json) {
            print_json(common, options, device, report);
            owes_object = false;
        }
        if (!common.json || !is_success(report)) {
            print_text(common, options, report);
        }
    } catch (const std::bad_alloc&) {
        if (owes_object) {
            std::printf("{\"result\":\"%s\",\"exit\":%d,\"reason\":%s%s%s,\"retry\":%s}\n",
                        result_word(report, options.check), report.status, *reason != '\0' ? "\"" : "",
                        *reason != '\0' ? reason : "null", *reason != '\0' ? "\"" : "",
                        same_call_may_succeed(report) ? "true" : "false");
            std::fflush(stdout);
        }
    }
}

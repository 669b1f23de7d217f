// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ctl/advice.h"
#include "ctl/commands.h"
#include "ctl/host_buses.h"
#include "ctl/identify.h"
#include "ctl/power_source.h"
#include "ctl/report.h"
#include "util/json.h"
#include "util/printable.h"

namespace {

/// What one row found.
struct Finding {
    std::string detail;               ///< of a row that is ok
    Failure failure;                  ///< of one that failed
    std::string remedy;               ///< what a person does about it
    std::vector<std::string> advice;  ///< the command to run then
};

struct Examination {
    const CommonOptions& options;
    Session session;
    Failure not_opened;
    Failure not_identified;
};

bool advise(Finding& finding, const char* remedy, std::vector<std::string> advice) {
    finding.remedy = remedy;
    finding.advice = std::move(advice);
    return false;
}

/// Advises to look at another bus; if there is none, to do the other thing.
bool advise_other_bus(const Examination& all, Finding& finding, const char* otherwise,
                      std::vector<std::string> advice) {
    for (const HostBus& bus : host_buses()) {
        if (bus.has_node && std::to_string(bus.number) != all.options.bus) {
            CommonOptions other = all.options;
            other.bus = std::to_string(bus.number);
            return advise(finding, "look at another bus", ctl_words(other, "doctor"));
        }
    }
    return advise(finding, otherwise, std::move(advice));
}

std::string list_of_buses(const std::vector<HostBus>& buses) {
    std::string list;
    for (const HostBus& bus : buses) {
        list += (list.empty() ? "" : ", ") + std::to_string(bus.number) + " (" + bus.name + ")";
    }
    return list.empty() ? "none" : list;
}

bool check_node(Examination& all, Finding& finding) {
    finding.detail = "/dev/i2c-" + all.options.bus;
    if (all.session.open(all.options, all.not_opened) || all.not_opened.reason == Reason::kNoPermission) {
        return true;
    }
    const std::vector<HostBus> buses = host_buses();
    fail(finding.failure, Reason::kNoBus, "%s; buses of this host: %s", all.not_opened.text,
         list_of_buses(buses).c_str());
    for (const HostBus& bus : buses) {
        if (bus.has_node) {
            return advise_other_bus(all, finding, "load the driver of this bus", ctl_words(all.options, "doctor"));
        }
    }
    return advise(finding, "load the module that makes /dev/i2c-N", {"sudo", "modprobe", "i2c-dev"});
}

bool check_rights(Examination& all, Finding& finding) {
    finding.detail = "reading and writing";
    if (all.not_opened.reason == Reason::kNone) {
        return true;
    }
    finding.failure = all.not_opened;
    std::vector<std::string> words = ctl_words(all.options, "doctor");
    words.insert(words.begin(), "sudo");
    return advise(finding, "become a member of the group i2c, and log in again; or once as root", std::move(words));
}

/// What an adapter reports when the bus itself is in trouble. A missing acknowledge is ENXIO, EREMOTEIO or EIO.
bool is_trouble_of_the_bus(int error) {
    return error == ETIMEDOUT || error == EBUSY || error == EAGAIN || error == EPROTO;
}

bool check_adapter(Examination& all, Finding& finding) {
    finding.detail = "I2C messages";
    unsigned long functions = 0;
    if (!i2c_functions(all.session.bus, functions) || (functions & I2C_FUNC_I2C) == 0) {
        fail(finding.failure, Reason::kBadAdapter,
             "the adapter of /dev/i2c-%s cannot send I2C messages, only parts of SMBus", all.options.bus.c_str());
        return advise_other_bus(all, finding, "see what the adapter can do", {"i2cdetect", "-F", all.options.bus});
    }
    if (acknowledges(all.session.device) || !is_trouble_of_the_bus(errno)) {
        return true;
    }
    fail(finding.failure, Reason::kStuckBus, "no transfer ends on /dev/i2c-%s, a device may hold a line low: %s",
         all.options.bus.c_str(), std::strerror(errno));
    return advise(finding, "cut the power of the whole board for a moment, then", ctl_words(all.options, "doctor"));
}

bool check_driver(Examination& all, Finding& finding) {
    const int bus = all.session.bus.bus_number;
    const std::string driver = driver_at(bus, all.options.address);
    if (driver.empty()) {
        return true;
    }
    char name[16];
    std::snprintf(name, sizeof name, "%d-%04x", bus, all.options.address);
    fail(finding.failure, Reason::kHeldAddress, "the kernel driver %s holds address 0x%02x of /dev/i2c-%d",
         driver.c_str(), all.options.address, bus);
    return advise(
        finding, "take the address from the driver",
        {"sudo", "sh", "-c", std::string("echo ") + name + " >/sys/bus/i2c/devices/" + name + "/driver/unbind"});
}

bool check_address(Examination& all, Finding& finding) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02x", all.options.address);
    finding.detail = text;
    if (!check_driver(all, finding)) {
        return false;
    }
    if (identify(all.session.device, all.not_identified)) {
        return true;
    }
    switch (all.not_identified.reason) {
        case Reason::kWrongAddress: {
            finding.failure = all.not_identified;
            CommonOptions usual = all.options;
            usual.address = kMcuAddress;
            return advise(finding, "use its address", ctl_words(usual, "doctor"));
        }
        case Reason::kNoAnswer:
            finding.failure = all.not_identified;
            return advise_other_bus(all, finding, "cut the power of the whole board for a moment, then",
                                    ctl_words(all.options, "doctor"));
        default: return true;
    }
}

bool check_frame(Examination& all, Finding& finding) {
    const McuDevice& device = all.session.device;
    char text[128];
    std::snprintf(text, sizeof text, "hardware id %04x, region %d runs software id %04x", device.hwid,
                  device.active_region, device.swid);
    finding.detail = text;
    finding.failure = all.not_identified;
    if (finding.failure.reason == Reason::kNone && device.version1_crc_ok == 0) {
        fail(finding.failure, Reason::kWrongHardware,
             "the checksum of the identity is wrong: serial number and production time cannot be trusted");
    }
    switch (finding.failure.reason) {
        case Reason::kNone: return true;
        case Reason::kBusyMcu:
            return advise(finding, "see who else uses the bus",
                          {"sudo", "fuser", "--verbose", "/dev/i2c-" + all.options.bus});
        default: return advise(finding, "see all that the MCU reports of itself", tool_words(all.options, "--version"));
    }
}

bool check_power(Examination& all, Finding& finding) {
    const char* source = "";
    if (find_power_source(all.session.device, source, finding.failure)) {
        finding.detail = source;
        return true;
    }
    return advise(finding, "connect a source to XLR, link or PoE, then", ctl_words(all.options, "status"));
}

struct DoctorRow {
    const char* name;
    bool takes_lock;  ///< before its check: the first row that uses the bus
    bool (*check)(Examination& all, Finding& finding);
};

constexpr DoctorRow kRows[] = {
    {"node", false, check_node},       {"rights", false, check_rights}, {"adapter", true, check_adapter},
    {"address", false, check_address}, {"frame", false, check_frame},   {"power", false, check_power},
};

/// A row as it is reported.
struct Result {
    const char* name;
    const char* state;
    std::string text;
};

std::string json_text(const std::vector<Result>& results, const Finding& finding) {
    std::vector<std::string> rows;
    for (const Result& result : results) {
        rows.push_back(JsonObject()
                           .add("row", json_string(result.name))
                           .add("state", json_string(result.state))
                           .add("text", json_string(result.text))
                           .text());
    }
    const Failure& failure = finding.failure;
    JsonObject object;
    object.add("result", json_string(failure.reason == Reason::kNone ? "ok" : "failed"))
        .add("reason", json_reason(failure))
        .add("retry", may_retry(failure.reason) ? "true" : "false")
        .add("message", json_string(failure.text))
        .add("rows", json_array(rows))
        .add("remedy", json_string(finding.remedy))
        .add("advice", json_strings(finding.advice));
    return object.text() + "\n";
}

std::string plain_text(const std::vector<Result>& results, const Finding& finding) {
    std::string text;
    for (const Result& result : results) {
        char start[32];
        std::snprintf(start, sizeof start, "%-8s %-9s", result.name, result.state);
        text += start + (result.text.empty() ? "" : " " + printable(result.text)) + "\n";
    }
    if (!finding.remedy.empty()) {
        text += "what to do: " + finding.remedy + ": " + shell_line(finding.advice) + "\n";
    }
    return text;
}

}  // namespace

int run_doctor_command(const CommonOptions& common) {
    Examination all{common, {}, {}, {}};
    std::vector<Result> results;
    Finding last;
    for (const DoctorRow& row : kRows) {
        if (last.failure.reason != Reason::kNone) {
            results.push_back({row.name, "not tried", ""});
            continue;
        }
        Failure not_locked;
        const timespec start = monotonic_now();
        if (row.takes_lock &&
            (!all.session.lock.take(common.lock.c_str(), Sharing::kShared, common.lock_wait, not_locked) ||
             !all.session.take_turn(start, common.lock_wait, not_locked))) {
            return report_failure(common, not_locked);
        }
        last = {};
        const bool ok = row.check(all, last);
        results.push_back({row.name, ok ? "ok" : "failed", ok ? last.detail : last.failure.text});
    }
    const int written = print_result(common.json ? json_text(results, last) : plain_text(results, last));
    return last.failure.reason == Reason::kNone ? written : kRefused;
}

// SPDX-License-Identifier: MIT
#include "ctl/command_line.h"

#include <syslog.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <new>

#include "ctl/commands.h"
#include "ctl/report.h"
#include "util/json.h"
#include "util/parse_number.h"
#include "util/printable.h"
#include "util/process.h"

namespace {

/// Everything that the command line can say.
struct Parsed {
    CommonOptions common;
    UpdateOptions update;
    WatchOptions watch;
    MetricsOptions metrics;
    int (*run)(const Parsed& parsed) = nullptr;
};

std::string check_bus(const std::string& text) {
    int64_t number = 0;
    const bool good = !text.empty() && parse_int(text.c_str(), number) && number >= 0 && number <= INT32_MAX;
    return good ? "" : "the number of a bus, not '" + text + "'";
}

std::string check_address(const std::string& text) {
    int64_t number = 0;
    const bool good = !text.empty() && parse_int(text.c_str(), number) && number >= 0x03 && number <= 0x77;
    return good ? "" : "an address from 0x03 to 0x77, not '" + text + "'";
}

auto seconds_from(double least) {
    return [least](const std::string& text) -> std::string {
        float number = 0;
        // NaN is not inside either bound.
        const bool good = !text.empty() && parse_float(text.c_str(), number) && number >= least && number <= 86400;
        char bounds[64];
        std::snprintf(bounds, sizeof bounds, "seconds from %g to 86400", least);
        return good ? "" : std::string(bounds) + ", not '" + text + "'";
    };
}

std::string check_count(const std::string& text) {
    int64_t number = 0;
    const bool good = !text.empty() && parse_int(text.c_str(), number) && number >= 1 && number < INT64_MAX;
    return good ? "" : "a number of readings from 1, not '" + text + "'";
}

void add_common(CLI::App& app, CommonOptions& common) {
    app.add_option("--bus", common.bus, "Number of the I2C bus")
        ->type_name("N")
        ->check(check_bus)
        ->capture_default_str();
    app.add_option_function<std::string>(
           "--addr",
           [&common](const std::string& text) {
               int64_t number = 0;
               parse_int(text.c_str(), number);
               common.address = static_cast<uint8_t>(number);
           },
           "I2C address of the MCU [0x08]")
        ->type_name("ADDRESS")
        ->check(check_address);
    app.add_option("--lock", common.lock, "Lock that the users of the MCU share")
        ->type_name("FILE")
        ->capture_default_str();
    app.add_option("--lock-wait", common.lock_wait, "Longest wait for the lock")
        ->type_name("SECONDS")
        ->check(seconds_from(0))
        ->capture_default_str();
    app.add_flag("--json", common.json, "The result as JSON");
}

CLI::App* add_command(CLI::App& app, Parsed& parsed, const char* name, const char* help,
                      int (*run)(const Parsed& parsed)) {
    CLI::App* command = app.add_subcommand(name, help);
    // Common options may stand before and after the name of the command.
    command->fallthrough();
    command->callback([&parsed, run] { parsed.run = run; });
    return command;
}

void add_update(CLI::App& app, Parsed& parsed) {
    UpdateOptions& options = parsed.update;
    CLI::App* update = add_command(app, parsed, "update", "Update the firmware of the MCU, and see it run",
                                   [](const Parsed& all) { return run_update_command(all.common, all.update); });
    update->add_option("FILE", options.file, "Update file")->required();
    update->add_option("--backup", options.backup, "Read the whole flash back into a new file first")
        ->type_name("FILE");
    update->add_flag("--check", options.check, "Change nothing; report what would be done");
    update->add_flag("--sure", options.sure, "If the firmware runs already, prove that it also starts");
    update->add_flag_callback(
        "--no-verify", [&options] { options.verify = false; }, "Do not read the programmed pages back");
    update->add_flag("--any-content", options.any_content, "Accept a region that begins without a jump into itself");
    update->add_flag("--any-power", options.any_power, "Go on although no source of power is seen");
}

void add_readers(CLI::App& app, Parsed& parsed) {
    add_command(app, parsed, "status", "Report the power state; changes nothing on the MCU",
                [](const Parsed& all) { return run_status_command(all.common); });
    CLI::App* watch = add_command(app, parsed, "watch", "Report measurements again and again, a row for each reading",
                                  [](const Parsed& all) { return run_watch_command(all.common, all.watch); });
    watch->add_option("--interval", parsed.watch.interval, "From one reading to the next, from 0.1")
        ->type_name("SECONDS")
        ->check(seconds_from(0.1))
        ->capture_default_str();
    watch->add_option("--count", parsed.watch.count, "Number of readings [until interrupted]")
        ->type_name("N")
        ->check(check_count);
    watch->add_flag("--csv", parsed.watch.csv, "Comma-separated values with a head line");
    CLI::App* metrics = add_command(app, parsed, "metrics", "Report the measurements as Prometheus text",
                                    [](const Parsed& all) { return run_metrics_command(all.common, all.metrics); });
    metrics->add_option("--output", parsed.metrics.output, "Replace this file [standard output]")->type_name("FILE");
    add_command(app, parsed, "doctor", "Find out why the MCU does not answer",
                [](const Parsed& all) { return run_doctor_command(all.common); });
}

bool asks_for_json(int argc, const char* const* argv) {
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            return true;
        }
    }
    return false;
}

/// What --json does not go with: exactly one object is printed.
void check_json(const CLI::App& app, const Parsed& parsed) {
    if (parsed.common.json && parsed.watch.csv) {
        throw CLI::ExcludesError("--csv", "--json");
    }
    if (parsed.common.json && app.got_subcommand("metrics") && parsed.metrics.output.empty()) {
        throw CLI::RequiresError("metrics --json", "--output");
    }
}

int report_usage(const std::string& message, bool json) {
    if (json) {
        const JsonObject object = JsonObject()
                                      .add("result", json_string("usage"))
                                      .add("reason", json_string(reason_word(Reason::kBadUsage)))
                                      .add("retry", "false")
                                      .add("message", json_string(message));
        static_cast<void>(print_result(object.text() + "\n"));
    }
    std::fprintf(stderr, "sv_ctl: %s\nTry 'sv_ctl --help'.\n", printable(message).c_str());
    return kUsage;
}

int parse_and_run(int argc, const char* const* argv) {
    CLI::App app("Updates the firmware of the power MCU safely, and reports its state", "sv_ctl");
    app.set_version_flag("--version", "sv_ctl " SV_VERSION);
    app.require_subcommand(1);
    Parsed parsed;
    add_common(app, parsed.common);
    add_update(app, parsed);
    add_readers(app, parsed);
    try {
        app.parse(argc, argv);
        check_json(app, parsed);
    } catch (const CLI::Success& success) {
        return app.exit(success) == 0 && std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? kDone : kRefused;
    } catch (const CLI::ParseError& error) {
        const std::vector<std::string> unknown = app.remaining();
        const bool names_none = app.get_subcommands().empty() && !unknown.empty();
        return report_usage(names_none ? "unknown command or option: " + unknown.front() : error.what(),
                            asks_for_json(argc, argv));
    }
    return parsed.run(parsed);
}

}  // namespace

int run_ctl(int argc, const char* const* argv) {
    if (!reserve_standard_descriptors()) {
        return kRefused;
    }
    ignore_output_signals();
    openlog("sv_ctl", LOG_NDELAY, LOG_DAEMON);
    try {
        return parse_and_run(argc, argv);
    } catch (const std::bad_alloc&) {
        // Of a fixed text: there is no memory for another one. An update that has begun does not get here.
        if (asks_for_json(argc, argv)) {
            std::fputs(
                "{\"result\":\"refused\",\"reason\":\"no-memory\",\"retry\":true,\"message\":\"out of memory\"}\n",
                stdout);
            std::fflush(stdout);
        }
        std::fputs("sv_ctl: out of memory\n", stderr);
        return kRefused;
    }
}

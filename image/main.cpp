// SPDX-License-Identifier: MIT
// The command line of sv_image.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "image/commands.h"
#include "image/host_file.h"
#include "util/process.h"

namespace {

constexpr char kAnyFile[] = "Update file, read-back or firmware; - is standard input";

enum ExitStatus { kGood = 0, kBad = 1, kTrouble = 2 };  // kTrouble: diff only

struct Outcome {
    int status = kGood;
    int trouble = kBad;  ///< the status if writing the report fails
    std::string error;
};

int exit_status(bool good) {
    return good ? kGood : kBad;
}

/// Adds an option that may be repeated. It has no type, like those below: CLI11 changes some texts, such as "{}", in
/// typed lists.
CLI::Option* add_list(CLI::App& app, const char* name, const char* type, const char* help) {
    CLI::Option* list = app.add_option(name)->description(help);
    return list->type_name(type)->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

CLI::Option* add_one(CLI::App& app, const char* name, const char* type, const char* help) {
    return app.add_option(name)->description(help)->type_name(type)->expected(1);
}

std::optional<std::string> given_text(const CLI::Option& option) {
    return option.count() == 0 ? std::nullopt : std::optional(option.results()[0]);
}

void add_output(CLI::App& app, std::string& output, Replace& replace, const char* help, const char* force_help) {
    app.add_option("-o,--output", output, help)->type_name("FILE")->required();
    app.add_flag_callback(
        "--force", [&replace] { replace = Replace::kYes; }, force_help);
}

CLI::Option* add_format(CLI::App& app, std::string& format) {
    return app.add_option("--format", format, "Format of the firmware, where its content misleads")
        ->type_name("elf|hex|srec|raw")
        ->check(CLI::IsMember({"elf", "hex", "srec", "raw"}));
}

void add_pack(CLI::App& app, PackOptions& options, Outcome& outcome) {
    CLI::App* pack = app.add_subcommand("pack", "Make an update file from the firmware for both regions");
    const CLI::Option* files[] = {
        add_one(*pack, "FILE", "", "ELF, Intel HEX or S-records: their addresses name the region, or both"),
        add_one(*pack, "FILE2", "", "The same for the other region")};
    const CLI::Option* regions[] = {add_one(*pack, "--region0", "FILE", "Firmware for region 0, of any format"),
                                    add_one(*pack, "--region1", "FILE", "Firmware for region 1, of any format")};
    add_format(*pack, options.format);
    pack->add_option("--swid", options.swid, "Software id, 1 to 0xFFFF")->required();
    pack->add_flag("--mark-all", options.mark_all, "Program every page, not only pages with a byte other than 0xFF");
    CLI::Option* version = add_one(*pack, "--fw-version", "TEXT", "Version of the firmware, stored in the file");
    CLI::Option* hwids = add_list(*pack, "--hwid", "ID", "Hardware id that the file is for, may be repeated");
    CLI::Option* build = add_one(*pack, "--build", "TEXT", "Origin of the firmware, stored in the file");
    CLI::Option* notes = add_list(*pack, "--note", "TEXT", "\"key: value\" for the start of the file, may be repeated");
    pack->add_flag_callback(
        "--no-sha256", [&options] { options.name_sha256 = false; }, "Do not store the SHA-256 in the file");
    pack->add_option("--prefix-file", options.prefix_file, "Bytes for the start of the file, before the notes")
        ->type_name("FILE");
    add_output(*pack, options.output, options.replace, "Update file to write, or -",
               "Replace an existing file, and overrule the checks of the firmware");
    pack->callback([&options, &outcome, files, regions, version, hwids, build, notes] {
        for (int i = 0; i < kRegions; ++i) {
            const std::vector<std::string> file = files[i]->results();
            options.files.insert(options.files.end(), file.begin(), file.end());
            options.region_files[i] = given_text(*regions[i]).value_or("");
        }
        options.version = given_text(*version);
        options.hwids = hwids->results();
        options.build = given_text(*build);
        options.notes = notes->results();
        outcome.status = exit_status(run_pack(options, outcome.error));
    });
}

void add_info(CLI::App& app, std::string& format, Outcome& outcome) {
    CLI::App* info =
        app.add_subcommand("info", "Show every field of an update file, or what firmware puts into the flash");
    CLI::Option* file = add_one(*info, "FILE", "", kAnyFile)->required();
    add_format(*info, format);
    const CLI::Option* json = info->add_flag("--json")->description("One JSON object instead of lines");
    info->callback([&format, &outcome, file, json] {
        const InfoForm form = json->count() > 0 ? InfoForm::kJson : InfoForm::kText;
        outcome.status = exit_status(run_info(file->results()[0], format, form, outcome.error));
    });
}

/// The file names, unchanged: CLI11 splits "[a,b]" into two. No option can stand between them, since `verify` has none.
std::vector<std::string> files_to_verify(const std::vector<std::string>& words) {
    std::vector<std::string> files(std::find(words.begin() + 1, words.end(), "verify") + 1, words.end());
    if (const auto mark = std::find(files.begin(), files.end(), "--"); mark != files.end()) {
        files.erase(mark);
    }
    return files;
}

void add_verify(CLI::App& app, const std::vector<std::string>& words, Outcome& outcome) {
    CLI::App* verify = app.add_subcommand("verify", "Check that the tool loads these files and the MCU accepts them");
    verify->add_option("FILE", "Update files; - is standard input")->required()->expected(1, -1)->allow_extra_args();
    verify->callback([&] { outcome.status = exit_status(run_verify(files_to_verify(words))); });
}

void add_extract(CLI::App& app, ExtractOptions& options, Outcome& outcome) {
    CLI::App* extract = app.add_subcommand("extract", "Write one region of a file to a file");
    extract->add_option("--region", options.region, "0 or 1")->required()->check(CLI::IsMember({0, 1}));
    add_format(*extract, options.format);
    add_output(*extract, options.output, options.replace, "File for the 0x20000 bytes of the region, or -",
               "Replace an existing file");
    CLI::Option* file = add_one(*extract, "FILE", "", kAnyFile)->required();
    extract->callback([&options, &outcome, file] {
        options.file = file->results()[0];
        outcome.status = exit_status(run_extract(options, outcome.error));
    });
}

void add_diff(CLI::App& app, std::optional<int>& region, Outcome& outcome) {
    CLI::App* diff = app.add_subcommand("diff", "Compare two files (exit status 1: they differ, 2: error)");
    diff->add_option("--region", region, "Compare only region 0 or 1, to which raw binaries then belong")
        ->check(CLI::IsMember({0, 1}));
    CLI::Option* a = add_one(*diff, "A", "", kAnyFile)->required();
    CLI::Option* b = add_one(*diff, "B", "", kAnyFile)->required();
    diff->callback([&region, &outcome, a, b] {
        const DiffResult result = run_diff(a->results()[0], b->results()[0], region, outcome.error);
        outcome.status = result == DiffResult::kSame ? kGood : result == DiffResult::kDifferent ? kBad : kTrouble;
        outcome.trouble = kTrouble;
    });
}

/// A full disk may show only when the buffer is written.
void flush_report(Outcome& outcome) {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        outcome.status = outcome.trouble;
        outcome.error = "could not write the report";
    }
}

}  // namespace

int main(int argc, char** argv) {
    reserve_standard_descriptors();
    // A write beyond the file size limit then fails, and the temporary file is removed.
    std::signal(SIGXFSZ, SIG_IGN);
    CLI::App app("Makes, shows, checks and compares update files for the power MCU", "sv_image");
    app.set_version_flag("--version", "sv_image " SV_VERSION);
    app.require_subcommand(1);
    PackOptions pack_options;
    ExtractOptions extract_options;
    std::string info_format;
    std::optional<int> diff_region;
    const std::vector<std::string> words(argv, argv + argc);
    Outcome outcome;
    add_pack(app, pack_options, outcome);
    add_info(app, info_format, outcome);
    add_verify(app, words, outcome);
    add_extract(app, extract_options, outcome);
    add_diff(app, diff_region, outcome);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        outcome.status = app.exit(success);
    } catch (const CLI::ParseError& error) {
        print_message(error.what());
        std::fputs("Try 'sv_image --help'.\n", stderr);
        return error.get_exit_code();
    }
    flush_report(outcome);
    if (!outcome.error.empty()) {
        print_message(outcome.error);
    }
    return outcome.status;
}

// SPDX-License-Identifier: MIT
// The command line of sv_image.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <new>
#include <optional>
#include <set>
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
    bool has_output = true;  ///< standard output was open at the start; by now a closed one leads to /dev/null
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

/// Adds -o, --replace, which asks for Replace::kYes, and --force, which does so too and is returned.
CLI::Option* add_output(CLI::App& app, std::string& output, Replace& replace, const Outcome& outcome,
                        const char* force_help) {
    CLI::Option* option = app.add_option("-o,--output", output, "File to write; - is standard output");
    option->type_name("FILE")->required()->check([&outcome](const std::string& path) {
        return path == "-" && !outcome.has_output ? "standard output is closed" : "";
    });
    const auto ask = [&replace] { replace = Replace::kYes; };
    app.add_flag_callback("--replace", ask, "Replace an existing file");
    return app.add_flag_callback("--force", ask, force_help);
}

CLI::Option* add_format(CLI::App& app) {
    CLI::Option* format = add_one(app, "--format", "FORMAT", "Format of firmware, where its content misleads");
    return format->check(CLI::IsMember(std::set<std::string>{"elf", "hex", "srec", "raw"}));
}

CLI::Option* add_region(CLI::App& app, const char* help) {
    return add_one(app, "--region", "N", help)->check(CLI::IsMember(std::set<std::string>{"0", "1"}));
}

std::optional<int> given_region(const CLI::Option& option) {
    const std::optional<std::string> text = given_text(option);
    return text ? std::optional<int>(*text == "1" ? 1 : 0) : std::nullopt;
}

void add_pack(CLI::App& app, PackOptions& options, Outcome& outcome) {
    CLI::App* pack = app.add_subcommand("pack", "Make an update file from the firmware for both regions");
    const CLI::Option* files[] = {
        add_one(*pack, "FILE", "",
                "ELF, Intel HEX or S-records: the addresses name the region, or both; - is standard input"),
        add_one(*pack, "FILE2", "", "The same for the other region")};
    const CLI::Option* regions[] = {add_one(*pack, "--region0", "FILE", "Firmware for region 0, of any format"),
                                    add_one(*pack, "--region1", "FILE", "Firmware for region 1, of any format")};
    const CLI::Option* format = add_format(*pack);
    pack->add_option("--swid", options.swid, "Software id, 1 to 0xFFFF")->type_name("N")->required();
    pack->add_flag("--mark-all", options.mark_all, "Program every page, not only pages with a byte other than 0xFF");
    CLI::Option* version = add_one(*pack, "--fw-version", "TEXT", "Version of the firmware, stored in the file");
    CLI::Option* hwids = add_list(*pack, "--hwid", "N", "Hardware id that the file is for, may be repeated");
    CLI::Option* build = add_one(*pack, "--build", "TEXT", "Origin of the firmware, stored in the file");
    CLI::Option* notes = add_list(*pack, "--note", "TEXT", "\"key: value\" for the start of the file, may be repeated");
    pack->add_flag_callback(
        "--no-sha256", [&options] { options.name_sha256 = false; }, "Do not store the SHA-256 in the file");
    pack->add_option("--prefix-file", options.prefix_file, "Bytes for the start of the file, before the notes")
        ->type_name("FILE");
    const CLI::Option* force = add_output(*pack, options.output, options.replace, outcome,
                                          "Replace an existing file, and overrule the checks of the firmware");
    pack->callback([=, &options, &outcome] {
        for (int i = 0; i < kRegions; ++i) {
            const std::vector<std::string> file = files[i]->results();
            options.files.insert(options.files.end(), file.begin(), file.end());
            options.region_files[i] = given_text(*regions[i]);
        }
        options.format = given_text(*format).value_or("");
        options.overrule = force->count() > 0;
        options.version = given_text(*version);
        options.hwids = hwids->results();
        options.build = given_text(*build);
        options.notes = notes->results();
        outcome.status = exit_status(run_pack(options, outcome.error));
    });
}

void add_info(CLI::App& app, Outcome& outcome) {
    CLI::App* info =
        app.add_subcommand("info", "Show every field of an update file, or what firmware puts into the flash");
    const CLI::Option* file = add_one(*info, "FILE", "", kAnyFile)->required();
    const CLI::Option* format = add_format(*info);
    const CLI::Option* region = add_region(*info, "Region of a raw binary");
    const CLI::Option* json = info->add_flag("--json")->description("One JSON object instead of lines");
    info->callback([=, &outcome] {
        const InfoForm form = json->count() > 0 ? InfoForm::kJson : InfoForm::kText;
        const InfoOptions options = {file->results()[0], given_text(*format).value_or(""), given_region(*region), form};
        outcome.status = exit_status(run_info(options, outcome.error));
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
    CLI::App* verify =
        app.add_subcommand("verify", "Check that the tool loads these files, and that a board could start them");
    verify->add_option("FILE", "Update files; - is standard input")->required()->expected(1, -1)->allow_extra_args();
    verify->callback([&] { outcome.status = exit_status(run_verify(files_to_verify(words))); });
}

void add_extract(CLI::App& app, ExtractOptions& options, Outcome& outcome) {
    CLI::App* extract = app.add_subcommand("extract", "Write the 0x20000 bytes of one region to a file");
    const CLI::Option* region = add_region(*extract, "Region to take")->required();
    const CLI::Option* format = add_format(*extract);
    add_output(*extract, options.output, options.replace, outcome, "The same");
    const CLI::Option* file = add_one(*extract, "FILE", "", kAnyFile)->required();
    extract->callback([=, &options, &outcome] {
        options.file = file->results()[0];
        options.region = given_region(*region).value_or(0);
        options.format = given_text(*format).value_or("");
        outcome.status = exit_status(run_extract(options, outcome.error));
    });
}

void add_diff(CLI::App& app, Outcome& outcome) {
    CLI::App* diff = app.add_subcommand("diff", "Compare two files (exit status 1: they differ, 2: error)");
    const CLI::Option* format = add_format(*diff);
    const CLI::Option* region = add_region(*diff, "Region to compare, to which raw binaries then belong");
    const CLI::Option* a = add_one(*diff, "A", "", kAnyFile)->required();
    const CLI::Option* b = add_one(*diff, "B", "", kAnyFile)->required();
    diff->callback([=, &outcome] {
        const DiffOptions options = {a->results()[0], b->results()[0], given_text(*format).value_or(""),
                                     given_region(*region)};
        const DiffResult result = run_diff(options, outcome.error);
        outcome.status = result == DiffResult::kSame ? kGood : result == DiffResult::kDifferent ? kBad : kTrouble;
        outcome.trouble = kTrouble;
    });
}

/// A full disk may show only when the buffer is written.
void flush_report(Outcome& outcome) {
    const bool is_written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (!is_written && outcome.error.empty()) {
        outcome.status = outcome.trouble;
        outcome.error = "could not write the report";
    }
}

void parse_and_run(int argc, char** argv, Outcome& outcome) {
    CLI::App app("Makes, shows, checks and compares update files for the power MCU", "sv_image");
    app.set_version_flag("--version", "sv_image " SV_VERSION);
    app.require_subcommand(1);
    PackOptions pack_options;
    ExtractOptions extract_options;
    const std::vector<std::string> words(argv, argv + argc);
    add_pack(app, pack_options, outcome);
    add_info(app, outcome);
    add_verify(app, words, outcome);
    add_extract(app, extract_options, outcome);
    add_diff(app, outcome);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        outcome.status = app.exit(success);
    } catch (const CLI::ParseError& error) {
        const std::vector<std::string> unknown = app.remaining();
        const bool names_none = app.get_subcommands().empty() && !unknown.empty();
        outcome.status = error.get_exit_code();
        outcome.error =
            (names_none ? "unknown subcommand or option: " + unknown.front() : error.what()) + " (see sv_image --help)";
    }
}

}  // namespace

int main(int argc, char** argv) {
    Outcome outcome;
    outcome.has_output = fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    reserve_standard_descriptors();
    // A write beyond the file size limit then fails, and the temporary file is removed.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        parse_and_run(argc, argv, outcome);
        flush_report(outcome);
        if (!outcome.error.empty()) {
            print_message(outcome.error);
        }
    } catch (const std::bad_alloc&) {
        std::fputs("sv_image: out of memory\n", stderr);
        return kBad;
    }
    return outcome.status;
}

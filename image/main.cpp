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
#include "util/process.h"

namespace {

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

std::optional<std::string> given_text(const CLI::Option& option) {
    return option.count() == 0 ? std::nullopt : std::optional(option.results()[0]);
}

void add_output(CLI::App& app, std::string& output, Replace& replace, const char* help) {
    app.add_option("-o,--output", output, help)->type_name("FILE")->required();
    app.add_flag_callback(
        "--force", [&replace] { replace = Replace::kYes; }, "Replace an existing file");
}

void add_pack(CLI::App& app, PackOptions& options, Outcome& outcome) {
    CLI::App* pack = app.add_subcommand("pack", "Make an update file from the raw binaries of both regions");
    pack->add_option("--region0", options.region_files[0], "Binary that starts at byte 0 of region 0")
        ->type_name("FILE")
        ->required();
    pack->add_option("--region1", options.region_files[1], "Binary that starts at byte 0 of region 1")
        ->type_name("FILE")
        ->required();
    pack->add_option("--swid", options.swid, "Software id, 1 to 0xFFFF")->required();
    pack->add_flag("--mark-all", options.mark_all, "Program every page, not only pages with a byte other than 0xFF");
    pack->add_flag("--any-content", options.any_content, "Accept a region that begins without a jump into itself");
    CLI::Option* version = pack->add_option("--fw-version", "Version of the firmware, stored in the file");
    version->type_name("TEXT")->expected(1);
    CLI::Option* hwids = add_list(*pack, "--hwid", "ID", "Hardware id that the file is for, may be repeated");
    CLI::Option* build = pack->add_option("--build", "Origin of the firmware, stored in the file");
    build->type_name("TEXT")->expected(1);
    CLI::Option* notes = add_list(*pack, "--note", "TEXT", "\"key: value\" for the start of the file, may be repeated");
    pack->add_flag_callback(
        "--no-sha256", [&options] { options.name_sha256 = false; }, "Do not store the SHA-256 in the file");
    pack->add_option("--prefix-file", options.prefix_file, "Bytes for the start of the file, before the notes")
        ->type_name("FILE");
    add_output(*pack, options.output, options.replace, "Update file to write");
    pack->callback([&options, &outcome, version, hwids, build, notes] {
        options.version = given_text(*version);
        options.hwids = hwids->results();
        options.build = given_text(*build);
        options.notes = notes->results();
        outcome.status = exit_status(run_pack(options, outcome.error));
    });
}

void add_info(CLI::App& app, Outcome& outcome) {
    CLI::App* info = app.add_subcommand("info", "Show every field of an update file, and whether the tool loads it");
    CLI::Option* file = info->add_option("FILE", "Update file")->required()->expected(1);
    const CLI::Option* json = info->add_flag("--json")->description("One JSON object instead of lines");
    info->callback([&outcome, file, json] {
        const InfoForm form = json->count() > 0 ? InfoForm::kJson : InfoForm::kText;
        outcome.status = exit_status(run_info(file->results()[0], form, outcome.error));
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
    verify->add_option("FILE", "Update files")->required()->expected(1, -1)->allow_extra_args();
    verify->callback([&] { outcome.status = exit_status(run_verify(files_to_verify(words))); });
}

void add_extract(CLI::App& app, ExtractOptions& options, Outcome& outcome) {
    CLI::App* extract = app.add_subcommand("extract", "Write one region of an update file or of a read-back to a file");
    extract->add_option("--region", options.region, "0 or 1")->required()->check(CLI::IsMember({0, 1}));
    add_output(*extract, options.output, options.replace, "File for the 0x20000 bytes of the region");
    CLI::Option* file = extract->add_option("FILE", "Update file or read-back")->required()->expected(1);
    extract->callback([&options, &outcome, file] {
        options.file = file->results()[0];
        outcome.status = exit_status(run_extract(options, outcome.error));
    });
}

void add_diff(CLI::App& app, Outcome& outcome) {
    CLI::App* diff =
        app.add_subcommand("diff", "Compare update files or read-backs (exit status 1: they differ, 2: error)");
    CLI::Option* a = diff->add_option("A", "Update file or read-back")->required()->expected(1);
    CLI::Option* b = diff->add_option("B", "Update file or read-back")->required()->expected(1);
    diff->callback([&outcome, a, b] {
        const DiffResult result = run_diff(a->results()[0], b->results()[0], outcome.error);
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
    const std::vector<std::string> words(argv, argv + argc);
    Outcome outcome;
    add_pack(app, pack_options, outcome);
    add_info(app, outcome);
    add_verify(app, words, outcome);
    add_extract(app, extract_options, outcome);
    add_diff(app, outcome);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    flush_report(outcome);
    if (!outcome.error.empty()) {
        std::fprintf(stderr, "sv_image: %s\n", outcome.error.c_str());
    }
    return outcome.status;
}

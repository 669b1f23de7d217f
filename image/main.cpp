// SPDX-License-Identifier: MIT
// The command line of sv_image.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>

#include "image/commands.h"
#include "util/process.h"

namespace {

struct Outcome {
    bool ok = false;
    std::string error;
};

void add_pack(CLI::App& app, PackOptions& options, Outcome& outcome) {
    CLI::App* pack = app.add_subcommand("pack", "Make an update file from the raw binaries of both regions");
    pack->add_option("--region0", options.region_files[0], "Binary that starts at byte 0 of region 0")
        ->type_name("FILE")
        ->required();
    pack->add_option("--region1", options.region_files[1], "Binary that starts at byte 0 of region 1")
        ->type_name("FILE")
        ->required();
    pack->add_option("--swid", options.swid, "Software id, 1 to 0xFFFF")->required();
    pack->add_flag("--mark-all", options.mark_all, "Program every page, not only those that hold anything but 0xFF");
    // Untyped, here and below: typed lists give some texts, such as "{}", a meaning of their own.
    CLI::Option* notes = pack->add_option("--note", "\"key: value\" for the start of the file, may be repeated");
    notes->type_name("TEXT")->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    pack->add_option("--prefix-file", options.prefix_file, "Bytes for the start of the file, before the notes")
        ->type_name("FILE");
    pack->add_option("-o,--output", options.output, "Update file to be made")->type_name("FILE")->required();
    pack->add_flag("--force", options.force, "Replace an existing file");
    pack->callback([&options, &outcome, notes] {
        options.notes = notes->results();
        outcome.ok = run_pack(options, outcome.error);
    });
}

void add_info(CLI::App& app, Outcome& outcome) {
    CLI::App* info = app.add_subcommand("info", "Show every field of an update file, and whether the tool loads it");
    CLI::Option* file = info->add_option("FILE", "Update file")->required()->expected(1);
    info->callback([&outcome, file] { outcome.ok = run_info(file->results()[0], outcome.error); });
}

void add_verify(CLI::App& app, Outcome& outcome) {
    CLI::App* verify = app.add_subcommand("verify", "Check that the tool loads these files and the MCU accepts them");
    CLI::Option* files = verify->add_option("FILE", "Update files")->required()->expected(1, -1)->allow_extra_args();
    verify->callback([&outcome, files] { outcome.ok = run_verify(files->results()); });
}

/// What was printed may still be on its way to a full disk.
void flush_report(Outcome& outcome) {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        outcome = {false, "could not write the report"};
    }
}

}  // namespace

int main(int argc, char** argv) {
    reserve_standard_descriptors();
    // A file beyond the size limit is then a failed write, after which the temporary file is removed.
    std::signal(SIGXFSZ, SIG_IGN);
    CLI::App app("Makes, shows and checks update files for the power MCU", "sv_image");
    app.set_version_flag("--version", "sv_image " SV_VERSION);
    app.require_subcommand(1);
    PackOptions pack_options;
    Outcome outcome;
    add_pack(app, pack_options, outcome);
    add_info(app, outcome);
    add_verify(app, outcome);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    flush_report(outcome);
    if (!outcome.error.empty()) {
        std::fprintf(stderr, "sv_image: %s\n", outcome.error.c_str());
    }
    return outcome.ok ? 0 : 1;
}

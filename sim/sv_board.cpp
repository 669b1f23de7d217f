// SPDX-License-Identifier: MIT
// sv_board: runs a program on the simulated board.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/board.h"
#include "sim/bus_output.h"
#include "sim/cassette.h"
#include "sim/presets.h"
#include "sim/scratch_folder.h"
#include "sim/shared_board.h"
#include "sim/state_file.h"
#include "sim/testbed.h"
#include "util/process.h"

namespace {

constexpr int kOwnFailure = 125;  // as of env(1) and timeout(1): 126 and above are the shell's

struct RunOptions {
    int bus = 0;
    bool fast = false;
    std::string state_path;
    std::string trace_path;
    std::string capture_path;
    bool unbuffered = false;
    std::string replay_path;
    std::string syslog_path;
    std::string firmware_path;
    uint32_t firmware_swid = 0x0100;
    std::string preset = "healthy";
    std::vector<std::string> settings;
    std::vector<std::string> faults;
    std::vector<std::string> command;
};

int complain(const std::string& problem) {
    std::fprintf(stderr, "sv_board: %s\n", problem.c_str());
    return kOwnFailure;
}

std::string apply_settings(const RunOptions& options, sim::Board& board) {
    if (std::string problem = sim::apply_preset(board.scenario, options.preset); !problem.empty()) {
        return problem;
    }
    for (const std::string& setting : options.settings) {
        const size_t equals = setting.find('=');
        if (equals == std::string::npos) {
            return setting + ": not KEY=VALUE";
        }
        std::string problem = sim::set_knob(board.scenario, setting.substr(0, equals), setting.substr(equals + 1));
        if (!problem.empty()) {
            return problem;
        }
    }
    for (const std::string& text : options.faults) {
        std::string problem;
        const auto fault = sim::parse_fault(text, problem);
        if (!fault) {
            return problem;
        }
        board.faults.push_back(*fault);
    }
    return "";
}

/// Installs the firmware in region 0 of a new board.
std::string install_firmware(const RunOptions& options, sim::Board& board) {
    std::ifstream in(options.firmware_path, std::ios::binary);
    if (!in) {
        return options.firmware_path + ": could not be opened";
    }
    const std::vector<uint8_t> program{std::istreambuf_iterator<char>(in), {}};
    if (program.empty() || program.size() > kChecksumSize) {
        return options.firmware_path + ": not 1 to " + std::to_string(kChecksumSize) + " bytes";
    }
    board.flash.install(0, program, static_cast<uint16_t>(options.firmware_swid));
    return "";
}

/// Joins the board of the state file, or sets up a new one; then applies preset, knobs and faults. Saves it before the
/// program runs, so that a state file that cannot be written loses nothing.
std::string make_board(const RunOptions& options, sim::Board& board, sim::SharedBoard& shared) {
    bool known = false;
    std::string problem = shared.join(options.state_path, known);
    if (problem.empty() && !options.firmware_path.empty()) {
        problem = known ? "--firmware is for a new board; " + options.state_path + " exists"
                        : install_firmware(options, board);
    }
    if (problem.empty()) {
        problem = apply_settings(options, board);
    }
    return problem.empty() ? shared.save() : problem;
}

/// The preload is in ../lib of the build tree, or in the library folder of an installation.
std::string find_preload() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const char* place : {"../lib/sv_board_preload.so", "../" SV_BOARD_LIBDIR "/sv_board/sv_board_preload.so"}) {
        if (std::filesystem::exists(folder / place, error)) {
            return std::filesystem::canonical(folder / place, error).string();
        }
    }
    return "";
}

void report(const sim::Board& board) {
    for (const sim::Fault& fault : board.faults) {
        if (!fault.has_struck()) {
            std::fprintf(stderr, "sv_board: the fault %s never struck\n", fault.text.c_str());
        }
    }
    if (!board.violations.empty()) {
        std::fprintf(stderr, "sv_board: the board saw %zu violation(s) of its rules:\n", board.violations.size());
    }
    for (const std::string& text : board.violations) {
        std::fprintf(stderr, "sv_board:   %s\n", text.c_str());
    }
}

/// Lets the recording answer in place of the board's devices.
std::string load_replay(const RunOptions& options, sim::Board& board, std::optional<sim::Cassette>& cassette) {
    if (options.replay_path.empty()) {
        return "";
    }
    sim::Bytes bytes;
    std::string problem = sim::load_bytes(options.replay_path, bytes);
    if (!problem.empty()) {
        return options.replay_path + ": " + problem;
    }
    const sim::Recording recording = sim::read_capture(bytes);
    std::vector<sim::RecordedTransfer> transfers = sim::transfers_of_bus(recording, options.bus, problem);
    if (!recording.problem.empty()) {
        problem = recording.problem;
    }
    if (transfers.empty()) {
        return options.replay_path + ": " + problem;
    }
    if (!problem.empty()) {
        complain(options.replay_path + ": " + problem + " after " + std::to_string(transfers.size()) + " transfers");
    }
    cassette.emplace(std::move(transfers), board.scenario.mcu_address);
    board.replay = [&](std::span<const sim::Message> messages) { return cassette->transfer(messages); };
    return "";
}

/// Returns the exit status, which is the program's own if it did what was recorded.
int report_replay(const sim::Cassette& cassette, int status) {
    if (!cassette.mismatch().empty()) {
        return complain("replay: " + cassette.mismatch());
    }
    if (cassette.made() < cassette.recorded()) {
        complain("replay: " + std::to_string(cassette.recorded() - cassette.made()) + " of " +
                 std::to_string(cassette.recorded()) + " recorded transfers were not made");
    }
    return status;
}

/// Of options with the same file, one would destroy what another one reads or writes.
std::string check_files(const RunOptions& options) {
    std::set<std::string> seen;
    for (const std::string& path : {options.state_path, options.firmware_path, options.replay_path, options.trace_path,
                                    options.capture_path, options.syslog_path}) {
        if (!path.empty() && !seen.insert(path).second) {
            return path + ": given for two options";
        }
    }
    return "";
}

int run_program(const RunOptions& options) {
    if (const std::string problem = check_files(options); !problem.empty()) {
        return complain(problem);
    }
    sim::Board board;
    sim::SavedClock clock;
    sim::SharedBoard shared(board, clock);
    if (const std::string problem = make_board(options, board, shared); !problem.empty()) {
        return complain(problem);
    }
    shared.unlock();
    sim::ScratchFolder folder([&shared] {
        shared.lock();
        shared.save();  // result ignored: nobody is left to hear of it
        shared.leave();
    });
    if (!folder.problem().empty()) {
        return complain(folder.problem());
    }
    const std::string preload = find_preload();
    if (preload.empty()) {
        return complain("sv_board_preload.so not found: it is installed with sv_board");
    }
    std::optional<sim::Cassette> cassette;
    if (const std::string problem = load_replay(options, board, cassette); !problem.empty()) {
        return complain(problem);
    }
    sim::BusOutput output(options.bus, board.scenario.mcu_address, sim::board_time_us(clock));
    if (const std::string problem = output.open(options.trace_path, options.capture_path, options.unbuffered);
        !problem.empty()) {
        return complain(problem);
    }
    board.on_transfer = [&](const sim::Transfer& transfer) { output.write(transfer); };
    std::string syslog_path;
    if (!options.syslog_path.empty()) {
        syslog_path = std::filesystem::absolute(options.syslog_path).string();
        std::ofstream(syslog_path, std::ios::trunc);
    }
    sim::Testbed testbed(board, shared, clock, folder, {options.bus, options.fast, syslog_path, preload});
    if (!testbed.problem().empty()) {
        return complain(testbed.problem());
    }
    int status = testbed.run(options.command);
    shared.lock();  // for good
    testbed.advance_clock();
    if (testbed.problem().empty()) {
        report(board);
    } else {
        complain(testbed.problem());
    }
    if (const std::string problem = shared.save(); !problem.empty()) {
        status = complain(problem);
    }
    shared.leave();
    if (cassette) {
        status = report_replay(*cassette, status);
    }
    if (const std::string problem = output.close(); !problem.empty()) {
        status = complain(problem);
    }
    testbed.leave(status);
}

int print_knobs() {
    const sim::Scenario defaults;
    for (const sim::Knob& knob : sim::knobs()) {
        std::printf("%s=%s\n    %s%s\n", std::string(knob.name).c_str(), sim::knob_value(defaults, knob).c_str(),
                    std::string(knob.meaning).c_str(), knob.lasting ? " (kept in the state file)" : "");
    }
    return 0;
}

int print_presets() {
    for (const sim::Preset& preset : sim::presets()) {
        std::printf("%s: %s\n    %s\n", std::string(preset.name).c_str(), std::string(preset.meaning).c_str(),
                    std::string(preset.settings).c_str());
    }
    return 0;
}

int show_state(const std::string& path) {
    sim::Board board;
    sim::SavedClock clock;
    if (const std::string problem = sim::load_state(path, board, clock); !problem.empty()) {
        return complain(problem);
    }
    board.mcu.advance(sim::board_time_us(clock));
    std::fputs(sim::state_text(board, clock).c_str(), stdout);
    return 0;
}

void add_run_options(CLI::App& run, RunOptions& options, bool command_needed) {
    run.add_option("--bus", options.bus, "N of /dev/i2c-N")->check(CLI::Range(0, 255))->capture_default_str();
    run.add_option("--state", options.state_path, "state file: keeps the board between runs; created if missing")
        ->type_name("FILE");
    auto* firmware =
        run.add_option("--firmware", options.firmware_path, "firmware in region 0 of a new board, as raw bytes")
            ->type_name("FILE");
    run.add_option("--swid", options.firmware_swid, "software id of that firmware")
        ->check(CLI::Range(1, 0xFFFF))
        ->needs(firmware);
    run.add_option("--preset", options.preset, "typical situation; 'sv_board presets' lists them")
        ->type_name("NAME")
        ->capture_default_str();
    run.add_option("--set", options.settings, "set a knob; 'sv_board knobs' lists them; may be repeated")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    run.add_option("--fault", options.faults, "inject a fault, see sv_board(1); may be repeated")
        ->type_name("FAULT")
        ->allow_extra_args(false);
    run.add_option("--trace", options.trace_path, "write one line per transfer to this file, or - for standard output")
        ->type_name("FILE");
    run.add_option("--capture", options.capture_path, "write the transfers to this file, for Wireshark")
        ->type_name("FILE");
    run.add_flag("--unbuffered", options.unbuffered, "write each transfer at once; always so if FILE is a pipe");
    CLI::Option* replay = run.add_option("--replay", options.replay_path, "answer as in this capture");
    replay->type_name("FILE");
    for (const char* other : {"--state", "--firmware", "--swid", "--fault"}) {
        replay->excludes(run.get_option(other));
    }
    run.add_option("--syslog", options.syslog_path, "write the program's system-log lines to this file")
        ->type_name("FILE");
    run.add_flag("--fast", options.fast, "skip sleeps; clocks move as if they had passed");
    run.add_option("command", options.command, "program and its arguments, after --")
        ->type_name("WORD")
        ->required(command_needed);
    run.positionals_at_end();
}

}  // namespace

int main(int argc, char** argv) {
    reserve_standard_descriptors();
    RunOptions options;
    // The program's words are kept from CLI11, which would split "[a,b]" into two.
    char** const end = argv + argc;
    char** const mark = std::find(argv, end, std::string_view("--"));
    const std::vector<std::string> program(mark == end ? end : mark + 1, end);
    CLI::App app("Runs programs on a simulated board.");
    app.set_version_flag("--version", "sv_board " SV_VERSION);
    app.require_subcommand(1);
    CLI::App* run = app.add_subcommand("run", "run a program with the board as /dev/i2c-N");
    add_run_options(*run, options, program.empty());
    CLI::App* knob_list = app.add_subcommand("knobs", "list the knobs with defaults and meanings");
    CLI::App* preset_list = app.add_subcommand("presets", "list the typical situations");
    CLI::App* show = app.add_subcommand("show", "print the content of a state file");
    std::string state_path;
    show->add_option("--state", state_path, "the state file")->type_name("FILE")->required();
    CLI11_PARSE(app, static_cast<int>(mark - argv), argv);
    if (*run) {
        options.command.insert(options.command.end(), program.begin(), program.end());
        return run_program(options);
    }
    if (*knob_list) {
        return print_knobs();
    }
    return *preset_list ? print_presets() : show_state(state_path);
}

// SPDX-License-Identifier: MIT
// sv_capture: recordings of the board's bus, in the words of the protocol.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "capture/model_comparison.h"
#include "capture/rebuilt_board.h"
#include "capture/sigrok_text.h"
#include "capture/tracepoints.h"
#include "capture/vcd.h"
#include "sim/state_file.h"
#include "sim/trace.h"
#include "util/new_file.h"

namespace {

enum ExitStatus { kGood = 0, kBad = 1, kTrouble = 2 };  // kTrouble: compare only

struct Options {
    std::string input;
    std::string output;
    std::string state;
    bool replace = false;
    int bus = -1;
    uint16_t address = kMcuAddress;
    uint32_t speed = 400'000;
    uint64_t samples_per_second = 0;  ///< 0: not given
};

int complain(const std::string& problem, int status = kBad) {
    std::fprintf(stderr, "sv_capture: %s\n", problem.c_str());
    return status;
}

/// The status, unless standard output did not take everything.
int printed(int status, int trouble = kBad) {
    const bool good = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    return good ? status : complain("standard output: " + std::string(std::strerror(errno)), trouble);
}

/// Reads a recording of whatever kind, found out by content.
sim::Recording read_recording(const Options& options) {
    sim::Bytes bytes;
    if (std::string problem = sim::load_bytes(options.input, bytes); !problem.empty()) {
        return {{}, problem};
    }
    if (sim::is_capture(bytes)) {
        return sim::read_capture(bytes);
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    sim::Recording recording = read_tracepoints(text);
    if (recording.transfers.empty() && recording.problem.empty()) {
        recording = read_sigrok_text(text, std::max<uint64_t>(options.samples_per_second, 1),
                                     static_cast<uint8_t>(std::max(options.bus, 0)));
        if (recording.transfers.empty() && recording.problem.empty()) {
            recording.problem = "neither a pcapng file, nor I2C events of the kernel, nor annotations of sigrok";
        } else if (options.samples_per_second == 0) {
            return {{}, "sigrok's annotations have no time: give --samplerate"};
        }
    }
    return recording;
}

int write_output(const Options& options, std::string_view bytes) {
    if (options.output == "-") {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        return printed(kGood);
    }
    NewFile file;
    if (file.create(options.output.c_str(), options.replace ? Existing::kReplaced : Existing::kKept) &&
        file.write(bytes.data(), bytes.size()) && file.put_in_place()) {
        return kGood;
    }
    const std::string hint = errno == EEXIST ? "; --replace replaces it" : "";
    return complain(options.output + ": " + std::strerror(errno) + hint);
}

/// Calls `use` with the transfers, of one bus unless `all_buses`, and lets what the file lacks count for the status.
template <typename Use>
int with_transfers(const Options& options, Use use, bool all_buses = false, int trouble = kBad) {
    const sim::Recording recording = read_recording(options);
    std::string problem;
    const std::vector<sim::RecordedTransfer> transfers =
        all_buses && options.bus < 0 ? recording.transfers : sim::transfers_of_bus(recording, options.bus, problem);
    int status = trouble;
    if (!transfers.empty()) {
        status = use(transfers);
    } else if (recording.problem.empty()) {
        complain(options.input + ": " + (problem.empty() ? "no transfer" : problem));
    }
    if (!recording.problem.empty()) {
        const std::string count = std::to_string(recording.transfers.size());
        complain(options.input + ": " + recording.problem +
                 (transfers.empty() ? "" : "; " + count + " transfers were read"));
        status = trouble;
    }
    return status;
}

int convert(const Options& options) {
    const auto write = [&](const auto& transfers) {
        const sim::Bytes bytes = sim::capture_of(transfers);
        return write_output(options, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    };
    return with_transfers(options, write, true);
}

int show(const Options& options) {
    return with_transfers(options, [&](const auto& transfers) {
        sim::TraceDecoder decoder(transfers.front().time_us);
        uint64_t number = 0;
        for (sim::RecordedTransfer transfer : transfers) {
            const std::vector<sim::Message> messages = sim::messages_of(transfer);
            const sim::Transfer shown{++number, transfer.time_us, messages, transfer.acknowledged};
            std::string line = decoder.line(shown, options.address);
            if (!transfer.complete()) {
                line.insert(line.size() - 1, " …");
            }
            std::fputs(line.c_str(), stdout);
        }
        return printed(kGood);
    });
}

int compare(const Options& options) {
    sim::Board board;
    sim::SavedClock clock;
    if (!options.state.empty()) {
        if (const std::string problem = sim::load_state(options.state, board, clock); !problem.empty()) {
            return complain(problem, kTrouble);
        }
    }
    board.scenario.mcu_address = options.address;
    const auto print = [&](const auto& transfers) {
        const ModelComparison found = compare_with_model(transfers, board);
        if (found.transfers == 0) {
            return complain(options.input + ": no transfer of the MCU; --addr gives its address", kTrouble);
        }
        std::printf("transfers of the MCU: %zu, not sent to the simulated one: %zu\n", found.transfers, found.skipped);
        std::printf("kinds of differences: %zu\n", found.differences.size());
        for (const Difference& difference : found.differences) {
            std::printf("%6zu times, first in transfer %zu\n  recorded:  %s\n  simulated: %s\n", difference.count,
                        difference.first, difference.recorded.c_str(), difference.simulated.c_str());
        }
        std::printf("violations: %zu\n", board.violations.size());
        for (const std::string& violation : board.violations) {
            std::printf("  %s\n", violation.c_str());
        }
        return printed(found.differences.empty() && board.violations.empty() ? kGood : kBad, kTrouble);
    };
    return with_transfers(options, print, false, kTrouble);
}

int make_state(const Options& options) {
    if (options.output == "-") {
        return complain("a state file cannot be standard output");
    }
    return with_transfers(options, [&](const auto& transfers) {
        sim::Board board;
        board.scenario.mcu_address = options.address;
        if (const std::string problem = rebuild_board(transfers, board); !problem.empty()) {
            return complain(options.input + ": " + problem);
        }
        if (!options.replace && std::filesystem::exists(options.output)) {
            return complain(options.output + ": File exists; --replace replaces it");
        }
        board.scenario.mcu_address = kMcuAddress;  // a setting of the run, not of the board
        const std::string problem = sim::save_state(options.output, board, {});
        return problem.empty() ? kGood : complain(problem);
    });
}

int draw(const Options& options) {
    return with_transfers(
        options, [&](const auto& transfers) { return write_output(options, vcd_text(transfers, options.speed)); });
}

CLI::App* add_command(CLI::App& app, Options& options, const char* name, const char* help) {
    CLI::App* command = app.add_subcommand(name, help);
    command
        ->add_option("recording", options.input,
                     "pcapng, text of the kernel's events, or sigrok's annotations; - is standard input")
        ->type_name("FILE")
        ->required();
    command->add_option("--samplerate", options.samples_per_second, "samples per second of sigrok's annotations")
        ->type_name("HZ")
        ->check(CLI::PositiveNumber);
    command->add_option("--bus", options.bus, "bus, if the recording has several; of sigrok's annotations (default 0)")
        ->type_name("N")
        ->check(CLI::Range(0, sim::kMaxCapturedBus));
    return command;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Recordings of the board's bus.");
    app.set_version_flag("--version", "sv_capture " SV_VERSION);
    app.require_subcommand(1);
    CLI::App* converting = add_command(app, options, "convert", "Write pcapng, for Wireshark");
    CLI::App* showing = add_command(app, options, "show", "Print a line for each transfer");
    CLI::App* comparing = add_command(app, options, "compare",
                                      "Compare the MCU with the simulated one (exit status 1: they differ, 2: error)");
    CLI::App* rebuilding =
        add_command(app, options, "state", "Make a board for sv_board from a --version and a --read");
    CLI::App* drawing = add_command(app, options, "vcd", "Draw SCL and SDA, for PulseView and other viewers");
    for (CLI::App* command : {showing, comparing, rebuilding}) {
        command->add_option("--addr", options.address, "address of the MCU")
            ->type_name("N")
            ->check(CLI::Range(0x03, 0x77))
            ->default_str("0x08");
    }
    for (CLI::App* command : {converting, rebuilding, drawing}) {
        command->add_option("-o,--output", options.output, "file to write")->type_name("FILE")->required();
        command->add_flag("--replace", options.replace, "replace an existing file");
    }
    comparing->add_option("--state", options.state, "state file of the simulated board; a new one without it")
        ->type_name("FILE");
    drawing->add_option("--speed", options.speed, "of SCL")
        ->type_name("HZ")
        ->check(CLI::Range(kMinSpeed, kMaxSpeed))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    return *converting   ? convert(options)
           : *showing    ? show(options)
           : *comparing  ? compare(options)
           : *rebuilding ? make_state(options)
                         : draw(options);
}

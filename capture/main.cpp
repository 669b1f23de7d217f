// SPDX-License-Identifier: MIT
// sv_capture: recordings of the board's bus, in the words of the protocol.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "capture/model_comparison.h"
#include "capture/rebuilt_board.h"
#include "capture/recording_file.h"
#include "capture/vcd.h"
#include "sim/cassette.h"
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
    SigrokSource sigrok;
};

int complain(const std::string& problem, int status = kBad) {
    std::fprintf(stderr, "sv_capture: %s\n", problem.c_str());
    return status;
}

/// Reports what the file lacks. Returns the status that this deserves.
int report(const Options& options, const sim::Recording& recording) {
    if (recording.problem.empty()) {
        return kGood;
    }
    const std::string count = std::to_string(recording.transfers.size());
    return complain(options.input + ": " + recording.problem +
                    (recording.transfers.empty() ? "" : "; " + count + " transfers were read"));
}

int write_output(const Options& options, std::string_view bytes) {
    if (options.output == "-") {
        const bool good =
            std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0;
        return good ? kGood : complain("standard output: " + std::string(std::strerror(errno)));
    }
    NewFile file;
    if (file.create(options.output.c_str(), options.replace ? Existing::kReplaced : Existing::kKept) &&
        file.write(bytes.data(), bytes.size()) && file.put_in_place()) {
        return kGood;
    }
    const std::string hint = errno == EEXIST ? "; --replace replaces it" : "";
    return complain(options.output + ": " + std::strerror(errno) + hint);
}

int convert(const Options& options) {
    const sim::Recording recording = read_recording(options.input, options.sigrok);
    if (recording.transfers.empty()) {
        return report(options, recording);
    }
    sim::Bytes bytes = sim::capture_header();
    for (const sim::RecordedTransfer& transfer : recording.transfers) {
        const sim::Bytes packets = sim::capture_packets(transfer);
        bytes.insert(bytes.end(), packets.begin(), packets.end());
    }
    const int status = write_output(options, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return status == kGood ? report(options, recording) : status;
}

/// Calls `use` with the transfers of the chosen bus, and lets what the file lacks count for the status.
template <typename Use>
int with_transfers(const Options& options, int trouble, Use use) {
    const sim::Recording recording = read_recording(options.input, options.sigrok);
    std::string problem;
    const std::vector<sim::RecordedTransfer> transfers = sim::transfers_of_bus(recording, options.bus, problem);
    if (transfers.empty()) {
        return recording.problem.empty() ? complain(options.input + ": " + problem, trouble)
                                         : (report(options, recording), trouble);
    }
    const int status = use(transfers);
    return report(options, recording) == kGood ? status : trouble;
}

int show(const Options& options) {
    return with_transfers(options, kBad, [&](const auto& transfers) {
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
        return std::fflush(stdout) == 0 ? kGood : complain("standard output: " + std::string(std::strerror(errno)));
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
    return with_transfers(options, kTrouble, [&](const auto& transfers) {
        const ModelComparison found = compare_with_model(transfers, board);
        std::printf("transfers of the MCU: %zu, not sent to the simulated one: %zu\n", found.transfers, found.skipped);
        std::printf("differences: %s\n", found.differences.empty() ? "none" : "");
        for (const Difference& difference : found.differences) {
            std::printf("%6zu times, first in transfer %zu\n  recorded:  %s\n  simulated: %s\n", difference.count,
                        difference.first, difference.recorded.c_str(), difference.simulated.c_str());
        }
        std::printf("violations: %s\n", board.violations.empty() ? "none" : "");
        for (const std::string& violation : board.violations) {
            std::printf("  %s\n", violation.c_str());
        }
        return found.differences.empty() && board.violations.empty() ? kGood : kBad;
    });
}

int make_state(const Options& options) {
    return with_transfers(options, kBad, [&](const auto& transfers) {
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
    return with_transfers(options, kBad, [&](const auto& transfers) {
        return write_output(options, vcd_text(transfers, options.speed));
    });
}

CLI::App* add_command(CLI::App& app, Options& options, const char* name, const char* help, bool has_output) {
    CLI::App* command = app.add_subcommand(name, help);
    command
        ->add_option("recording", options.input,
                     "capture, text of the kernel's I2C events, or annotations of sigrok; - is standard input")
        ->type_name("FILE")
        ->required();
    command->add_option("--samplerate", options.sigrok.samples_per_second, "samples per second of sigrok's annotations")
        ->type_name("HZ")
        ->check(CLI::PositiveNumber);
    if (has_output) {
        command->add_option("-o,--output", options.output, "file to write")->type_name("FILE")->required();
        command->add_flag("--replace", options.replace, "replace an existing file");
    }
    return command;
}

void add_bus(CLI::App& command, Options& options) {
    command.add_option("--bus", options.bus, "bus of the recording; needed if it has several")
        ->type_name("N")
        ->check(CLI::Range(0, sim::kMaxCapturedBus));
}

void add_address(CLI::App& command, Options& options) {
    command.add_option("--addr", options.address, "address of the MCU")
        ->type_name("N")
        ->check(CLI::Range(0x03, 0x77))
        ->default_str("0x08");
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Recordings of the board's bus.");
    app.set_version_flag("--version", "sv_capture " SV_VERSION);
    app.require_subcommand(1);
    CLI::App* converting = add_command(app, options, "convert", "Write a recording as pcapng, for Wireshark", true);
    converting->add_option("--bus", options.sigrok.bus, "bus that sigrok's annotations get")
        ->type_name("N")
        ->check(CLI::Range(0, sim::kMaxCapturedBus));
    CLI::App* showing = add_command(app, options, "show", "Print a line for each transfer", false);
    CLI::App* comparing =
        add_command(app, options, "compare",
                    "Compare the recorded MCU with the simulated one (exit status 1: they differ, 2: error)", false);
    comparing->add_option("--state", options.state, "state file of the simulated board; without it, a new one")
        ->type_name("FILE");
    CLI::App* rebuilding =
        add_command(app, options, "state", "Make a state file for sv_board from a recorded --version and --read", true);
    CLI::App* drawing = add_command(app, options, "vcd", "Draw SCL and SDA, for PulseView and other viewers", true);
    drawing->add_option("--speed", options.speed, "of SCL")
        ->type_name("HZ")
        ->check(CLI::Range(kMinSpeed, kMaxSpeed))
        ->capture_default_str();
    for (CLI::App* command : {showing, comparing, rebuilding, drawing}) {
        add_bus(*command, options);
    }
    for (CLI::App* command : {showing, comparing, rebuilding}) {
        add_address(*command, options);
    }
    CLI11_PARSE(app, argc, argv);
    if (*converting) {
        return convert(options);
    }
    if (*showing) {
        return show(options);
    }
    if (*comparing) {
        return compare(options);
    }
    return *rebuilding ? make_state(options) : draw(options);
}

// SPDX-License-Identifier: MIT
// sv_sweep: cuts an update at every point, and prints a table of what held.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>
#include <thread>

#include "tests/sweep/endurance.h"
#include "tests/sweep/workers.h"

namespace {

using sweep::Kind;
using sweep::Outcome;
using sweep::Row;
using sweep::Setup;
using sweep::Task;

constexpr uint64_t kUpdatesInOneProcess = 10'000;
constexpr uint64_t kProcesses = 1'000;
constexpr uint64_t kProcessesPerTask = 50;
constexpr uint64_t kTransfersPerTask = 300'000;

struct Options {
    uint64_t sample = 0;
    uint64_t seed = 1;
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
    std::string kind;
    std::vector<uint64_t> points;
    bool one_update = false;
};

Task task_of(size_t row, const Kind& kind, const Setup& setup, uint64_t begin, uint64_t end) {
    return {row, end - begin, [&kind, &setup, begin, end](const auto& tell) {
                sweep::run_points(kind, setup, begin, end, [&](uint64_t point, const Outcome& outcome) {
                    const bool failed = !outcome.failure.empty();
                    tell(outcome, failed ? sweep::describe(kind, setup, point) : std::string());
                });
            }};
}

/// The points of one kind in one setup: all, some, or a sample.
void add_points(size_t row, const Kind& kind, const Setup& setup, const Options& options, std::mt19937_64& random,
                std::vector<Task>& tasks) {
    const sweep::Counts& counts = sweep::counts(setup);
    const uint64_t points = kind.points(counts);
    if (options.points.empty() && options.sample == 0) {
        const uint64_t step = std::max<uint64_t>(1, kTransfersPerTask / counts.transfers);
        for (uint64_t begin = 0; begin < points; begin += step) {
            tasks.push_back(task_of(row, kind, setup, begin, std::min(points, begin + step)));
        }
        return;
    }
    std::vector<uint64_t> chosen = options.points;
    while (chosen.size() < options.sample) {
        chosen.push_back(random() % points);
    }
    for (const uint64_t point : chosen) {
        if (point < points) {
            tasks.push_back(task_of(row, kind, setup, point, point + 1));
        }
    }
}

Task endurance_task(size_t row, uint64_t points, std::string (*run)(uint64_t)) {
    return {row, points, [points, run](const auto& tell) {
                const std::string problem = run(points);
                for (uint64_t i = 0; i < points; ++i) {
                    tell(Outcome{sweep::Window::kNone, problem}, "endurance");
                }
            }};
}

std::string in_new_processes(uint64_t processes) {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return sweep::update_in_new_processes(std::string(path, static_cast<size_t>(std::max<ssize_t>(length, 0))),
                                          processes);
}

void add_endurance(const Options& options, std::vector<Row>& rows, std::vector<Task>& tasks) {
    const uint64_t updates = options.sample == 0 ? kUpdatesInOneProcess : 10 + 30 * options.sample;
    rows.push_back({"complete updates in one process"});
    tasks.push_back(endurance_task(rows.size() - 1, updates, sweep::update_in_one_process));
    rows.push_back({"complete updates in a process each"});
    const uint64_t processes = options.sample == 0 ? kProcesses : options.sample;
    for (uint64_t begin = 0; begin < processes; begin += kProcessesPerTask) {
        tasks.push_back(
            endurance_task(rows.size() - 1, std::min(kProcessesPerTask, processes - begin), in_new_processes));
    }
}

void print_table(const std::vector<Row>& rows) {
    std::printf("\n%-40s %8s %8s  %s\n", "kind", "points", "held", "exceptions");
    Row sum{"all"};
    const auto print = [](const Row& row) {
        std::string exceptions;
        for (size_t i = 1; i < sweep::kWindows; ++i) {
            if (row.windows[i] != 0) {
                exceptions += std::string(exceptions.empty() ? "" : ", ") + sweep::kWindowNames[i] + " " +
                              std::to_string(row.windows[i]);
            }
        }
        if (row.failed != 0) {
            exceptions += std::string(exceptions.empty() ? "" : ", ") + "UNEXPLAINED " + std::to_string(row.failed);
        }
        std::printf("%-40s %8" PRIu64 " %8" PRIu64 "  %s\n", row.name.c_str(), row.points, row.held,
                    exceptions.c_str());
    };
    for (const Row& row : rows) {
        print(row);
        sum.points += row.points;
        sum.held += row.held;
        sum.failed += row.failed;
        for (size_t i = 0; i < sweep::kWindows; ++i) {
            sum.windows[i] += row.windows[i];
        }
    }
    print(sum);
}

/// Exceptions that the kinds do not name, and in a complete run, any other number of them.
void check_windows(const std::vector<Row>& rows, bool complete, std::vector<std::string>& problems) {
    for (const Row& row : rows) {
        uint64_t expected[sweep::kWindows] = {};
        if (row.kind != nullptr) {
            for (const auto& [window, count] : row.kind->windows) {
                expected[static_cast<size_t>(window)] = count;
            }
        }
        for (size_t i = 1; i < sweep::kWindows; ++i) {
            if (complete ? row.windows[i] != expected[i] : row.windows[i] != 0 && expected[i] == 0) {
                problems.push_back(row.name + ": " + std::to_string(row.windows[i]) + " times " +
                                   sweep::kWindowNames[i] + ", and not " + std::to_string(expected[i]));
            }
        }
    }
}

int run(const Options& options) {
    std::vector<Row> rows;
    std::vector<Task> tasks;
    std::mt19937_64 random(options.seed);
    for (const Kind& kind : sweep::kinds()) {
        if (std::string(kind.name).find(options.kind) != std::string::npos) {
            rows.push_back({kind.name});
            rows.back().kind = &kind;
            for (const Setup& setup : kind.setups) {
                add_points(rows.size() - 1, kind, setup, options, random, tasks);
            }
        }
    }
    if (options.kind.empty() && options.points.empty()) {
        add_endurance(options, rows, tasks);
    }
    const sweep::Counts& counts = sweep::counts({});
    std::printf("A complete update: %" PRIu64 " transfers, %" PRIu64 " commands, %" PRIu64 " of them frames, %" PRIu64
                " of those changing.\n",
                counts.transfers, counts.commands, counts.frames, counts.changes);
    std::vector<std::string> problems = sweep::run_tasks(tasks, options.jobs, rows);
    if (counts.transfers != 8785 || counts.commands != 4370 || counts.frames != 4342 || counts.changes != 4339) {
        problems.emplace_back("a complete update consists of something else");
    }
    check_windows(rows, options.sample == 0 && options.points.empty(), problems);
    print_table(rows);
    for (const std::string& problem : problems) {
        std::printf("UNEXPLAINED: %s\n", problem.c_str());
    }
    uint64_t told = 0;
    uint64_t points = 0;
    for (const Row& row : rows) {
        points += row.points;
        told += row.held + row.failed;
        for (const uint64_t window : row.windows) {
            told += window;
        }
    }
    if (points == 0 || told != points) {
        std::printf("UNEXPLAINED: %" PRIu64 " of %" PRIu64 " points were tried\n", told, points);
        return 1;
    }
    return problems.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Cuts a firmware update at every point, on the simulated board, and tells what held.");
    Options options;
    app.add_option("--sample", options.sample, "so many points of each kind and setup, by chance, instead of all");
    app.add_option("--seed", options.seed, "of the sample")->capture_default_str();
    app.add_option("--jobs", options.jobs, "processes")->capture_default_str();
    app.add_option("--kind", options.kind, "only kinds whose name holds this");
    app.add_option("--point", options.points, "only these points of each kind and setup");
    app.add_flag("--one-update", options.one_update, "one undisturbed update; prints a digest of its transfers");
    CLI11_PARSE(app, argc, argv);
    if (options.one_update) {
        const uint64_t digest = sweep::update_once();
        std::printf("%016" PRIx64 "\n", digest);
        return digest == 0 ? 1 : 0;
    }
    return run(options);
}

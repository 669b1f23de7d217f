// SPDX-License-Identifier: MIT
// sv_sweep: interrupts an update at every point and prints a table of what survived.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <numeric>
#include <random>
#include <thread>

#include "tests/sweep/pattern.h"
#include "tests/sweep/point.h"
#include "tests/sweep/states.h"

namespace {

using sweep::Kind;
using sweep::kWindows;
using sweep::Outcome;
using sweep::Point;
using sweep::Setup;

constexpr int kMaxProblems = 20;  // printed by each process
constexpr size_t kSampledStates = 20;
constexpr size_t kFailed = kWindows;  // index of an outcome after those of the windows; 0: everything held

struct Options {
    uint64_t sample = 0;
    uint64_t seed = 1;
    std::string kind;
    std::vector<uint64_t> points;
    uint64_t jobs = std::max(1U, std::thread::hardware_concurrency());
    bool states = false;

    bool is_complete() const {
        return sample == 0 && points.empty();
    }
};

/// The outcomes of one kind, in memory that all processes share.
struct Row {
    const Kind* kind = nullptr;
    uint64_t points = 0;
    std::array<std::atomic<uint64_t>, kWindows + 1> outcomes{};
    std::atomic<uint64_t> unconfirmed = 0;  ///< of these, runs of sv_ctl that ended with status 6
};

void print_problem(const std::string& text) {
    std::printf("UNEXPLAINED: %s\n", text.c_str());
}

bool needs_states(const Kind& kind) {
    return kind.setups.find("{state}") != std::string::npos;
}

/// A row for each kind that was asked for.
std::span<Row> make_rows(const Options& options) {
    const size_t size = sweep::kinds().size() * sizeof(Row);
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return {};
    }
    Row* const rows = static_cast<Row*>(memory);
    Row* end = rows;
    for (const Kind& kind : sweep::kinds()) {
        if (std::string_view(kind.name).find(options.kind) != std::string_view::npos) {
            (new (end++) Row)->kind = &kind;
        }
    }
    return {rows, end};
}

/// The points of one kind in one setup: all, some, or a sample.
std::vector<Point> choose_points(const Kind& kind, const Setup& setup, const Options& options,
                                 std::mt19937_64& random) {
    const std::vector<std::string> texts = sweep::expand(kind.points, sweep::counts(setup));
    std::vector<uint64_t> numbers = options.points;
    while (numbers.size() < options.sample) {
        numbers.push_back(random() % texts.size());
    }
    for (uint64_t number = 0; options.is_complete() && number < texts.size(); ++number) {
        numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    std::vector<Point> points;
    for (const uint64_t number : numbers) {
        if (number < texts.size()) {
            points.push_back({number, texts[number]});
        }
    }
    return points;
}

/// Tries those of all points that are this job's. The first job also counts them.
void try_points(std::span<Row> rows, const Options& options, uint64_t job) {
    std::mt19937_64 random(options.seed);
    uint64_t total = 0;
    int problems = 0;
    const auto is_other = [&] { return total++ % options.jobs != job; };
    for (Row& row : rows) {
        const Kind& kind = *row.kind;
        if (job == 0) {
            std::fprintf(stderr, "%s\n", kind.name);
        }
        for (const std::string& text : sweep::expand(kind.setups, {})) {
            const Setup setup = sweep::parse_setup(text);
            std::vector<Point> points = choose_points(kind, setup, options, random);
            row.points += job == 0 ? points.size() : 0;
            if (!needs_states(kind)) {
                std::erase_if(points, [&](const Point&) { return is_other(); });
            } else if (is_other()) {
                continue;  // a job tries all points of a state: they have much in common
            }
            if (points.empty()) {
                continue;
            }
            sweep::run_points(kind, setup, points, [&](const Point& point, const Outcome& outcome) {
                const bool failed = !outcome.failure.empty();
                ++row.outcomes[failed ? kFailed : static_cast<size_t>(outcome.window)];
                row.unconfirmed += outcome.unconfirmed ? 1 : 0;
                if (failed && ++problems <= kMaxProblems) {
                    print_problem(std::string(kind.name) + ", point " + std::to_string(point.number) + ": " + text +
                                  ", " + point.text + ": " + outcome.failure);
                }
            });
        }
    }
}

/// A process for each job. False if one of them did not end well.
bool run_jobs(std::span<Row> rows, const Options& options) {
    if (std::any_of(rows.begin(), rows.end(), [](const Row& row) { return needs_states(*row.kind); })) {
        sweep::find_states(options.sample == 0 ? SIZE_MAX : kSampledStates);  // once for all processes
    }
    for (uint64_t job = 0; job < options.jobs; ++job) {
        if (fork() == 0) {
            try_points(rows, options, job);
            std::exit(0);
        }
    }
    bool all_well = true;
    for (int status = 0; wait(&status) > 0;) {
        all_well = all_well && status == 0;
    }
    return all_well;
}

/// Reports windows that the kind does not name, in a complete run also any other number of them, and points without an
/// outcome. False if there are any.
bool check_row(const Row& row, bool complete) {
    const std::string name = row.kind->name;
    std::array<uint64_t, kWindows> expected{};
    for (const auto& [window, number] : row.kind->windows) {
        expected[static_cast<size_t>(window)] = number;
    }
    bool good = true;
    for (size_t i = 1; i < kWindows; ++i) {
        const uint64_t number = row.outcomes[i];
        if (complete ? number != expected[i] : number != 0 && expected[i] == 0) {
            print_problem(name + ": " + std::to_string(number) + " times " + sweep::kWindowNames[i] + " instead of " +
                          std::to_string(expected[i]));
            good = false;
        }
    }
    const uint64_t tried = std::accumulate(row.outcomes.begin(), row.outcomes.end(), uint64_t{0});
    if (tried != row.points || (complete && tried == 0)) {
        print_problem(name + ": " + std::to_string(tried) + " of " + std::to_string(row.points) + " points were tried");
        good = false;
    }
    return good && row.outcomes[kFailed] == 0;
}

void print_row(const char* name, const Row& row) {
    std::string exceptions;
    const auto add = [&](const std::string& what, uint64_t number) {
        if (number != 0) {
            exceptions += (exceptions.empty() ? "" : ", ") + what + " " + std::to_string(number);
        }
    };
    for (size_t i = 1; i < kWindows; ++i) {
        add(sweep::kWindowNames[i], row.outcomes[i]);
    }
    add("UNEXPLAINED", row.outcomes[kFailed]);
    add("status 6:", row.unconfirmed);
    std::printf("%-40s %8" PRIu64 " %8" PRIu64 "  %s\n", name, row.points, row.outcomes[0].load(), exceptions.c_str());
}

/// False unless all rows are as they must be.
bool print_table(std::span<Row> rows, bool complete) {
    Row sum;
    bool good = true;
    std::printf("%-40s %8s %8s  %s\n", "kind", "points", "held", "exceptions");
    for (const Row& row : rows) {
        print_row(row.kind->name, row);
        sum.points += row.points;
        sum.unconfirmed += row.unconfirmed;
        for (size_t i = 0; i <= kFailed; ++i) {
            sum.outcomes[i] += row.outcomes[i];
        }
    }
    print_row("all", sum);
    for (const Row& row : rows) {
        good = check_row(row, complete) && good;
    }
    return good && sum.points != 0;
}

/// What interrupted runs of sv_updater leave.
int print_states() {
    const sweep::ReachedStates& reached = sweep::reached_states();
    for (const sweep::ReachedState& state : reached.states) {
        std::printf("%-40s %s\n", state.text.c_str(), state.way.c_str());
    }
    std::printf("%zu states, found with %" PRIu64 " runs; %" PRIu64 " power cuts left no region that can start\n",
                reached.states.size(), reached.runs, reached.dead);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Interrupts a firmware update at every point, on the simulated board, and reports what survived.");
    Options options;
    app.add_option("--sample", options.sample, "try N random points of each kind and setup instead of all");
    app.add_option("--seed", options.seed, "of the sample")->capture_default_str();
    app.add_option("--kind", options.kind, "only kinds with this text in their name");
    app.add_option("--point", options.points, "only these points of each kind and setup");
    app.add_option("--jobs", options.jobs, "processes at a time")->check(CLI::PositiveNumber)->capture_default_str();
    app.add_flag("--states", options.states, "only list the states in which interrupted runs can leave the board");
    CLI11_PARSE(app, argc, argv);
    if (options.states) {
        return print_states();
    }
    const std::span<Row> rows = make_rows(options);
    const bool all_well = run_jobs(rows, options);
    return print_table(rows, options.is_complete()) && all_well ? 0 : 1;
}

// SPDX-License-Identifier: MIT
// sv_sweep: interrupts an update at every point and prints a table of what survived.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <iostream>
#include <numeric>
#include <random>
#include <sstream>

#include "tests/sweep/pattern.h"
#include "tests/sweep/point.h"
#include "tests/sweep/states.h"

namespace {

using sweep::Kind;
using sweep::kWindows;
using sweep::Outcome;
using sweep::Point;
using sweep::Setup;

constexpr size_t kMaxProblems = 20;
constexpr size_t kSampledStates = 20;
constexpr uint64_t kStateShares = 4;
const std::string kUnexplained = "UNEXPLAINED: ";

struct Options {
    uint64_t sample = 0;
    uint64_t seed = 1;
    std::string kind;
    std::vector<uint64_t> points;
    std::string share;
    uint64_t share_number = 0;
    uint64_t shares = 1;
    bool merge = false;
    bool states = false;

    bool is_complete() const {
        return sample == 0 && points.empty();
    }
};

constexpr size_t kFailed = kWindows;  // index of an outcome after those of the windows; 0: everything held

/// The outcomes of one kind.
struct Row {
    const Kind* kind = nullptr;
    uint64_t points = 0;
    std::array<uint64_t, kWindows + 1> outcomes{};
    uint64_t unconfirmed = 0;  ///< of these, runs of sv_ctl that ended with status 6
};

struct Table {
    std::vector<Row> rows;
    std::vector<std::string> problems;
};

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

/// Counts the points of all kinds, and tries those of this share.
Table try_points(const Options& options) {
    Table table;
    std::mt19937_64 random(options.seed);
    uint64_t total = 0;
    for (const Kind& kind : sweep::kinds()) {
        if (std::string(kind.name).find(options.kind) == std::string::npos) {
            continue;
        }
        Row row{&kind};
        // Each share that tries such a kind has to find the states: few do, and take all points of a setup.
        const bool by_setup = kind.setups.find("{state}") != std::string::npos;
        const uint64_t shares = by_setup ? std::min(options.shares, kStateShares) : options.shares;
        if (options.share_number >= shares) {
            table.rows.push_back(row);
            continue;
        }
        for (const std::string& text : sweep::expand(kind.setups, {})) {
            if (by_setup && !options.merge && total++ % shares != options.share_number) {
                continue;
            }
            const Setup setup = sweep::parse_setup(text);
            std::vector<Point> points = choose_points(kind, setup, options, random);
            row.points += points.size();
            if (!by_setup) {
                std::erase_if(points, [&](const Point&) { return total++ % shares != options.share_number; });
            }
            if (options.merge || points.empty()) {
                continue;
            }
            sweep::run_points(kind, setup, points, [&](const Point& point, const Outcome& outcome) {
                const bool failed = !outcome.failure.empty();
                ++row.outcomes[failed ? kFailed : static_cast<size_t>(outcome.window)];
                row.unconfirmed += outcome.unconfirmed ? 1 : 0;
                if (failed && table.problems.size() < kMaxProblems) {
                    table.problems.push_back(std::string(kind.name) + ", point " + std::to_string(point.number) + ": " +
                                             text + ", " + point.text + ": " + outcome.failure);
                }
            });
        }
        table.rows.push_back(row);
    }
    return table;
}

void print_problems(const Table& table) {
    for (const std::string& problem : table.problems) {
        std::printf("%s%s\n", kUnexplained.c_str(), problem.c_str());
    }
}

/// One line of numbers per row, then the problems.
void print_share(const Table& table) {
    for (const Row& row : table.rows) {
        for (const uint64_t number : row.outcomes) {
            std::printf("%" PRIu64 " ", number);
        }
        std::printf("%" PRIu64 "\n", row.unconfirmed);
    }
    print_problems(table);
}

/// Adds the output of all shares, one after the other.
void add_shares(std::istream& in, Table& table) {
    size_t next = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(kUnexplained)) {
            table.problems.push_back(line.substr(kUnexplained.size()));
            continue;
        }
        std::istringstream numbers(line);
        Row& row = table.rows[next++ % table.rows.size()];
        uint64_t number = 0;
        for (uint64_t& sum : row.outcomes) {
            numbers >> number;
            sum += number;
        }
        numbers >> number;
        row.unconfirmed += number;
    }
}

/// Reports windows that the kind does not name, in a complete run also any other number of them, and points without an
/// outcome.
void check_row(const Row& row, bool complete, std::vector<std::string>& problems) {
    const std::string name = row.kind->name;
    std::array<uint64_t, kWindows> expected{};
    for (const auto& [window, number] : row.kind->windows) {
        expected[static_cast<size_t>(window)] = number;
    }
    for (size_t i = 1; i < kWindows; ++i) {
        const uint64_t number = row.outcomes[i];
        if (complete ? number != expected[i] : number != 0 && expected[i] == 0) {
            problems.push_back(name + ": " + std::to_string(number) + " times " + sweep::kWindowNames[i] +
                               " instead of " + std::to_string(expected[i]));
        }
    }
    const uint64_t tried = std::accumulate(row.outcomes.begin(), row.outcomes.end(), uint64_t{0});
    if (tried != row.points || (complete && tried == 0)) {
        problems.push_back(name + ": " + std::to_string(tried) + " of " + std::to_string(row.points) +
                           " points were tried");
    }
}

void print_row(const char* name, const Row& row) {
    std::string exceptions;
    for (size_t i = 1; i <= kFailed; ++i) {
        if (row.outcomes[i] != 0) {
            exceptions += std::string(exceptions.empty() ? "" : ", ") +
                          (i == kFailed ? "UNEXPLAINED" : sweep::kWindowNames[i]) + " " +
                          std::to_string(row.outcomes[i]);
        }
    }
    if (row.unconfirmed != 0) {
        exceptions += std::string(exceptions.empty() ? "" : ", ") + "status 6: " + std::to_string(row.unconfirmed);
    }
    std::printf("%-40s %8" PRIu64 " %8" PRIu64 "  %s\n", name, row.points, row.outcomes[0], exceptions.c_str());
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

int print_table(Table& table, bool complete) {
    Row sum;
    std::printf("%-40s %8s %8s  %s\n", "kind", "points", "held", "exceptions");
    for (const Row& row : table.rows) {
        check_row(row, complete, table.problems);
        print_row(row.kind->name, row);
        sum.points += row.points;
        sum.unconfirmed += row.unconfirmed;
        for (size_t i = 0; i <= kFailed; ++i) {
            sum.outcomes[i] += row.outcomes[i];
        }
    }
    print_row("all", sum);
    print_problems(table);
    return sum.points != 0 && table.problems.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Interrupts a firmware update at every point, on the simulated board, and reports what survived.");
    Options options;
    app.add_option("--sample", options.sample, "try N random points of each kind and setup instead of all");
    app.add_option("--seed", options.seed, "of the sample")->capture_default_str();
    app.add_option("--kind", options.kind, "only kinds with this text in their name");
    app.add_option("--point", options.points, "only these points of each kind and setup");
    app.add_option("--share", options.share, "I/N: only the Ith of N shares, from 0; print the counts for --merge");
    app.add_flag("--merge", options.merge, "read the counts of all shares from standard input and print the table");
    app.add_flag("--states", options.states, "only list the states in which interrupted runs can leave the board");
    CLI11_PARSE(app, argc, argv);
    if (!options.share.empty() &&
        (std::sscanf(options.share.c_str(), "%" SCNu64 "/%" SCNu64, &options.share_number, &options.shares) != 2 ||
         options.share_number >= options.shares)) {
        std::fprintf(stderr, "--share: I/N with I below N\n");
        return 2;
    }
    if (options.states) {
        return print_states();
    }
    if (options.sample != 0) {
        sweep::find_states(kSampledStates);
    }
    Table table = try_points(options);
    if (!options.share.empty()) {
        print_share(table);
        return 0;
    }
    if (options.merge) {
        add_shares(std::cin, table);
    }
    return print_table(table, options.is_complete());
}

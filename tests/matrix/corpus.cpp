// SPDX-License-Identifier: MIT
// Prints what the tool does with random answers from the bus, made from their numbers: outputs, system log, transfers
// and sleeps of every run.
//   sv_corpus [COUNT [FIRST]]     COUNT inputs (3,000) from number FIRST (0) on
#include <cstdio>
#include <cstdlib>
#include <random>

#include "tests/fuzz/bus_answers.h"

namespace {

constexpr size_t kMaxData = 400;

/// An input of the fuzz target bus_answers. The same number gives the same bytes on every processor and with every
/// library: the standard fixes the engine, but not the distributions.
std::vector<uint8_t> random_input(uint64_t number) {
    std::mt19937_64 engine(number);
    const auto roll = [&engine](uint64_t sides) { return static_cast<uint8_t>(engine() % sides); };
    std::vector<uint8_t> input = {roll(256), roll(3)};
    for (int n = input[1]; n > 0; --n) {
        input.insert(input.end(), {roll(256), roll(8), roll(256)});
    }
    const size_t data = input.size();
    input.resize(data + static_cast<size_t>(engine() % kMaxData));
    for (size_t i = data; i < input.size(); ++i) {
        input[i] = roll(roll(4) == 0 ? 4 : 256);  // small codes are common in states and counts
    }
    // Three in four answers to an identity pass its checks: the version block comes first, in --status after 22 bytes.
    const size_t at = data + (roll(2) == 0 ? 0 : 22);
    if (roll(4) != 0 && at + 74 <= input.size()) {
        input[at] = static_cast<uint8_t>(1 + roll(3));
        input[at + 1] = 0;
        constexpr uint8_t sizes[] = {0, 0, 2, 0, 0, 2};
        std::copy(std::begin(sizes), std::end(sizes), input.begin() + static_cast<long>(at + 68));
    }
    return input;
}

void print_run(uint64_t number, const std::vector<std::string>& words, const ToolRun& run, const FakeKernel& kernel) {
    std::printf("run %llu:", static_cast<unsigned long long>(number));
    for (const std::string& word : words) {
        std::printf(" %s", word.c_str());
    }
    // The sign of a NaN differs between processors.
    check(!contains(run.out + run.err, "nan"), "no input leads to a NaN");
    std::printf("\nstatus %d\n%s\n%s\n", run.status, run.out.c_str(), run.err.c_str());
    for (const SyslogLine& line : kernel.syslog) {
        std::printf("syslog %d %s\n", line.priority, line.text.c_str());
    }
    for (const std::string& line : kernel.wire) {
        std::printf("%s\n", line.c_str());
    }
    for (const uint32_t us : kernel.sleeps_us) {
        std::printf("%u\n", us);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const uint64_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 3000;
    const uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 0;
    for (uint64_t number = first; number < first + count; ++number) {
        const std::vector<uint8_t> input = random_input(number);
        run_bus_answers({input}, [&](const auto& words, const auto& run, const auto& kernel) {
            print_run(number, words, run, kernel);
        });
    }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}

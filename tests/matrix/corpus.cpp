// SPDX-License-Identifier: MIT
// Prints what the tool does on boards made by number: outputs, system log, sleeps and transfers of every command.
//   sv_corpus [COUNT [FIRST]]     COUNT boards (300) from number FIRST (0) on
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tests/matrix/random_board.h"
#include "tests/support/tool_run.h"
#include "tests/support/update_file_bytes.h"

namespace {

using Words = std::vector<std::string>;

const Words kPrinting[] = {
    {"--version"},
    {"--hw-version", "--sw-version", "--serial", "--date", "--bom-version", "--probe"},
    {"--serial"},
    {"--date"},
    {"--status"},
    {"--status-poetest"},
    {"--status-poetest-rebooted"},
    {"--dump"},
    {"--dumps"},
    {"--no-dump-reset", "--dump", "--dumps"},
    {"--status-poe"},
    {"--status-cable"},
    {"--status-pse-adc"},
    {"--debug-update"},
};

// Numbers where the width of a type would show, and what the settings say.
const Words kWords[] = {
    {"--help"},
    {"--bus", "4294967296"},
    {"--bus", "-2147483649"},
    {"--bus", "99999999999999999999"},
    {"--addr", "4294967304", "--probe"},
    {"--addr", "0x7fffffffffffffff", "--probe"},
    {"--addr", "-9223372036854775809", "--probe"},
    {"--reset-delay", "0.7", "--reset"},
    {"--reset-delay", "3.4e38", "--reset"},
    {"--reset-delay", "1e-46", "--reset"},
    {"--reset-now-sync", "--version"},
    {"--reset-now"},
    {"--set-mode", "psuled", "0x1ffffffff"},
    {"--set-mode", "psuled", "99999999999999999999"},
    {"--set-mode", "test-msg", "0xfffffffff"},
    {"--set-mode", "test-msg", "-1"},
    {"--set-mode", "test-10V", "4294967295"},
    {"--set-mode", "test-extsw", "x"},
    {"--set-mode", "prio", "high"},
    {"--set-mode", "led1", "or"},
    {"--set-mode", "teko2", "off"},
    {"--set-mode", "store"},
    {"--set-mode"},
    {"--erase"},
    {"--read-update", "half"},
    {"nonsense"},
};

// Thousands of transfers each: not for every board.
const Words kLong[] = {
    {"--update", "good", "--read", "memory"},
    {"--without-force-update", "--update-without-reset", "--update", "good", "--upd", "good"},
    {"--update", "half"},
};
constexpr uint64_t kLongEvery = 50;

void print_run(sim::Board& board, uint64_t seed, const Words& words, uint64_t first_lost) {
    static const std::string good = [] {
        UpdateFileBytes file;
        for (const uint16_t page : std::initializer_list<uint16_t>{0, 1, 7, 254, 256, 300, 510}) {
            file.fill_page(page);
        }
        const std::vector<uint8_t> bytes = file.bytes();
        return std::string(bytes.begin(), bytes.end());
    }();
    FakeKernel kernel(board);
    kernel.files = {{"good", good}, {"half", good.substr(0, good.size() / 2)}, {"memory", ""}};
    uint64_t transfer = 0;
    kernel.on_bus = [&](std::span<const sim::Message> messages) {
        return ++transfer < first_lost && board.transfer(messages);
    };
    std::printf("board %llu:", static_cast<unsigned long long>(seed));
    for (const std::string& word : words) {
        std::printf(" %s", word.c_str());
    }
    const ToolRun run = run_tool_words(words);
    if ((run.out + run.err).find("nan") != std::string::npos) {
        std::fprintf(stderr, "board %llu: what is not a number does not belong here\n",
                     static_cast<unsigned long long>(seed));
        std::exit(1);
    }
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

void print_board(uint64_t seed) {
    Dice dice(seed);
    sim::Board board;
    board.scenario = random_scenario(dice);
    // One in four falls silent for good, somewhere.
    const uint64_t first_lost = dice.roll(4) == 0 ? dice.roll(120) : UINT64_MAX;
    for (const Words& words : kPrinting) {
        print_run(board, seed, words, first_lost);
    }
    print_run(board, seed, dice.pick(std::span<const Words>(kWords)), first_lost);
    if (seed % kLongEvery == 0) {
        board.scenario.mcu = true;
        print_run(board, seed, kLong[seed / kLongEvery % std::size(kLong)], UINT64_MAX);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const uint64_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 300;
    const uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 0;
    for (uint64_t seed = first; seed < first + count; ++seed) {
        print_board(seed);
    }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}

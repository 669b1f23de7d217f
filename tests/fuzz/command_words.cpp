// SPDX-License-Identifier: MIT
// Any command line on a healthy board; the input has one word per line. A byte above 0x7F at the start of a line stands
// for a keyword, so that the fuzzer need not spell it. Every file that a word can name is faked: no word writes a file
// of the host. "good" is an update file that loads; any other file contains its own name.
#include <memory>

#include "cli/commands.h"
#include "tests/fuzz/update_files.h"
#include "tests/support/tool_run.h"

namespace {

constexpr size_t kMaxWords = 12;
constexpr size_t kMaxLength = 300;
// An update of two pages takes 300 transfers. After these nothing on the bus answers.
constexpr uint64_t kTransfers = 2000;
constexpr uint64_t kMaxTransfersPerWord = 100;  // refused ones
constexpr uint64_t kPollLimit = 5001;
constexpr uint64_t kMaxSleepUsPerWord = 20'000'000;  // three attempts of an update, each with a reset

}  // namespace

void command_words(Input input) {
    static const sim::Board fresh;
    static std::unique_ptr<sim::Board> board;
    if (board == nullptr || board->transfers() > 0) {
        board.reset(new sim::Board(fresh.clone()));  // takes time: only after runs that have reached it
    }
    FakeKernel kernel(*board);
    kernel.files["good"].swap(lent_file());
    kernel.keep_wire = false;
    uint64_t transfers = 0;
    kernel.on_bus = [&](std::span<const sim::Message> messages) {
        return ++transfers <= kTransfers && board->transfer(messages);
    };
    std::vector<std::string> words;
    while (!input.rest.empty() && words.size() < kMaxWords) {
        std::string word(input.until('\n').substr(0, kMaxLength));
        if (const auto first = static_cast<uint8_t>(word[0]); first >= 0x80) {
            word = command_table()[first % command_table().size()].keyword;
        }
        words.emplace_back(word.c_str());
        if (word != "good" && word != "/dev/full" && !word.starts_with("/proc/") && !word.starts_with("/sys/")) {
            kernel.files[words.back()] = word;
        }
    }

    const ToolRun run = run_tool_words(words);
    check(run.status == 0 || run.status == 255, "the exit status is 0 or 255");
    check(run.status == 0 || !run.out.empty() || !run.err.empty(), "a failure is explained");
    check(run.status == 255 || !contains(run.err, "] error "), "an error ends the run");
    check(board->violations.empty(), "no rule of the board is broken");
    check(transfers <= kTransfers + kPollLimit + words.size() * kMaxTransfersPerWord, "transfers are bounded");
    check(kernel.slept_us <= words.size() * kMaxSleepUsPerWord, "waiting is bounded");
    const bool spoken = std::all_of(words.begin(), words.end(), is_text);
    check(!spoken || (is_text(run.out) && is_text(run.err)), "the output is text where the words are");
    kernel.files["good"].swap(lent_file());
}

// SPDX-License-Identifier: MIT
#include "tests/sweep/ctl_judge.h"

#include <algorithm>

#include "ctl/outcome.h"
#include "mcu/registers.h"
#include "tests/support/tool_run.h"
#include "tests/sweep/states.h"

namespace sweep {

namespace {

bool can_start(const sim::Board& board) {
    return board.flash.next_start(0) >= 0;  // with either choice, or with none
}

/// The words of the list that is the member "advice" of the object; none if it is null.
std::vector<std::string> advice_of(const std::string& json) {
    const std::string name = "\"advice\":[";
    const size_t begin = json.find(name);
    if (begin == std::string::npos) {
        return {};
    }
    // Words of an update have neither quotes nor commas.
    std::string list = json.substr(begin + name.size(), json.find(']', begin) - begin - name.size());
    std::erase(list, '"');
    std::replace(list.begin(), list.end(), ',', ' ');
    return split(list);
}

}  // namespace

Beginning find_beginning(const sim::Board& board) {
    const auto& regions = board.flash.regions;
    const auto starts = [&](int region) { return board.flash.next_start(region) == region; };
    if (can_start(board)) {
        const int other = board.flash.other();
        const bool zero = !starts(1 - other) && regions[static_cast<size_t>(other)].swid == 0;
        return {true, zero ? Window::kIdZero : Window::kNone};
    }
    // Enabled, and its content is not the one that was enabled.
    return {false, regions[0].enabled || regions[1].enabled ? Window::kOverwritten : Window::kUnstartableBefore};
}

bool CtlJudge::is_lost() const {
    return board_.flash.running() < 0;
}

bool CtlJudge::file_runs() const {
    const int region = board_.flash.running();
    return region >= 0 && holds(board_, region, material_.regions[region]) &&
           board_.flash.regions[static_cast<size_t>(region)].swid == material_.swid;
}

void CtlJudge::check_now() {
    if (!is_lost() && can_start(board_)) {
        beginning_ = find_beginning(board_);
    } else if (is_lost() || beginning_.could_start) {
        excuse(beginning_.window, "no region could start");
    }
}

void CtlJudge::watch(const sim::Transfer& transfer) {
    commands_ += transfer.messages.size() == 1 && sim::command_of(transfer.messages[0].bytes) ? 1 : 0;
    if (const sim::FrameForm* form = frame_of(transfer); form != nullptr) {
        changes_ += form->changes ? 1 : 0;
        const bool reset = form->command == FrameCommand::kResetDelayed || form->command == FrameCommand::kResetNow;
        if (reset && !is_lost() && !can_start(board_)) {
            // A region that two programs spoilt together looks like a good one.
            excuse(beginning_.window == Window::kOverwritten ? beginning_.window : Window::kNone,
                   "a reset while no region could start");
        }
    }
    const bool is_poll = transfer.messages.size() == 2 && (transfer.messages[0].bytes[0] == kFrameCommandRegister ||
                                                           transfer.messages[0].bytes[0] == kCommandRegister);
    if (denied_ != 0 && commands_ == denied_ && is_poll && transfer.messages[1].bytes[0] != 0) {
        transfer.messages[1].bytes[0] = kStatusFinished;
        denied_ = 0;
    }
    if (!board_.violations.empty()) {
        fail(board_.violations.back());
    }
    if (find_changes().any) {
        check_now();
    }
}

/// The status that the program ended with, against the flash as it is.
void CtlJudge::check_status(const Run& run, const std::string& content_before) {
    const int running = board_.flash.running();
    const bool starts = running >= 0 && board_.flash.next_start(running) == running;
    const bool sure = run.out.find("\"next_start\":\"same\"") != std::string::npos;
    bool is_true = false;
    switch (run.status) {
        case kDone: is_true = file_runs() && starts && changes_ != 0; break;
        case kCurrent: is_true = file_runs() && changes_ == 0; break;
        case kRefused: is_true = changes_ == 0; break;
        case kFailed: is_true = starts && changes_ != 0 && content_text(board_, running) == content_before; break;
        case kUnconfirmed: is_true = changes_ != 0; break;
        default: break;
    }
    if (!is_true) {
        fail("status " + std::to_string(run.status) + " is not true: " + state_text(board_));
    }
    if (run.status == kDone && sure && board_.flash.next_start(1 - running) != running) {
        const bool zero = board_.flash.regions[static_cast<size_t>(1 - running)].swid == 0;
        excuse(zero ? Window::kIdZero : Window::kNone, "next_start is not the same: " + state_text(board_));
    }
}

Run CtlJudge::run(const std::vector<std::string>& words) {
    const std::string before = content_text(board_, board_.flash.running());
    changes_ = 0;
    Run result = run_words(board_, words);
    check_status(result, before);
    return result;
}

std::vector<std::string> CtlJudge::next_words(const Run& run) {
    std::vector<std::string> advice = advice_of(run.out);
    if (run.status != kFailed && run.status != kUnconfirmed) {
        return ctl_words(setup_);
    }
    if (advice.empty() && !is_lost()) {
        fail("no advice");
    }
    return advice;
}

void CtlJudge::run_undisturbed(const std::vector<std::string>& words) {
    if (is_lost()) {
        return;  // as check_now has reported
    }
    const Run result = run(words);
    if (is_lost()) {
        return;
    }
    if (result.status != kDone && result.status != kCurrent) {
        fail("the undisturbed run ended with " + std::to_string(result.status) + ": " + result.verdict);
    }
    if (!can_start(board_)) {
        // Without --sure, a firmware that runs is left alone, and no answer of the MCU shows that nothing can start.
        const bool known = result.status == kCurrent && !beginning_.could_start;
        excuse(known ? beginning_.window : Window::kNone, "no region could start at the end");
    }
    // What runs "now" may not be what a pending reset starts.
    if (result.status == kDone) {
        settle(board_);
        check_now();
    }
    if (!file_runs()) {
        fail("the file does not run at the end: " + state_text(board_));
    }
}

}  // namespace sweep

// SPDX-License-Identifier: MIT
#include "tests/sweep/judge.h"

#include <algorithm>

#include "mcu/flash_geometry.h"

namespace sweep {

namespace {

using sim::RegionEvent;

constexpr uint64_t kPolls = 5001;
constexpr uint64_t kPagePauseMs = 500;
// A reset request that is never answered takes 4.2 s and some 40 transfers; these leave room for a few single retries.
constexpr uint64_t kResetTransfers = 200;
constexpr uint64_t kResetMs = 4300;

const std::string kOkay = "overall SV MCU update = okay";
const std::string kResetNeeded = "overall SV MCU update = reset-needed";
const std::string kError = "overall SV MCU update = ERROR";

bool has(const std::vector<std::string>& flags, const char* flag) {
    return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

}  // namespace

void Judge::begin_run() {
    run_begin_ = board_.flash.history.size();
    attempt_begin_ = board_.flash.history.size();
    attempt_running_ = board_.flash.running();
    disable_answered_ = true;
    reset_answered_ = false;
    reset_now_sent_ = false;
}

void Judge::check_now() {
    const int running = board_.flash.running();
    if (running >= 0 && !is_complete(running)) {
        fail("region " + std::to_string(running) + " runs without being complete");
    }
    check_power_cycle();
}

bool Judge::is_lost() const {
    return board_.flash.next_start(0) < 0 && board_.flash.running() < 0;
}

void Judge::watch_answers(const sim::Transfer& transfer) {
    const auto& messages = transfer.messages;
    if (messages[0].address != kMcuAddress) {
        return;
    }
    if (const sim::FrameForm* form = frame_of(transfer); form != nullptr) {
        frame_ = form->command;
        disable_answered_ = disable_answered_ && frame_ != FrameCommand::kDisableCurrent;
        reset_now_sent_ = reset_now_sent_ || frame_ == FrameCommand::kResetNow;
        if (frame_ == FrameCommand::kReadVersion) {
            attempt_begin_ = board_.flash.history.size();
            attempt_running_ = board_.flash.running();
        }
    }
    const bool is_poll = messages.size() == 2 && messages[0].bytes[0] == kFrameCommandRegister;
    if (is_poll && transfer.acknowledged && is_success(messages[1].bytes[0])) {
        disable_answered_ = disable_answered_ || frame_ == FrameCommand::kDisableCurrent;
        reset_answered_ = reset_answered_ || frame_ == FrameCommand::kResetDelayed;
        // The MCU's own success is C0.
        false_success_ = false_success_ || messages[1].bytes[0] == 0xFF;
    }
}

void Judge::watch(const sim::Transfer& transfer) {
    watch_answers(transfer);
    check_violations();
    const Changes changes = find_changes();
    const int running = board_.flash.running();
    if (running >= 0 && changes.written[running]) {
        fail("region " + std::to_string(running) + " is written while it runs");
    }
    if (changes.any) {
        check_power_cycle();
    }
}

void Judge::check_violations() {
    if (board_.violations.size() != seen_violations_) {
        seen_violations_ = board_.violations.size();
        const std::string& text = board_.violations.back();
        const bool switched = board_.flash.running() != attempt_running_ &&
                              text.find("belongs to the running region") != std::string::npos;
        excuse(switched ? Window::kRegionsSwitched : when_misled(), text);
    }
}

Window Judge::when_misled() const {
    return false_success_ ? Window::kFalseSuccess : Window::kNone;
}

bool Judge::is_complete(int region) {
    bool& known = complete_[region];
    if (complete_writes_[region] != board_.flash.writes(region)) {
        complete_writes_[region] = board_.flash.writes(region);
        known = holds(board_, region, material_.regions[region]) || holds(board_, region, old_firmware(region));
    }
    return known;
}

/// For each region that the MCU may prefer.
void Judge::check_power_cycle() {
    for (const int choice : {0, 1}) {
        const int region = board_.flash.next_start(choice);
        if (region < 0) {
            excuse(open_window(), "no region could start");
        } else if (!is_complete(region)) {
            fail("region " + std::to_string(region) + " could start without being complete");
        }
    }
}

/// Why no region can start: the last erase came when the running region was already disabled.
Window Judge::open_window() const {
    const auto& history = board_.flash.history;
    size_t erase = history.size();
    while (erase > 0 && history[erase - 1].kind != RegionEvent::kErased) {
        --erase;
    }
    for (size_t i = erase; i-- > 0;) {
        if (history[i].kind == RegionEvent::kStarted) {
            return Window::kNone;
        }
        if (history[i].kind == RegionEvent::kDisabled && history[i].region != history[erase - 1].region) {
            return i < run_begin_ ? Window::kBeforeRestart : disable_answered_ ? Window::kNone : Window::kLostAnswer;
        }
    }
    // The history begins after the first update of such a board.
    return setup_.start == Start::kUpdated && erase > 0 ? Window::kBeforeRestart : Window::kNone;
}

/// Why the new firmware does not run after a success.
Window Judge::why_old_firmware() const {
    const auto& history = board_.flash.history;
    int enabled = -1;
    bool restarted = false;
    for (size_t i = attempt_begin_; i < history.size(); ++i) {
        if (history[i].kind == RegionEvent::kEnabled) {
            enabled = history[i].region;
            restarted = false;
        } else if (history[i].kind == RegionEvent::kDisabled && history[i].region == enabled) {
            return Window::kRestartBetween;
        }
        restarted = restarted || history[i].kind == RegionEvent::kStarted;
    }
    const std::string& choice = board_.scenario.boot_choice;
    const int next = board_.flash.next_start(choice == "latest" ? -1 : choice[0] - '0');
    const bool ready = next >= 0 && holds(board_, next, material_.regions[next]);
    const bool reset_lost = ready && !restarted && !reset_answered_ && reset_now_sent_;
    return reset_lost ? Window::kResetLost : when_misled();
}

bool Judge::happened(RegionEvent::Kind kind) const {
    const auto& history = board_.flash.history;
    return std::any_of(history.begin() + static_cast<std::ptrdiff_t>(attempt_begin_), history.end(),
                       [&](const RegionEvent& event) { return event.kind == kind; });
}

void Judge::check_verdict(const Run& run, const std::vector<std::string>& flags) {
    const bool success = run.verdict == kOkay || run.verdict == kResetNeeded;
    if ((run.status == 0) != success || (run.status == 255) != (run.verdict == kError)) {
        fail("status " + std::to_string(run.status) + " with \"" + run.verdict + "\"");
    }
    if (!success) {
        return;
    }
    if ((run.verdict == kResetNeeded) != has(flags, "--update-without-reset")) {
        fail("the verdict is \"" + run.verdict + "\"");
    }
    const bool programmed = happened(RegionEvent::kErased);
    if (!programmed && !has(flags, "--without-force-update")) {
        excuse(when_misled(), "a success without an erase");
    }
    if (programmed && !happened(RegionEvent::kEnabled)) {
        excuse(when_misled(), "a success without an enable");
    }
    if (programmed && !happened(RegionEvent::kDisabled) && !has(flags, "--update-without-disable")) {
        excuse(when_misled(), "a success without a disable");
    }
}

/// On a settled board after a success.
void Judge::check_new_firmware(const std::vector<std::string>& flags) {
    const int region = board_.flash.running();
    const bool started = happened(RegionEvent::kStarted);
    // With both regions enabled on purpose, the MCU may start either.
    const bool may_choose = started && board_.flash.next_start(0) != board_.flash.next_start(1) &&
                            (has(flags, "--update-without-disable") || setup_.start == Start::kRebootOnly);
    if (region >= 0 && !may_choose && !holds(board_, region, material_.regions[region])) {
        excuse(why_old_firmware(), "the new firmware does not run");
    }
}

void Judge::end_run(const Run& run, const Limits& limits, uint64_t transfers) {
    const uint64_t polls = limits.timeouts * kPolls;
    if (run.transfers > limits.attempts * transfers + polls + kResetTransfers ||
        run.slept_us > 1000 * (polls + limits.page_retries * kPagePauseMs + kResetMs)) {
        fail(std::to_string(run.transfers) + " transfers and " + std::to_string(run.slept_us) + " us of sleep");
    }
    check_verdict(run, setup_.flags);
    settle(board_);
    if (run.verdict == kResetNeeded) {
        board_.mcu.restart();
        settle(board_);
    }
    check_now();
    if (run.status == 0) {
        check_new_firmware(setup_.flags);
    }
}

void Judge::end_undisturbed_run(const Run& run, uint64_t transfers) {
    if (run.status != 0 || run.transfers != transfers) {
        fail("the undisturbed run ended with " + std::to_string(run.status) + " after " +
             std::to_string(run.transfers) + " transfers: " + run.verdict);
    }
    check_verdict(run, {});
    settle(board_);
    check_now();
    check_new_firmware({});
}

}  // namespace sweep

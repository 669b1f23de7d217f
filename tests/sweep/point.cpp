// SPDX-License-Identifier: MIT
#include "tests/sweep/point.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "mcu/flash_geometry.h"
#include "mcu/registers.h"
#include "tests/support/tool_run.h"
#include "tests/sweep/ctl_judge.h"
#include "tests/sweep/states.h"

namespace sweep {

namespace {

using Report = std::function<void(const Point&, const Outcome&)>;

constexpr uint64_t kPowerOffUs = 1'000'000;
const std::string kDeny = "denied@";  // not a fault of the board: CtlJudge::deny

void add_faults(sim::Board& board, const Point& point) {
    for (const std::string& fault : split(point.text)) {
        board.add_fault(fault);
    }
}

void run_again(sim::Board& board, Judge& judge, const Setup& setup) {
    judge.begin_run();
    judge.end_undisturbed_run(run_update(board, {}, setup.pages),
                              counts(parse_setup("pages=" + setup.pages)).transfers);
}

void cut_power(sim::Board& board) {
    board.mcu.restart();
    board.now_us += kPowerOffUs;
    board.mcu.advance(board.now_us);
}

/// All that a new process can find, and what is to be done.
std::string key_of(const sim::Board& board, const Beginning& beginning, const Words& words) {
    std::string key = state_text(board) + board.scenario.boot_choice + std::to_string(board.flash.latest) +
                      std::to_string(static_cast<int>(beginning.window)) + (beginning.could_start ? "+" : "-");
    const sim::McuState& mcu = board.mcu.state();
    const uint64_t silent = std::max(mcu.silent_until_us, board.now_us) - board.now_us;
    const uint64_t due = mcu.reset_due_us ? *mcu.reset_due_us - board.now_us : 0;
    for (const uint64_t number : {silent, due, uint64_t{mcu.registers[kMarkerRegister]}}) {
        key += " " + std::to_string(number);
    }
    const auto* memory = reinterpret_cast<const char*>(board.flash.memory().data());
    for (const size_t region : {0, 1}) {
        const std::string_view bytes(memory + region * kRegionSize, kRegionSize);
        key += " " + std::to_string(board.flash.regions[region].checksum) + " " +
               std::to_string(std::hash<std::string_view>()(bytes));
    }
    for (const std::string& word : words) {
        key += " " + word;
    }
    return key;
}

/// A new process of sv_ctl on the board as it is, undisturbed. Boards that look alike to it are tried once.
const Outcome& run_ctl_on_copy(const sim::Board& board, const Setup& setup, const Beginning& beginning,
                               const Words& words) {
    static std::map<std::string, Outcome> all;
    const auto [entry, is_new] = all.try_emplace(key_of(board, beginning, words));
    if (is_new) {
        sim::Board copy = board.clone();
        CtlJudge judge(copy, setup, beginning);
        judge.check_now();
        judge.run_undisturbed(words);
        entry->second = {judge.window(), judge.failure()};
    }
    return entry->second;
}

Outcome cut_ctl(const sim::Board& board, const Setup& setup, const Beginning& beginning, bool power) {
    if (!power) {
        return run_ctl_on_copy(board, setup, beginning, ctl_words(setup));
    }
    sim::Board copy = board.clone();
    cut_power(copy);
    return run_ctl_on_copy(copy, setup, beginning, ctl_words(setup));
}

Outcome ctl_goes_on(const Setup& setup, const sim::Board& fresh, const Point& point) {
    sim::Board board = fresh.clone();
    CtlJudge judge(board, setup, find_beginning(board));
    if (point.text.starts_with(kDeny)) {
        judge.deny(std::stoull(point.text.substr(kDeny.size())));
    } else {
        add_faults(board, point);
    }
    const Run run = judge.run(ctl_words(setup));
    const Words words = judge.next_words(run);
    Outcome outcome = judge.failure().empty() ? run_ctl_on_copy(board, setup, judge.beginning(), words)
                                              : Outcome{judge.window(), judge.failure()};
    if (outcome.window == Window::kNone) {
        outcome.window = judge.window();
    }
    outcome.unconfirmed = run.status == 6;
    return outcome;
}

/// A new process of the tool on the board as it is; with `power_cut` the MCU starts anew before it.
Outcome run_on_copy(const sim::Board& board, const Setup& setup, bool power_cut) {
    sim::Board copy = board.clone();
    Judge judge(copy, setup);
    if (power_cut) {
        cut_power(copy);
        judge.check_now();
    }
    if (!judge.is_lost()) {
        run_again(copy, judge, setup);
    }
    return {judge.window(), judge.failure()};
}

Outcome go_on(const Kind& kind, const Setup& setup, const sim::Board& fresh, const Point& point) {
    sim::Board board = fresh.clone();
    add_faults(board, point);
    Judge judge(board, setup);
    judge.begin_run();
    judge.end_run(run_update(board, setup.flags, setup.pages), kind.limits, counts(setup).transfers);
    if (!judge.is_lost()) {
        run_again(board, judge, setup);
    }
    return {judge.window(), judge.failure()};
}

Outcome tear_and_cut(const Setup& setup, const sim::Board& fresh, const Point& point) {
    sim::Board board = fresh.clone();
    add_faults(board, point);
    Outcome outcome{Window::kNone, "nothing was torn"};
    bool torn = false;
    board.on_transfer = [&](const sim::Transfer&) {
        if (!torn && !board.flash.history.empty() && board.flash.history.back().kind == sim::RegionEvent::kStarted) {
            torn = true;
            outcome = run_on_copy(board, setup, true);
            board.add_fault("dead@1");  // ends this run soon: its outcome does not matter
        }
    };
    run_update(board, setup.flags, setup.pages);
    return outcome;
}

bool is_change(const sim::Transfer& transfer) {
    const sim::FrameForm* form = frame_of(transfer);
    return form != nullptr && form->changes;
}

/// One undisturbed update; the board is copied at each of the points.
void cut_at_each(const Setup& setup, const sim::Board& fresh, Mode mode, const std::vector<Point>& points,
                 const Report& report) {
    const bool power = mode == Mode::kBothCut;
    const Beginning beginning = find_beginning(fresh);
    sim::Board board = fresh.clone();
    uint64_t now = 0;
    auto next = points.begin();
    const auto cut_here = [&] {
        for (; next != points.end() && next->number == now; ++next) {
            report(*next, setup.ctl ? cut_ctl(board, setup, beginning, power) : run_on_copy(board, setup, power));
        }
        ++now;
    };
    cut_here();
    board.on_transfer = [&](const sim::Transfer& transfer) {
        if (mode == Mode::kKilled || is_change(transfer)) {
            cut_here();
        }
    };
    run_setup(board, setup);
}

}  // namespace

void run_points(const Kind& kind, const Setup& setup, const std::vector<Point>& points, const Report& report) {
    const auto fresh = make_board(setup);
    if (kind.mode == Mode::kKilled || kind.mode == Mode::kKilledAtChange || kind.mode == Mode::kBothCut) {
        cut_at_each(setup, *fresh, kind.mode, points, report);
        return;
    }
    for (const Point& point : points) {
        report(point, setup.ctl                        ? ctl_goes_on(setup, *fresh, point)
                      : kind.mode == Mode::kTornAndCut ? tear_and_cut(setup, *fresh, point)
                                                       : go_on(kind, setup, *fresh, point));
    }
}

}  // namespace sweep

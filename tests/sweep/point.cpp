// SPDX-License-Identifier: MIT
#include "tests/sweep/point.h"

#include <sstream>

#include "tests/sweep/ctl_judge.h"

namespace sweep {

namespace {

using Report = std::function<void(const Point&, const Outcome&)>;

constexpr uint64_t kPowerOffUs = 1'000'000;
const std::string kDeny = "denied@";  // not a fault of the board: CtlJudge::deny

void add_faults(sim::Board& board, const Point& point) {
    std::istringstream words(point.text);
    for (std::string fault; words >> fault;) {
        board.add_fault(fault);
    }
}

void run_again(sim::Board& board, Judge& judge, const Setup& setup) {
    Setup plain;
    plain.pages = setup.pages;
    judge.begin_run();
    judge.end_undisturbed_run(run_update(board, {}, setup.pages), counts(plain).transfers);
}

Outcome ctl_goes_on(const Setup& setup, const sim::Board& fresh, const Point& point) {
    sim::Board board = fresh.clone();
    CtlJudge judge(board, setup, find_beginning(board));
    if (point.text.starts_with(kDeny)) {
        judge.deny(std::stoull(point.text.substr(kDeny.size())));
    } else {
        add_faults(board, point);
    }
    const Run run = judge.run_disturbed();
    judge.follow_advice(run);
    return {judge.window(), judge.failure(), run.status == 6};
}

void cut_power(sim::Board& board) {
    board.mcu.restart();
    board.now_us += kPowerOffUs;
    board.mcu.advance(board.now_us);
}

Outcome run_ctl_on_copy(const sim::Board& board, const Setup& setup, const Beginning& beginning, bool power_cut) {
    sim::Board copy = board.clone();
    CtlJudge judge(copy, setup, beginning);
    if (power_cut) {
        cut_power(copy);
    }
    judge.check_now();
    judge.run_undisturbed();
    return {judge.window(), judge.failure()};
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
            report(*next,
                   setup.ctl ? run_ctl_on_copy(board, setup, beginning, power) : run_on_copy(board, setup, power));
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

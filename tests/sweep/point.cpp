// SPDX-License-Identifier: MIT
#include "tests/sweep/point.h"

namespace sweep {

namespace {

std::vector<std::string> faults_of(const Kind& kind, const Setup& setup, uint64_t point) {
    return kind.faults == nullptr ? std::vector<std::string>{} : kind.faults(point, counts(setup));
}

void run_again(sim::Board& board, Judge& judge, const Setup& setup) {
    Setup plain = setup;
    plain.flags.clear();
    plain.start = Start::kUsual;
    judge.begin_run();
    judge.end_undisturbed_run(run_update(board, {}, setup.pages), counts(plain).transfers);
}

/// Another process of the tool, and maybe another start of the MCU, on the board as it is.
Outcome run_on_copy(const sim::Board& board, const Setup& setup, bool power_cut) {
    sim::Board copy = board.clone();
    Judge judge(copy, setup);
    if (power_cut) {
        copy.mcu.restart();
        copy.now_us += 1'000'000;
        copy.mcu.advance(copy.now_us);
        judge.check_now();
    }
    if (!judge.is_lost()) {
        run_again(copy, judge, setup);
    }
    return {judge.window(), judge.failure()};
}

Outcome go_on(const Kind& kind, const Setup& setup, const sim::Board& fresh, uint64_t point) {
    sim::Board board = fresh.clone();
    for (const std::string& fault : faults_of(kind, setup, point)) {
        board.add_fault(fault);
    }
    Judge judge(board, setup);
    judge.begin_run();
    const Run run = run_update(board, setup.flags, setup.pages);
    judge.end_run(run, kind.bounds(counts(setup)));
    if (!judge.is_lost()) {
        run_again(board, judge, setup);
    }
    if (judge.failure().empty() && kind.went_well != nullptr && !kind.went_well(point, counts(setup), run)) {
        return {judge.window(), "the run took " + std::to_string(run.transfers) + " transfers"};
    }
    return {judge.window(), judge.failure()};
}

Outcome tear_and_cut(const Kind& kind, const Setup& setup, const sim::Board& fresh, uint64_t point) {
    sim::Board board = fresh.clone();
    for (const std::string& fault : faults_of(kind, setup, point)) {
        board.add_fault(fault);
    }
    Outcome outcome{Window::kNone, "nothing was torn"};
    bool torn = false;
    board.on_transfer = [&](const sim::Transfer&) {
        if (!torn && !board.flash.history.empty() && board.flash.history.back().kind == sim::RegionEvent::kStarted) {
            torn = true;
            outcome = run_on_copy(board, setup, true);
            board.add_fault("dead@1");  // the rest of this run means nothing
        }
    };
    run_update(board, setup.flags, setup.pages);
    return outcome;
}

bool is_change(const sim::Transfer& transfer) {
    const sim::FrameForm* form = frame_of(transfer);
    return form != nullptr && form->changes;
}

/// One undisturbed update, cut at all the points.
void cut_at_each(const Kind& kind, const Setup& setup, const sim::Board& fresh, uint64_t begin, uint64_t end,
                 const std::function<void(uint64_t, const Outcome&)>& tell) {
    const bool power = kind.mode == Mode::kBothCut;
    sim::Board board = fresh.clone();
    uint64_t point = 0;
    const auto cut_here = [&] {
        if (point >= begin && point < end) {
            tell(point, run_on_copy(board, setup, power));
        }
        ++point;
    };
    cut_here();
    board.on_transfer = [&](const sim::Transfer& transfer) {
        if (!power || is_change(transfer)) {
            cut_here();
        }
    };
    run_update(board, setup.flags, setup.pages);
}

}  // namespace

void run_points(const Kind& kind, const Setup& setup, uint64_t begin, uint64_t end,
                const std::function<void(uint64_t, const Outcome&)>& tell) {
    const auto fresh = make_board(setup);
    if (kind.mode == Mode::kKilled || kind.mode == Mode::kBothCut) {
        cut_at_each(kind, setup, *fresh, begin, end, tell);
        return;
    }
    for (uint64_t point = begin; point < end; ++point) {
        tell(point, kind.mode == Mode::kTornAndCut ? tear_and_cut(kind, setup, *fresh, point)
                                                   : go_on(kind, setup, *fresh, point));
    }
}

std::string describe(const Kind& kind, const Setup& setup, uint64_t point) {
    std::string text = std::string(kind.name) + ", point " + std::to_string(point) + ": " + describe(setup);
    for (const std::string& fault : faults_of(kind, setup, point)) {
        text += ", " + fault;
    }
    if (kind.mode == Mode::kKilled) {
        text += point == 0 ? ", killed before the first transfer" : ", kill@" + std::to_string(point);
    } else if (kind.mode == Mode::kBothCut) {
        text +=
            point == 0 ? ", both cut before the first change" : ", both cut behind any-change#" + std::to_string(point);
    } else if (kind.mode == Mode::kTornAndCut) {
        text += ", both cut there";
    }
    return text;
}

}  // namespace sweep

// SPDX-License-Identifier: MIT
#include "tests/sweep/states.h"

#include <algorithm>
#include <set>

#include "mcu/flash_geometry.h"
#include "tests/support/tool_run.h"
#include "tests/sweep/setup.h"

namespace sweep {

namespace {

/// Interrupted after each of their steps, and also tried with a fault at each step.
const char* const kForms[] = {"--update three", "--update other", "--update zero", "--reset"};

/// Interrupted after each of their steps.
const char* const kFurtherForms[] = {
    "--upd three",
    "--upd other",
    "--erase",
    "--update-without-reset --update three",
    "--update-without-disable --update three",
    "--update-without-disable --update other",
    "--update-without-disable --update zero",
    "--update-without-reset --update-without-disable --update three",
    "--update-without-reset --upd three",
    "--reset-now-sync",
};

/// Two programs at once: the second one begins, and may be killed, inside the first.
const char* const kAtOnce[] = {"--update three", "--update other"};

std::string running_text(const std::string& state) {
    const size_t open = state.find('[');
    return state.substr(open, state.find(']') + 1 - open) + (open == 0 ? "0" : "1");
}

const char* content_name(const sim::Board& board, int region) {
    static const std::vector<uint8_t> blank(kChecksumSize, 0xFF);
    return holds(board, region, blank)                               ? "blank"
           : holds(board, region, material("three").regions[region]) ? "three"
           : holds(board, region, material("other").regions[region]) ? "other"
           : holds(board, region, old_firmware(region))              ? "old"
                                                                     : "part";
}

const char* id_name(uint16_t id) {
    return id == 0 ? "0" : id == material("three").swid ? "three" : id == material("other").swid ? "other" : "old";
}

/// A frame that can lead to another state.
bool is_step(const sim::FrameForm* frame) {
    return frame != nullptr && frame->changes && frame->command != FrameCommand::kWriteSegment;
}

/// As if `running` were the running region and, with `pending`, a reset pending.
std::string text_of(const sim::Board& board, int running, bool pending) {
    std::string all;
    for (const int region : {0, 1}) {
        const sim::RegionState& state = board.flash.regions[static_cast<size_t>(region)];
        const bool can_start = board.flash.next_start(region) == region;
        const std::string one = std::string(content_name(board, region)) + "/" + id_name(state.swid) +
                                (can_start       ? "+"
                                 : state.enabled ? "!"
                                                 : "-");
        all += (region == running ? "[" + one + "]" : one) + (region == 0 ? " " : "");
    }
    return all + (pending ? " due" : "");
}

class Search {
public:
    Search(ReachedStates& found, size_t limit) : found_(found), limit_(limit) {}

    void run() {
        for (const char* start : {"runs=0", "runs=1"}) {
            const auto board = make_start(parse_setup(std::string(start) + " pages=three"));
            observe(*board, start);
        }
        for (size_t i = 0; i < found_.states.size() && found_.states.size() < limit_; ++i) {
            const sim::Board& board = *found_.states[i].board;
            const bool pending = board.mcu.state().reset_due_us.has_value();
            // What the other region held matters only up to the erase.
            const bool new_running = running_.insert(running_text(found_.states[i].text)).second;
            for (const char* form : kForms) {
                apply(i, form, pending ? Faults::kNone : new_running ? Faults::kAll : Faults::kAtFirstStep);
            }
            for (const char* form : kFurtherForms) {
                apply(i, form, Faults::kNone);
            }
            for (size_t pair = 0; new_running && pair < 4; ++pair) {
                apply_at_once(i, kAtOnce[pair / 2], kAtOnce[pair % 2]);
            }
        }
    }

private:
    /// A pending reset strikes by itself.
    enum class Faults { kNone, kAtFirstStep, kAll };

    /// The board as it is (everything is killed), and as it is after the power of the MCU was cut.
    void observe(const sim::Board& board, const std::string& way) {
        const bool pending = board.mcu.state().reset_due_us.has_value();
        add(board, board.flash.running(), pending, way);
        for (const int choice : {0, 1}) {
            const int next = board.flash.next_start(choice);
            found_.dead += next < 0 ? 1 : 0;
            if (next >= 0) {
                add(board, next, false, way + ", power cut");
            }
        }
    }

    void add(const sim::Board& board, int running, bool pending, const std::string& way) {
        std::string text = text_of(board, running, pending);
        if (running < 0 || !known_.insert(text).second) {
            return;
        }
        std::unique_ptr<sim::Board> copy(new sim::Board(board.clone()));
        copy->scenario.boot_ms = 5;
        copy->flash.history.clear();
        if (running != board.flash.running() || pending != board.mcu.state().reset_due_us.has_value()) {
            copy->scenario.boot_choice = std::to_string(running);
            copy->mcu.restart();
        }
        if (!pending) {
            settle(*copy);
        }
        found_.states.push_back({std::move(text), way, std::move(copy)});
    }

    /// The form undisturbed, then with each fault at its steps. A fault after which a further attempt begins anew (a
    /// lost answer, a refusal) is left out: it does what a kill and a new process do.
    void apply(size_t state, const std::string& form, Faults faults) {
        std::vector<uint64_t> steps;
        try_form(state, form, "", &steps);
        for (size_t i = 0; i < steps.size() && faults != Faults::kNone; ++i) {
            for (const char* fault : {"restart", "cut", "skip", "tear=1", "tear=256"}) {
                try_form(state, form, fault + ("@any-change#" + std::to_string(steps[i])), nullptr);
            }
            if (faults == Faults::kAtFirstStep) {
                return;
            }
        }
    }

    void try_form(size_t state, const std::string& form, const std::string& fault, std::vector<uint64_t>* steps) {
        const std::string way = found_.states[state].way + "; " + form + (fault.empty() ? "" : " with " + fault);
        for (const char* choice : {"0", "1"}) {
            const auto board = begin(state, choice);
            if (!fault.empty()) {
                board->add_fault(fault);
            }
            bool chose = false;
            uint64_t changes = 0;
            board->on_transfer = [&](const sim::Transfer& transfer) {
                chose = chose || board->flash.next_start(0) != board->flash.next_start(1);
                const sim::FrameForm* frame = frame_of(transfer);
                changes += frame != nullptr && frame->changes ? 1 : 0;
                if (is_step(frame)) {
                    observe(*board, way + ", killed after " + std::string(frame->name));
                    if (steps != nullptr && *choice == '0') {
                        steps->push_back(changes);
                    }
                }
            };
            run(*board, form);
            observe(*board, way);
            settle(*board);
            observe(*board, way + ", a minute");
            if (!chose) {
                break;
            }
        }
    }

    /// `second` runs inside `first`, after each of its steps, to its end or killed after each of its own steps.
    void apply_at_once(size_t state, const std::string& first, const std::string& second) {
        int last_outer = 1;
        for (int outer = 1; outer <= last_outer; ++outer) {
            bool killed = true;
            for (int inner = 1; killed; ++inner) {
                const auto [outer_steps, inner_steps] = try_at_once(state, first, second, outer, inner);
                last_outer = std::max(last_outer, std::min(outer_steps, 8));
                killed = inner_steps == inner;
            }
        }
    }

    /// The steps that each of them made.
    std::pair<int, int> try_at_once(size_t state, const std::string& first, const std::string& second, int outer,
                                    int inner) {
        const std::string way = found_.states[state].way + "; " + first + " and, after its step " +
                                std::to_string(outer) + ", " + second + " killed after its step " +
                                std::to_string(inner);
        const auto board = begin(state, "0");
        int steps[2] = {};
        bool inside = false;
        board->on_transfer = [&](const sim::Transfer& transfer) {
            if (!is_step(frame_of(transfer))) {
                return;
            }
            observe(*board, way);
            const int step = ++steps[inside ? 1 : 0];
            if (inside && step == inner) {
                FakeKernel::current()->on_bus = [](std::span<const sim::Message>) { return false; };
            }
            if (!inside && step == outer) {
                inside = true;
                run(*board, second);
                inside = false;
            }
        };
        run(*board, first);
        observe(*board, way);
        return {steps[0], steps[1]};
    }

    std::unique_ptr<sim::Board> begin(size_t state, const char* choice) {
        std::unique_ptr<sim::Board> board(new sim::Board(found_.states[state].board->clone()));
        board->scenario.boot_choice = choice;
        board->scenario.boot_ms = 0;  // the tool goes on after a restart
        return board;
    }

    void run(sim::Board& board, const std::string& form) {
        ++found_.runs;
        run_words(board, split("sv_updater " + form));
    }

    ReachedStates& found_;
    size_t limit_;
    std::set<std::string> known_;
    std::set<std::string> running_;  // what was known of running regions
};

}  // namespace

const ReachedStates& find_states(size_t limit) {
    static const ReachedStates all = [limit] {
        ReachedStates found;
        Search(found, limit).run();
        return found;
    }();
    return all;
}

const ReachedStates& reached_states() {
    return find_states(SIZE_MAX);
}

std::string content_text(const sim::Board& board, int region) {
    return region < 0 ? "nothing" : content_name(board, region);
}

std::string state_text(const sim::Board& board) {
    return text_of(board, board.flash.running(), board.mcu.state().reset_due_us.has_value());
}

}  // namespace sweep

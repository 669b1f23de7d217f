// SPDX-License-Identifier: MIT
#include "tests/sweep/kinds.h"

#include <cstdio>
#include <iterator>

#include "mcu/flash_geometry.h"
#include "tests/sweep/setups.h"

namespace sweep {

namespace {

using Faults = std::vector<std::string>;

constexpr uint64_t kPolls = 5001;
constexpr uint64_t kTries = 5;

// What a run may need at most: so many complete attempts, so many commands polled in vain, the pauses after failed
// pages, and a reset request that is never answered (4.2 s and some 40 transfers).
constexpr Bounds bound(const Counts& counts, uint64_t attempts, uint64_t hopeless, uint64_t failed_pages) {
    const uint64_t polls = hopeless * kPolls;
    return {attempts * counts.transfers + polls + 200, (polls + failed_pages * 500 + 4200 + 100) * 1000};
}

constexpr Bounds once(const Counts& counts) {
    return bound(counts, 2, 0, 1);
}

constexpr Bounds once_unanswered(const Counts& counts) {
    return bound(counts, 2, 2, kTries);
}

constexpr Bounds refused_from_here(const Counts& counts) {
    return bound(counts, 2, 0, 3 * kTries);
}

/// All of the power summary's commands may be polled in vain, then two identities or the tries of one page.
constexpr Bounds unanswered_from_here(const Counts& counts) {
    return bound(counts, 2, 40, 3 * kTries);
}

constexpr Bounds twice(const Counts& counts) {
    return bound(counts, 3, 2, 2 * kTries);
}

std::string numbered(const char* fault, uint64_t number, const char* count = "") {
    return fault + std::to_string(number) + count;
}

uint64_t all_transfers(const Counts& counts) {
    return counts.transfers;
}

uint64_t all_commands(const Counts& counts) {
    return counts.commands;
}

uint64_t between_transfers(const Counts& counts) {
    return counts.transfers + 1;
}

uint64_t between_changes(const Counts& counts) {
    return counts.changes + 1;
}

template <uint64_t Gap>
Faults gone_for(uint64_t point, const Counts& /*counts*/) {
    return {"nack@" + std::to_string(1 + 16 * point) + "+" + std::to_string(Gap) + "ms"};
}

uint64_t every_16th(const Counts& counts) {
    return (counts.transfers + 15) / 16;
}

/// Point 0 is before the first changing frame, the others are behind each.
Faults cut(uint64_t point, const Counts& /*counts*/) {
    return {point == 0 ? "restart@any-change" : numbered("cut@any-change#", point)};
}

/// Erase after each page, three ends of each commit, two of enable and disable each.
constexpr uint64_t kTornErases = kRegionPages;
constexpr uint64_t kTornCommits = 3 * kProgrammedPages;

Faults tear(uint64_t point, const Counts& /*counts*/) {
    if (point < kTornErases) {
        return {"tear=" + std::to_string(point + 1) + "@erase"};
    }
    point -= kTornErases;
    if (point < kTornCommits) {
        return {"tear=" + std::to_string(point % 3 * kPageSize / 2) + "@commit#" + std::to_string(1 + point / 3)};
    }
    point -= kTornCommits;
    return {"tear=" + std::to_string(point % 2) + (point < 2 ? "@enable" : "@disable")};
}

uint64_t all_tears(const Counts& /*counts*/) {
    return kTornErases + kTornCommits + 4;
}

/// The pairs of i < j, numbered by j.
Faults pair_of_refusals(uint64_t point, const Counts& /*counts*/) {
    uint64_t second = 1;
    while (second * (second + 1) / 2 <= point) {
        ++second;
    }
    const uint64_t first = point - second * (second - 1) / 2;
    return {numbered("nack@", first + 1), numbered("nack@", second + 1)};
}

/// A lost answer, and a power cut in this attempt or in the next.
Faults lost_and_cut(uint64_t point, const Counts& counts) {
    return {numbered("lost@any-frame#", 1 + point / (2 * counts.changes)),
            numbered("cut@any-change#", 1 + point % (2 * counts.changes))};
}

/// Two restarts, each before some frame.
Faults two_restarts(uint64_t point, const Counts& counts) {
    return {numbered("restart@any-frame#", 1 + point / counts.frames),
            numbered("restart@any-frame#", 1 + point % counts.frames)};
}

/// The MCU restarts while the status of a changing frame is read: nothing is done, and the released bus reads FF.
Faults restart_inside_poll(uint64_t point, const Counts& counts) {
    const uint64_t poll = counts.transfers - 2 * counts.changes + 2 * (point + 1);
    return {numbered("tear=0@any-change#", point + 1), numbered("flip@", poll)};
}

constexpr const char* kCommandsOfEachForm[] = {
    "read-version", "read-version2", "read-flash-status", "read-powerrail", "erase", "segment",
    "commit",       "enable",        "disable",           "reset-delayed"};
constexpr uint64_t kStatuses = 64;

Faults failing_status(uint64_t point, const Counts& /*counts*/) {
    char text[32];
    std::snprintf(text, sizeof text, "fail=0x%02x@", static_cast<unsigned>(0x80 + point % kStatuses));
    return {std::string(text) + kCommandsOfEachForm[point / kStatuses]};
}

constexpr unsigned kPollCounts[] = {1, 2, 5000, 5001, 5002};

Faults slow_command(uint64_t point, const Counts& /*counts*/) {
    return {"slow=" + std::to_string(kPollCounts[point % 5]) + "@any-command#" + std::to_string(1 + point / 5)};
}

/// The last poll is waited for, and none behind it.
bool waited_for_slow_command(uint64_t point, const Counts& counts, const Run& run) {
    const uint64_t polls = kPollCounts[point % 5];
    const bool waited = run.status == 0 && run.transfers == counts.transfers + polls - 1;
    return waited == (polls <= kPolls);
}

Faults nack(uint64_t point, const Counts& /*counts*/) {
    return {numbered("nack@", point + 1)};
}

Faults dead(uint64_t point, const Counts& /*counts*/) {
    return {numbered("dead@", point + 1)};
}

Faults restart(uint64_t point, const Counts& /*counts*/) {
    return {numbered("restart@", point + 1)};
}

const std::vector<Kind> kAll = {
    {"no acknowledge, once", Mode::kGoesOn, all_transfers, nack, once, both_regions({})},
    {"bus dead from then on",
     Mode::kGoesOn,
     all_transfers,
     dead,
     once_unanswered,
     both_regions({}),
     {{Window::kBeforeRestart, 2}, {Window::kResetLost, 2}}},
    {"command fails, once", Mode::kGoesOn, all_commands,
     [](uint64_t point, const Counts&) { return Faults{numbered("fail@any-command#", point + 1)}; }, once,
     both_regions({})},
    {"commands fail from then on",
     Mode::kGoesOn,
     all_commands,
     [](uint64_t point, const Counts&) { return Faults{numbered("fail@any-command#", point + 1, "x*")}; },
     refused_from_here,
     both_regions({}),
     {{Window::kResetLost, 2}}},
    {"command never finishes, once", Mode::kGoesOn, all_commands,
     [](uint64_t point, const Counts&) { return Faults{numbered("hang@any-command#", point + 1)}; }, once_unanswered,
     both_regions({})},
    {"commands never finish from then on",
     Mode::kGoesOn,
     all_commands,
     [](uint64_t point, const Counts&) { return Faults{numbered("hang@any-command#", point + 1, "x*")}; },
     unanswered_from_here,
     both_regions({}),
     {{Window::kResetLost, 2}}},
    {"frame done, write reported failed",
     Mode::kGoesOn,
     [](const Counts& counts) { return counts.frames; },
     [](uint64_t point, const Counts&) { return Faults{numbered("lost@any-frame#", point + 1)}; },
     once,
     both_regions({}),
     {{Window::kLostAnswer, 2}}},
    {"tool killed, then run again",
     Mode::kKilled,
     between_transfers,
     nullptr,
     once,
     both_regions({}),
     {{Window::kBeforeRestart, 8}}},
    {"MCU restarts", Mode::kGoesOn, all_transfers, restart, once_unanswered, both_choices({})},
    {"power of the MCU cut", Mode::kGoesOn, between_changes, cut, once_unanswered, both_choices({})},
    {"power of both cut, then run again", Mode::kBothCut, between_changes, nullptr, once, both_choices({})},
    {"torn operation", Mode::kGoesOn, all_tears, tear, once_unanswered, both_choices({})},
    {"torn operation, power of both cut", Mode::kTornAndCut, all_tears, tear, once_unanswered, both_choices({})},
    {"bus gone for 10 ms", Mode::kGoesOn, every_16th, gone_for<10>, twice, both_regions({})},
    {"bus gone for 100 ms", Mode::kGoesOn, every_16th, gone_for<100>, twice, both_regions({})},
    {"bus gone for 1,000 ms", Mode::kGoesOn, every_16th, gone_for<1000>, twice, both_regions({})},
    {"bus gone for 10,000 ms", Mode::kGoesOn, every_16th, gone_for<10'000>, twice, both_regions({})},
    {"two without acknowledge, three pages", Mode::kGoesOn,
     [](const Counts& counts) { return counts.transfers * (counts.transfers - 1) / 2; }, pair_of_refusals, twice,
     both_regions(three_pages(Start::kUsual, 5))},
    {"lost answer and power cut, three pages",
     Mode::kGoesOn,
     [](const Counts& counts) { return counts.frames * 2 * counts.changes; },
     lost_and_cut,
     twice,
     both_choices(three_pages(Start::kUsual, 5)),
     {{Window::kLostAnswer, 236}}},
    {"two MCU restarts, three pages",
     Mode::kGoesOn,
     [](const Counts& counts) { return counts.frames * counts.frames; },
     two_restarts,
     twice,
     both_choices(three_pages(Start::kUsual, 0)),
     {{Window::kRestartBetween, 38}}},
    {"every failing status", Mode::kGoesOn, [](const Counts&) { return kStatuses * std::size(kCommandsOfEachForm); },
     failing_status, once, both_regions(three_pages(Start::kUsual, 5))},
    {"done at poll 1, 2, 5000, 5001, 5002",
     Mode::kGoesOn,
     [](const Counts& counts) { return 5 * counts.commands; },
     slow_command,
     once_unanswered,
     late_resets(),
     {{Window::kLostAnswer, 2}},
     waited_for_slow_command},
    {"sparse maps: no acknowledge", Mode::kGoesOn, all_transfers, nack, once, sparse_maps()},
    {"sparse maps: tool killed",
     Mode::kKilled,
     between_transfers,
     nullptr,
     once,
     sparse_maps(),
     {{Window::kBeforeRestart, 24}}},
    {"sparse maps: power of the MCU cut", Mode::kGoesOn, between_changes, cut, once_unanswered, choices(sparse_maps())},
    {"force, reset, disable: no acknowledge", Mode::kGoesOn, all_transfers, nack, once, all_flags()},
    {"force, reset, disable: tool killed",
     Mode::kKilled,
     between_transfers,
     nullptr,
     once,
     all_flags(),
     {{Window::kBeforeRestart, 24}}},
    {"force, reset, disable: MCU restarts", Mode::kGoesOn, all_transfers, restart, once_unanswered,
     choices(all_flags())},
    {"nothing to program: no acknowledge", Mode::kGoesOn, all_transfers, nack, once, nothing_to_program()},
    {"nothing to program: bus dead",
     Mode::kGoesOn,
     all_transfers,
     dead,
     once_unanswered,
     nothing_to_program(),
     {{Window::kResetLost, 198}}},
    {"nothing to program: tool killed", Mode::kKilled, between_transfers, nullptr, once, nothing_to_program()},
    {"nothing to program: MCU restarts", Mode::kGoesOn, all_transfers, restart, once_unanswered,
     choices(nothing_to_program())},
    {"MCU restarts inside a status read",
     Mode::kGoesOn,
     [](const Counts& counts) { return counts.changes; },
     restart_inside_poll,
     twice,
     both_choices(three_pages(Start::kUsual, 0)),
     {{Window::kFalseSuccess, 24}}},
    {"MCU restarts, back at once",
     Mode::kGoesOn,
     all_transfers,
     restart,
     once_unanswered,
     both_choices(three_pages(Start::kUsual, 0)),
     {{Window::kRestartBetween, 2}}},
    {"MCU restarts, both regions enabled",
     Mode::kGoesOn,
     all_transfers,
     restart,
     twice,
     both_choices(three_pages(Start::kBothEnabled, 0)),
     {{Window::kRestartBetween, 2}, {Window::kRegionsSwitched, 206}}},
    {"second update, MCU restarts",
     Mode::kGoesOn,
     all_transfers,
     restart,
     once_unanswered,
     both_choices(three_pages(Start::kUpdated, 5)),
     {{Window::kBeforeRestart, 436}, {Window::kRegionsSwitched, 116}}},
    {"second update, power of both cut",
     Mode::kBothCut,
     between_changes,
     nullptr,
     once,
     both_choices(three_pages(Start::kUpdated, 5)),
     {{Window::kBeforeRestart, 208}}},
};

}  // namespace

std::span<const Kind> kinds() {
    return kAll;
}

}  // namespace sweep

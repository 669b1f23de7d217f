// SPDX-License-Identifier: MIT
#include "sweep/kinds.h"

#include <iterator>

#include "mcu/flash_geometry.h"

namespace sweep {

namespace {

using Faults = std::vector<std::string>;

constexpr uint64_t kPolls = 5001;
constexpr uint64_t kTries = 5;

// What a run may need at most: so many complete attempts, so many commands polled in vain, the pauses after failed
// pages, and a reset request that is never answered (4.2 s, some 40 transfers and a poll of its own each second).
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

std::vector<Setup> both_regions(Setup setup) {
    std::vector<Setup> all;
    for (setup.running = 0; setup.running < 2; ++setup.running) {
        all.push_back(setup);
    }
    return all;
}

std::vector<Setup> both_choices(Setup setup) {
    std::vector<Setup> all;
    for (const char* choice : {"0", "1"}) {
        setup.boot_choice = choice;
        for (const Setup& one : both_regions(setup)) {
            all.push_back(one);
        }
    }
    return all;
}

std::vector<Setup> sparse_maps() {
    std::vector<Setup> all;
    for (const Pages pages : {Pages::kNone, Pages::kEdges, Pages::kEighth}) {
        Setup setup;
        setup.pages = pages;
        for (const Setup& one : both_regions(setup)) {
            all.push_back(one);
        }
    }
    return all;
}

/// With and without force, reset and disable.
std::vector<Setup> all_flags() {
    std::vector<Setup> all;
    for (unsigned bits = 0; bits < 8; ++bits) {
        Setup setup;
        setup.pages = Pages::kThree;
        if ((bits & 1) != 0) {
            setup.flags.emplace_back("--without-force-update");
        }
        if ((bits & 2) != 0) {
            setup.flags.emplace_back("--update-without-reset");
        }
        if ((bits & 4) != 0) {
            setup.flags.emplace_back("--update-without-disable");
        }
        for (const Setup& one : both_regions(setup)) {
            all.push_back(one);
        }
    }
    return all;
}

Setup three_pages(Start start, uint32_t boot_ms) {
    Setup setup;
    setup.pages = Pages::kThree;
    setup.start = start;
    setup.boot_ms = boot_ms;
    return setup;
}

/// Late enough for the slowest answer to the reset request.
std::vector<Setup> late_resets() {
    Setup setup = three_pages(Start::kUsual, 5);
    setup.flags = {"--reset-delay", "20"};
    return both_regions(setup);
}

Faults nack(uint64_t point, const Counts& /*counts*/) {
    return {numbered("nack@", point + 1)};
}

Faults restart(uint64_t point, const Counts& /*counts*/) {
    return {numbered("restart@", point + 1)};
}

const std::vector<Kind>& all_kinds() {
    static const std::vector<Kind> all = {
        {"no acknowledge, once", Mode::kGoesOn, all_transfers, nack, once, both_regions({})},
        {"bus dead from then on", Mode::kGoesOn, all_transfers,
         [](uint64_t point, const Counts&) { return Faults{numbered("dead@", point + 1)}; }, once_unanswered,
         both_regions({})},
        {"command fails, once", Mode::kGoesOn, all_commands,
         [](uint64_t point, const Counts&) { return Faults{numbered("fail@any-command#", point + 1)}; }, once,
         both_regions({})},
        {"commands fail from then on", Mode::kGoesOn, all_commands,
         [](uint64_t point, const Counts&) { return Faults{numbered("fail@any-command#", point + 1, "x*")}; },
         refused_from_here, both_regions({})},
        {"command never finishes, once", Mode::kGoesOn, all_commands,
         [](uint64_t point, const Counts&) { return Faults{numbered("hang@any-command#", point + 1)}; },
         once_unanswered, both_regions({})},
        {"commands never finish from then on", Mode::kGoesOn, all_commands,
         [](uint64_t point, const Counts&) { return Faults{numbered("hang@any-command#", point + 1, "x*")}; },
         unanswered_from_here, both_regions({})},
        {"frame done, write reported failed", Mode::kGoesOn, [](const Counts& counts) { return counts.frames; },
         [](uint64_t point, const Counts&) { return Faults{numbered("lost@any-frame#", point + 1)}; }, once,
         both_regions({})},
        {"tool killed, then run again", Mode::kKilled, between_transfers, nullptr, once, both_regions({})},
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
        {"lost answer and power cut, three pages", Mode::kGoesOn,
         [](const Counts& counts) { return counts.frames * 2 * counts.changes; }, lost_and_cut, twice,
         both_choices(three_pages(Start::kUsual, 5))},
        {"two MCU restarts, three pages", Mode::kGoesOn,
         [](const Counts& counts) { return counts.frames * counts.frames; }, two_restarts, twice,
         both_choices(three_pages(Start::kUsual, 0))},
        {"every failing status", Mode::kGoesOn,
         [](const Counts&) { return kStatuses * std::size(kCommandsOfEachForm); }, failing_status, once,
         both_regions(three_pages(Start::kUsual, 5))},
        {"done at poll 1, 2, 5000, 5001, 5002", Mode::kGoesOn, [](const Counts& counts) { return 5 * counts.commands; },
         slow_command, once_unanswered, late_resets(), waited_for_slow_command},
        {"sparse maps: no acknowledge", Mode::kGoesOn, all_transfers, nack, once, sparse_maps()},
        {"sparse maps: tool killed", Mode::kKilled, between_transfers, nullptr, once, sparse_maps()},
        {"sparse maps: power of the MCU cut", Mode::kGoesOn, between_changes, cut, once_unanswered, sparse_maps()},
        {"force, reset, disable: no acknowledge", Mode::kGoesOn, all_transfers, nack, once, all_flags()},
        {"force, reset, disable: tool killed", Mode::kKilled, between_transfers, nullptr, once, all_flags()},
        {"force, reset, disable: MCU restarts", Mode::kGoesOn, all_transfers, restart, once_unanswered, all_flags()},
        {"MCU restarts, back at once", Mode::kGoesOn, all_transfers, restart, once_unanswered,
         both_choices(three_pages(Start::kUsual, 0))},
        {"MCU restarts, both regions enabled", Mode::kGoesOn, all_transfers, restart, twice,
         both_choices(three_pages(Start::kBothEnabled, 0))},
        {"second update, MCU restarts", Mode::kGoesOn, all_transfers, restart, once_unanswered,
         both_choices(three_pages(Start::kUpdated, 5))},
    };
    return all;
}

}  // namespace

std::span<const Kind> kinds() {
    return all_kinds();
}

}  // namespace sweep

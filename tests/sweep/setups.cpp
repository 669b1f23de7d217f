// SPDX-License-Identifier: MIT
#include "tests/sweep/setups.h"

namespace sweep {

std::vector<Setup> both_regions(Setup setup) {
    std::vector<Setup> all;
    for (setup.running = 0; setup.running < 2; ++setup.running) {
        all.push_back(setup);
    }
    return all;
}

std::vector<Setup> choices(const std::vector<Setup>& setups) {
    std::vector<Setup> all;
    for (const char* choice : {"0", "1"}) {
        for (Setup setup : setups) {
            setup.boot_choice = choice;
            all.push_back(setup);
        }
    }
    return all;
}

std::vector<Setup> both_choices(const Setup& setup) {
    return choices(both_regions(setup));
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

std::vector<Setup> nothing_to_program() {
    std::vector<Setup> all;
    for (const Start start : {Start::kUpToDate, Start::kRebootOnly}) {
        Setup setup;
        setup.pages = Pages::kThree;
        setup.start = start;
        setup.flags = {"--without-force-update"};
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

std::vector<Setup> late_resets() {
    Setup setup = three_pages(Start::kUsual, 5);
    setup.flags = {"--reset-delay", "20"};
    return both_regions(setup);
}

}  // namespace sweep

// SPDX-License-Identifier: MIT
#include "update/progress_line.h"

#include <cstdio>

void ProgressLine::set(uint32_t done, uint32_t total) {
    percent_ = static_cast<float>(done * 100.0 / total);
}

void ProgressLine::page() const {
    std::printf("%s* %3.1f%%", prefix_, static_cast<double>(percent_));
    std::fflush(stdout);
}

void ProgressLine::skipped() const {
    std::printf("%s. %3.1f%%", prefix_, static_cast<double>(percent_));
    std::fflush(stdout);
}

void ProgressLine::failed() const {
    std::printf("%sx* %3.1f%%", prefix_, static_cast<double>(percent_));
    std::fflush(stdout);
}

void ProgressLine::advance() {
    prefix_ = percent_ > 10.0F ? "\b\b\b\b\b\b" : "\b\b\b\b\b";
}

void ProgressLine::done() const {
    std::printf("%s done \n", prefix_);
}

// SPDX-License-Identifier: MIT
#include "capture/model_comparison.h"

#include <algorithm>

#include "sim/trace.h"

namespace {

/// What a difference is about: the words of both sides, without the bytes.
std::string kind_of(const std::string& words) {
    return words.substr(0, words.find(" |"));
}

void add(ModelComparison& comparison, size_t number, const std::string& recorded, const std::string& simulated) {
    const auto same = [&](const Difference& difference) {
        return kind_of(difference.recorded) == kind_of(recorded) && kind_of(difference.simulated) == kind_of(simulated);
    };
    const auto found = std::find_if(comparison.differences.begin(), comparison.differences.end(), same);
    if (found != comparison.differences.end()) {
        ++found->count;
    } else {
        comparison.differences.push_back({1, number, recorded, simulated});
    }
}

}  // namespace

ModelComparison compare_with_model(std::span<const sim::RecordedTransfer> transfers, sim::Board& board) {
    const uint16_t mcu = board.scenario.mcu_address;
    ModelComparison comparison;
    sim::TraceDecoder decoder(0);  // one for both, since a command that was not sent has a name, too
    for (size_t i = 0; i < transfers.size(); ++i) {
        sim::RecordedTransfer recorded = transfers[i];
        if (recorded.messages.empty() || recorded.messages.front().address != mcu) {
            continue;
        }
        ++comparison.transfers;
        const std::vector<sim::Message> seen = sim::messages_of(recorded);
        const std::string words = decoder.words({i + 1, 0, seen, recorded.acknowledged}, mcu);
        if (!recorded.acknowledged || !recorded.complete()) {
            ++comparison.skipped;
            add(comparison, i + 1, words, "not sent");
            continue;
        }
        board.now_us = recorded.time_us;
        sim::RecordedTransfer simulated = recorded;
        const std::vector<sim::Message> messages = sim::messages_of(simulated);
        const bool acknowledged = board.transfer(messages);
        const std::string answer = decoder.words({i + 1, 0, messages, acknowledged}, mcu);
        if (answer != words) {
            add(comparison, i + 1, words, answer);
        }
    }
    return comparison;
}

// SPDX-License-Identifier: MIT
#include "sim/cassette.h"

#include <algorithm>
#include <set>

#include "sim/trace.h"

namespace sim {

namespace {

bool is_same_request(const RecordedMessage& recorded, const Message& message) {
    return recorded.address == message.address && recorded.read == message.read &&
           recorded.size == message.bytes.size() &&
           (message.read || std::equal(message.bytes.begin(), message.bytes.end(), recorded.bytes.begin()));
}

std::string request_words(RecordedTransfer& transfer, uint16_t mcu_address) {
    for (RecordedMessage& message : transfer.messages) {
        message.bytes.resize(message.size);
    }
    return TraceDecoder(0).request(messages_of(transfer), mcu_address);
}

}  // namespace

Cassette::Cassette(std::vector<RecordedTransfer> transfers, uint16_t mcu_address)
    : transfers_(std::move(transfers)), mcu_address_(mcu_address) {}

bool Cassette::transfer(std::span<const Message> messages) {
    if (!mismatch_.empty()) {
        return false;
    }
    const std::string number = "transfer " + std::to_string(made_ + 1);
    const std::string program = "\n  program:  " + TraceDecoder(0).request(messages, mcu_address_);
    if (made_ == transfers_.size()) {
        mismatch_ = number + " is one more than was recorded" + program;
        return false;
    }
    RecordedTransfer& recorded = transfers_[made_];
    if (!recorded.complete()) {
        mismatch_ = number + " was not recorded with all its bytes" + program;
        return false;
    }
    if (!std::equal(recorded.messages.begin(), recorded.messages.end(), messages.begin(), messages.end(),
                    is_same_request)) {
        mismatch_ = number + " is another one than was recorded\n  recorded: " + request_words(recorded, mcu_address_) +
                    program;
        return false;
    }
    ++made_;
    for (size_t i = 0; recorded.acknowledged && i < messages.size(); ++i) {
        if (messages[i].read) {
            std::copy(recorded.messages[i].bytes.begin(), recorded.messages[i].bytes.end(), messages[i].bytes.begin());
        }
    }
    return recorded.acknowledged;
}

std::vector<RecordedTransfer> transfers_of_bus(const Recording& recording, int bus, std::string& problem) {
    std::set<int> buses;
    std::vector<RecordedTransfer> result;
    for (const RecordedTransfer& transfer : recording.transfers) {
        buses.insert(transfer.bus);
        if (bus < 0 || transfer.bus == bus) {
            result.push_back(transfer);
        }
    }
    if (result.empty() || (bus < 0 && buses.size() > 1)) {
        problem = result.empty() && bus >= 0 ? "no transfer on bus " + std::to_string(bus) : "no transfer";
        if (!buses.empty()) {
            problem = (bus < 0 ? "more than one bus" : problem) + "; choose with --bus:";
            for (const int found : buses) {
                problem += " " + std::to_string(found);
            }
        }
        result.clear();
    }
    return result;
}

}  // namespace sim

// SPDX-License-Identifier: MIT
#include "sim/cassette.h"

#include <algorithm>

#include "sim/trace.h"

namespace sim {

namespace {

bool is_same_request(const RecordedMessage& recorded, const Message& message) {
    return recorded.address == message.address && recorded.read == message.read &&
           recorded.size == message.bytes.size() &&
           (message.read || std::equal(message.bytes.begin(), message.bytes.end(), recorded.bytes.begin()));
}

}  // namespace

Cassette::Cassette(std::vector<RecordedTransfer> transfers, uint16_t mcu_address)
    : transfers_(std::move(transfers)), mcu_address_(mcu_address) {}

/// Why this request gets no recorded answer, if so.
std::string Cassette::find_mismatch(std::span<const Message> messages) {
    if (made_ == transfers_.size()) {
        return "is one more than was recorded";
    }
    RecordedTransfer& recorded = transfers_[made_];
    if (!recorded.complete()) {
        return "was not recorded with all its bytes";
    }
    if (std::equal(recorded.messages.begin(), recorded.messages.end(), messages.begin(), messages.end(),
                   is_same_request)) {
        return "";
    }
    for (RecordedMessage& message : recorded.messages) {
        message.bytes.resize(message.size);
    }
    return "is another one than was recorded\n  recorded: " +
           TraceDecoder(0).request(messages_of(recorded), mcu_address_);
}

bool Cassette::transfer(std::span<const Message> messages) {
    const std::string why = mismatch_.empty() ? find_mismatch(messages) : "";
    if (!why.empty()) {
        mismatch_ = "transfer " + std::to_string(made_ + 1) + " " + why +
                    "\n  program:  " + TraceDecoder(0).request(messages, mcu_address_);
    }
    if (!mismatch_.empty()) {
        return false;
    }
    const RecordedTransfer& recorded = transfers_[made_++];
    for (size_t i = 0; recorded.acknowledged && i < messages.size(); ++i) {
        if (messages[i].read) {
            std::copy(recorded.messages[i].bytes.begin(), recorded.messages[i].bytes.end(), messages[i].bytes.begin());
        }
    }
    return recorded.acknowledged;
}

}  // namespace sim

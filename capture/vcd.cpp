// SPDX-License-Identifier: MIT
#include "capture/vcd.h"

#include <algorithm>

namespace {

constexpr uint64_t kTicksPerSecond = 10'000'000;
constexpr uint64_t kUsPerSecond = 1'000'000;

class Wires {
public:
    explicit Wires(uint32_t speed) : bit_(kTicksPerSecond / speed) {}

    /// Waits, with both wires high, until this tick, and for at least one bit.
    void idle_until(uint64_t tick) {
        now_ = std::max(now_ + bit_, tick);
    }

    /// Both a start and, between two messages, a repeated one.
    void start() {
        if (!scl_) {
            rise(true);
        }
        now_ += bit_ / 2;
        set(now_, false, '"', sda_);
        fall();
    }

    void stop() {
        rise(false);
        now_ += bit_ / 2;
        set(now_, true, '"', sda_);
    }

    void byte(uint8_t value, bool acknowledged) {
        for (int bit = 7; bit >= 0; --bit) {
            rise((value >> bit & 1) != 0);
            fall();
        }
        rise(!acknowledged);
        fall();
    }

    uint64_t now() const {
        return now_;
    }

    std::string text;

private:
    void set(uint64_t tick, bool level, char name, bool& wire) {
        if (wire != level) {
            wire = level;
            text += "#" + std::to_string(tick) + "\n" + (level ? '1' : '0') + name + "\n";
        }
    }

    /// The first half of a bit: SDA changes while SCL is low, then SCL rises.
    void rise(bool sda) {
        set(now_ + bit_ / 4, sda, '"', sda_);
        now_ += bit_ / 2;
        set(now_, true, '!', scl_);
    }

    void fall() {
        now_ += bit_ - bit_ / 2;
        set(now_, false, '!', scl_);
    }

    uint64_t bit_;  // ticks of one bit
    uint64_t now_ = 0;
    bool scl_ = true;
    bool sda_ = true;
};

void draw(const sim::RecordedTransfer& transfer, Wires& wires) {
    const auto last = transfer.messages.size() - 1;
    for (size_t i = 0; i <= last; ++i) {
        const sim::RecordedMessage& message = transfer.messages[i];
        const bool fails = i == last && !transfer.acknowledged;
        wires.start();
        wires.byte(static_cast<uint8_t>(message.address << 1 | (message.read ? 1 : 0)),
                   !fails || (!message.read && !message.bytes.empty()));
        if (fails && message.read) {
            break;
        }
        for (const uint8_t& byte : message.bytes) {
            const bool is_last = &byte == &message.bytes.back();
            wires.byte(byte, message.read ? !is_last : !(is_last && fails));
        }
    }
    wires.stop();
}

}  // namespace

std::string vcd_text(std::span<const sim::RecordedTransfer> transfers, uint32_t speed) {
    Wires wires(speed);
    wires.text =
        "$timescale 100 ns $end\n$scope module i2c $end\n$var wire 1 ! SCL $end\n$var wire 1 \" SDA $end\n"
        "$upscope $end\n$enddefinitions $end\n#0\n1!\n1\"\n";
    for (const sim::RecordedTransfer& transfer : transfers) {
        const uint64_t us = transfer.time_us - std::min(transfer.time_us, transfers.front().time_us);
        wires.idle_until(us * (kTicksPerSecond / kUsPerSecond));
        draw(transfer, wires);
    }
    wires.idle_until(0);
    return wires.text + "#" + std::to_string(wires.now()) + "\n";
}

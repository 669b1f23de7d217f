// SPDX-License-Identifier: MIT
#include "mcu/reset.h"

#include <unistd.h>

#include <cstdio>

#include "mcu/i2c_bus.h"
#include "mcu/transactions.h"
#include "util/clock.h"

namespace {

constexpr useconds_t kSettleUs = 10'000;
constexpr useconds_t kRetryUs = 100'000;
constexpr int kMinRequests = 4;
constexpr uint32_t kRequestLimitMs = 2999;
constexpr uint32_t kReachLimitMs = 1000;
constexpr uint8_t kNoRequest = 0xFF;  // request status while no request has been made

/// The progress of waiting: prints one ".(milliseconds)" per failed try.
class WaitingDots {
public:
    explicit WaitingDots(WaitMarks marks) : marks_(marks) {}

    /// Waits 100 ms, then prints and returns the milliseconds since the first try began.
    uint32_t wait() {
        usleep(kRetryUs);
        last_ = monotonic_now();
        const uint32_t ms = elapsed_ms(first_, last_);
        if (marks_ == WaitMarks::kPrinted) {
            std::printf(".(%lu)", static_cast<unsigned long>(ms));
            std::fflush(stdout);
            printed_ = true;
        }
        return ms;
    }

    void end_line() const {
        if (printed_) {
            std::putchar('\n');
        }
    }

    const timespec& last() const {
        return last_;
    }

private:
    WaitMarks marks_;
    timespec first_ = monotonic_now();
    timespec last_ = first_;
    bool printed_ = false;
};

/// True when the MCU has accepted the request; the report is then set. Otherwise bit 7 of `request_status`, the status
/// of the last request, is set if the MCU refused it and clear if the request did not finish.
bool request_delayed_reset(McuDevice& device, WaitMarks marks, uint8_t& request_status) {
    const DataFrame frame = delayed_reset_frame(device.reset_delay);
    WaitingDots dots(marks);
    for (int requests = 1;; ++requests) {
        if (run_frame_command(device, frame.kStart, frame.bytes, frame.kLength, nullptr, 0, &request_status)) {
            dots.end_line();
            if (device.reset_delay == 0) {
                return note(device, "MCU will reset now");
            }
            return note(device, "MCU will reset in %3.1fs", device.reset_delay * 0.1);
        }
        if (is_finished(request_status)) {
            dots.end_line();
            return false;
        }
        const uint32_t waited_ms = dots.wait();
        if (requests >= kMinRequests && waited_ms > kRequestLimitMs) {
            dots.end_line();
            return false;
        }
    }
}

/// Whether the MCU acknowledges a byte. It gets a key without a command, which has no effect.
bool is_reachable(const McuDevice& device) {
    return i2c_write_byte(*device.bus, device.address, kFrameKeyRegister, kWriteKey);
}

/// `start` is the beginning of the whole reset, from which the report counts.
void wait_until_reachable(McuDevice& device, WaitMarks marks, const timespec& start, uint8_t request_status) {
    WaitingDots dots(marks);
    for (uint32_t waited_ms = 0; waited_ms < kReachLimitMs;) {
        if (is_reachable(device)) {
            note(device, "MCU has been reset (%02x)", request_status);
            break;
        }
        waited_ms = dots.wait();
        note(device, "MCU could not be reached within %3.1fs - but it may has been reset (%02x)",
             elapsed_ms(start, dots.last()) / 1000.0, request_status);
    }
    dots.end_line();
}

}  // namespace

bool reset_mcu(McuDevice& device, WaitMarks marks) {
    usleep(kSettleUs);
    device.info() = McuInfo{};
    const timespec start = monotonic_now();
    uint8_t request_status = kNoRequest;
    if (device.reset_now_sync == 0 && request_delayed_reset(device, marks, request_status)) {
        return true;
    }
    wait_until_reachable(device, marks, start, request_status);
    // Result ignored: the MCU resets instead of answering.
    const KeyFrame frame = reset_now_frame();
    static_cast<void>(i2c_write(*device.bus, device.address, frame.kStart, frame.kLength, frame.bytes));
    usleep(kSettleUs);
    return true;
}

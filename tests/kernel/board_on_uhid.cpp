// SPDX-License-Identifier: MIT
// The simulated board on a bus of a real kernel: presents a USB HID to I2C bridge to the kernel (/dev/uhid), whose own
// driver hid-mcp2221 makes /dev/i2c-N of it. Usage: board_on_uhid STATE_FILE. Runs until it is killed.
#include <fcntl.h>
#include <linux/input.h>
#include <linux/uhid.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "sim/board.h"
#include "sim/state_file.h"

namespace {

// Byte 0 of a report to the bridge, and of the answer. Bytes 1 and 2 are the length of the transfer, byte 3 is the
// address and the direction, data follows.
enum Command : uint8_t {
    kStatus = 0x10,  // byte 3: kSetSpeed, before each transfer, or 0
    // Asks for up to 60 of the bytes read; byte 2 of the answer is one of the codes below, byte 3 the count.
    kGetData = 0x40,
    kWrite = 0x90,
    kRead = 0x91,
    kReadAfterWrite = 0x93,
    kWriteNoStop = 0x94,
};
constexpr uint8_t kSetSpeed = 0x20;
constexpr uint8_t kAddressNack = 0x25;
constexpr uint8_t kReadPart = 0x54;
constexpr uint8_t kReadComplete = 0x55;
constexpr size_t kNackByte = 20;  // of a status
constexpr uint8_t kNackBit = 0x40;
constexpr size_t kReportSize = 64;
constexpr size_t kDataSize = kReportSize - 4;

// Reports of 64 bytes in both directions, without a number.
constexpr uint8_t kDescriptor[] = {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x15, 0x00, 0x26, 0xFF, 0x00, 0x75,
                                   0x08, 0x95, 0x40, 0x09, 0x02, 0x81, 0x02, 0x09, 0x03, 0x91, 0x02, 0xC0};

class Bridge {
public:
    explicit Bridge(sim::Board& board) : board_(board) {}

    /// Both have kReportSize bytes; the answer is zero at first.
    void answer(const uint8_t* report, uint8_t* out) {
        const auto size = static_cast<size_t>(report[1] | report[2] << 8);
        const auto address = static_cast<uint16_t>(report[3] >> 1);
        out[0] = report[0];
        switch (report[0]) {
            case kStatus:
                out[3] = report[3];
                out[kNackByte] = report[3] == kSetSpeed || acknowledged_ ? 0 : kNackBit;
                break;
            case kWrite:
            case kWriteNoStop:
                out[1] = size > kDataSize;  // Refused: it needs two reports, and no frame is that long.
                written_.assign(report + 4, report + 4 + std::min(size, kDataSize));
                if (report[0] == kWrite && size <= kDataSize) {
                    transfer({{address, false, written_}});
                }
                break;
            case kRead:
                read_.assign(size, 0);
                transfer({{address, true, read_}});
                break;
            case kReadAfterWrite:
                read_.assign(size, 0);
                transfer({{address, false, written_}, {address, true, read_}});
                break;
            case kGetData: {
                const size_t count = std::min(kDataSize, read_.size());
                std::copy_n(read_.begin(), count, out + 4);
                read_.erase(read_.begin(), read_.begin() + static_cast<std::ptrdiff_t>(count));
                out[2] = !acknowledged_ ? kAddressNack : read_.empty() ? kReadComplete : kReadPart;
                out[3] = static_cast<uint8_t>(count);
                break;
            }
            default: break;
        }
    }

private:
    void transfer(const std::vector<sim::Message>& messages) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        board_.now_us = static_cast<uint64_t>(now.tv_sec) * 1'000'000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
        acknowledged_ = board_.transfer(messages);
    }

    sim::Board& board_;
    sim::Bytes written_;
    sim::Bytes read_;
    bool acknowledged_ = true;
};

}  // namespace

int main(int argc, char** argv) {
    sim::Board board;
    sim::SavedClock clock;
    const std::string problem = argc == 2 ? sim::load_state(argv[1], board, clock) : "needs a state file";
    if (!problem.empty()) {
        std::printf("board_on_uhid: %s\n", problem.c_str());
        return 1;
    }
    const int kernel = open("/dev/uhid", O_RDWR);
    uhid_event event{};
    event.type = UHID_CREATE2;
    std::strcpy(reinterpret_cast<char*>(event.u.create2.name), "simulated board");
    std::copy(std::begin(kDescriptor), std::end(kDescriptor), event.u.create2.rd_data);
    event.u.create2.rd_size = sizeof kDescriptor;
    event.u.create2.bus = BUS_USB;
    event.u.create2.vendor = 0x04D8;
    event.u.create2.product = 0x00DD;
    Bridge bridge(board);
    while (write(kernel, &event, sizeof event) > 0) {
        uhid_event asked{};
        while (asked.type != UHID_OUTPUT) {
            if (read(kernel, &asked, sizeof asked) < 0) {
                std::perror("board_on_uhid");
                return 1;
            }
        }
        event = {};
        event.type = UHID_INPUT2;
        event.u.input2.size = kReportSize;
        bridge.answer(asked.u.output.data, event.u.input2.data);
    }
    std::perror("board_on_uhid");
    return 1;
}

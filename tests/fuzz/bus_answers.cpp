// SPDX-License-Identifier: MIT
// Anything that the devices on the bus can answer. The input: a command line (kLines); a number of troubles, and three
// bytes for each: how many transfers go well before it, how many it lasts (from 200 on in hundreds, so that polls can
// time out), the completion status that the MCU shows meanwhile (low six bits set: nothing acknowledges); then the
// bytes that are read, other than completion statuses. Once the input is used up, the MCU answers as one in good order.
#include "tests/fuzz/bus_answers.h"

#include <cstring>
#include <map>
#include <set>

#include "mcu/i2c_bus.h"
#include "mcu/identity.h"
#include "sim/frame_table.h"
#include "tests/fuzz/update_files.h"
#include "update/flash_region.h"

namespace {

constexpr uint64_t kMaxTroubled = 12'000;
constexpr uint64_t kMaxTransfers = 40'000;
constexpr uint64_t kMaxSleepUs = 120'000'000;
constexpr int kPollLimit = 5001;
constexpr int kRefuse = -1;
constexpr int kSuccess = 0xC0;
constexpr uint16_t kFirstReadPage = 526;
constexpr uint16_t kReadEnd = 528;
constexpr size_t kPageSize = 0x200;

/// Address and first register, and how many bytes may be read or written there at once.
using Places = std::map<int, std::set<size_t>>;
const Places kReads = {{0x0800, {20}},     {0x080C, {1, 2}}, {0x080E, {1}}, {0x080F, {1}}, {0x0860, {5, 8, 18, 20, 32}},
                       {0x0880, {10, 32}}, {0x08A6, {1}},    {0x091B, {2}}, {0x0925, {2}}, {0x0926, {2}},
                       {0x0928, {2}},      {0x0929, {2}},    {0x1000, {1}}, {0x5000, {1}}};
const Places kWrites = {{0x080A, {1}}, {0x080C, {2}}, {0x080E, {1}}, {0x080F, {1}}, {0x0860, {1}}, {0x08A5, {1}}};

bool allows(const Places& places, int address, int reg, size_t count) {
    const auto place = places.find(address << 8 | reg);
    return place != places.end() && place->second.count(count) == 1;
}

/// The other end of the bus. Aborts the program on a transfer that no device understands.
class Answers {
public:
    explicit Answers(Input input) {
        uint64_t end = 0;
        uint64_t troubled = 0;
        for (int n = input.byte(); n > 0; --n) {
            const uint64_t start = end + input.byte();
            const uint8_t count = input.byte();
            const uint8_t status = input.byte();
            end = start + (count < 200 ? count : (count - 199U) * 100U);
            troubled += end - start;
            if (troubled <= kMaxTroubled) {
                troubles_.push_back({start, end, (status & 0x3F) == 0x3F ? kRefuse : status});
            }
        }
        data_ = input;
    }

    bool transfer(std::span<const sim::Message> messages) {
        const sim::Message& first = messages.front();
        const int status = next_status();
        check(!first.read && !first.bytes.empty(), "a transfer begins with a register");
        if (messages.size() == 1) {
            polls_ = 0;
            check_write(first.address, first.bytes[0], first.bytes.subspan(1));
        } else {
            const sim::Message& second = messages[1];
            check(second.read && second.address == first.address && first.bytes.size() == 1, "the form of a read");
            read(first.address, first.bytes[0], second.bytes, status);
        }
        return status != kRefuse;
    }

    uint64_t transfers = 0;

private:
    struct Trouble {
        uint64_t start;
        uint64_t end;
        int status;
    };

    int next_status() {
        const uint64_t number = transfers++;
        while (trouble_ < troubles_.size() && number >= troubles_[trouble_].end) {
            ++trouble_;
        }
        const bool in_trouble = trouble_ < troubles_.size() && number >= troubles_[trouble_].start;
        return in_trouble ? troubles_[trouble_].status : kSuccess;
    }

    static void check_write(int address, uint8_t reg, std::span<const uint8_t> bytes) {
        if (reg + bytes.size() <= 0xA6) {
            check(allows(kWrites, address, reg, bytes.size()), "a register that may be written");
            return;
        }
        const sim::FrameForm* form = sim::find_frame_form(bytes.back());
        check(address == 0x08 && form != nullptr, "a known frame");
        check(form->start == reg && reg + bytes.size() == 0xA7, "a frame in its place");
        check(form->key == 0 || bytes[bytes.size() - 2] == form->key, "a frame with its key");
    }

    void read(int address, uint8_t reg, std::span<uint8_t> bytes, int status) {
        check(allows(kReads, address, reg, bytes.size()), "a register that may be read");
        const bool is_poll = address == 0x08 && (reg == 0x0E || reg == 0xA6);
        polls_ = is_poll ? polls_ + 1 : 0;
        check(polls_ <= kPollLimit, "polls are bounded");
        if (status == kRefuse) {
            return;
        }
        if (is_poll) {
            bytes[0] = static_cast<uint8_t>(status);
            return;
        }
        static const std::vector<uint8_t> flash_status = {0, 0, 0, 0, 0, 0, 2, 0, 0, 2};
        for (size_t i = 0; i < bytes.size(); ++i) {
            const bool is_flash_status = bytes.size() == flash_status.size();
            const uint8_t good = is_flash_status ? flash_status[i] : static_cast<uint8_t>(i == 0 ? 3 : 0);
            bytes[i] = data_.rest.empty() ? good : data_.byte();
        }
    }

    std::vector<Trouble> troubles_;
    size_t trouble_ = 0;
    Input data_{};
    int polls_ = 0;  // without another transfer in between
};

const std::vector<std::vector<std::string>> kLines = {
    {},  // a few pages of the read-back, which as a whole takes 25,000 transfers
    {"--update", "good"},
    {"--upd", "good", "--reset-now"},
    {"--without-force-update", "--update-without-disable", "--update-without-reset", "--update", "good"},
    {"--reset-delay", "0", "--without-force-update", "--update", "good"},
    {"--version", "--hw-version", "--sw-version", "--serial", "--date", "--probe"},
    {"--status", "--status-poetest-rebooted"},
    {"--dump"},
    {"--no-dump-reset", "--dumps"},
    {"--status-cable", "--status-pse-adc"},
    {"--debug-update", "--erase", "--reset"},
    {"--reset-now-sync", "--reset-delay", "2", "--reset"},
    {"--set-mode", "psuled", "1", "--set-mode", "prio", "high", "--set", "pd1", "off", "--set", "store"},
    {"--set", "led1", "rd", "--set", "test-msg", "29", "--set", "off", "--set", "test-msg-ack", "--set",
     "test-i2c-bug1"},
};

int read_back() {
    I2cBus bus;
    open_bus(bus, "0");
    McuDevice device(&bus);
    read_version(device, nullptr);
    const bool identified = device.page_size != 0;
    std::vector<uint8_t> memory(kReadEnd * kPageSize, 0x55);
    const bool ok = read_memory(device, kFirstReadPage, kReadEnd, memory.data(), static_cast<uint32_t>(memory.size()));
    check(ok == identified, "a read-back needs an identity");
    constexpr size_t kOthers = kFirstReadPage * kPageSize;
    check(memory[0] == 0x55 && std::memcmp(&memory[0], &memory[1], kOthers - 1) == 0, "other pages stay as they are");
    return ok ? 0 : 255;
}

void check_verdict(const ToolRun& run) {
    const bool okay = contains(run.err, "info  : overall SV MCU update = okay\n");
    const bool reset_needed = contains(run.err, "info  : overall SV MCU update = reset-needed\n");
    const bool failed = contains(run.err, "error : overall SV MCU update = ERROR\n");
    check(okay + reset_needed + failed == 1, "one verdict");
    check(failed == (run.status == 255), "the exit status agrees with the verdict");
}

}  // namespace

void run_bus_answers(Input input, const ShowRun& show) {
    static sim::Board board;
    const std::vector<std::string>& words = kLines[input.byte() % kLines.size()];
    Answers answers(input);
    FakeKernel kernel(board);
    kernel.files["good"].swap(lent_file());
    kernel.keep_wire = show != nullptr;
    kernel.on_bus = [&](std::span<const sim::Message> messages) { return answers.transfer(messages); };

    const ToolRun run = words.empty() ? capture(read_back) : run_tool_words(words);
    check(run.status == 0 || run.status == 255, "the exit status is 0 or 255");
    check(is_text(run.out) && is_text(run.err), "the output is text");
    check(answers.transfers <= kMaxTransfers && kernel.slept_us <= kMaxSleepUs, "the run is bounded");
    if (contains(run.err, "update file = okay")) {
        check_verdict(run);
    }
    if (show != nullptr) {
        show(words, run, kernel);
    }
    kernel.files["good"].swap(lent_file());
}

void bus_answers(Input input) {
    run_bus_answers(input, nullptr);
}

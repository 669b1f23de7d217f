// SPDX-License-Identifier: MIT
// Whatever the devices on the bus answer. The input: a command line (kLines); a number of troubles, and three bytes for
// each: how many transfers go well before it, how many it lasts (from 200 on in hundreds, so that polls can time out),
// the completion status that the MCU shows meanwhile (low six bits set: nobody acknowledges); then the bytes that are
// read, but for completion status. When it is used up the answers are those of an MCU in good order.
#include <array>
#include <map>
#include <set>

#include "mcu/identity.h"
#include "tests/fuzz/made_file.h"
#include "tests/support/tool_run.h"
#include "update/flash_region.h"

namespace {

constexpr uint64_t kMaxTroubled = 12'000;
constexpr uint64_t kMaxTransfers = 40'000;
constexpr uint64_t kMaxSleepUs = 120'000'000;
constexpr int kPollLimit = 5001;
constexpr int kRefuse = -1;
constexpr int kSuccess = 0xC0;
constexpr int kNothing = -1;

/// A frame command's first register, its length and its key (0: none).
const std::map<int, std::array<size_t, 3>> kFrames = {
    {0x00, {0xA6, 1, 0}},    {0x01, {0xA6, 1, 0}},     {0x05, {0xA6, 1, 0}},     {0x40, {0x80, 39, 0x42}},
    {0x41, {0xA0, 7, 0x42}}, {0x43, {0xA5, 2, 0x42}},  {0x45, {0x80, 39, 0x42}}, {0x46, {0xA5, 2, 0x42}},
    {0x47, {0xA5, 2, 0x42}}, {0x48, {0x80, 39, 0x42}}, {0x81, {0xA0, 7, 0xDA}}};
/// Address and first register, and how many bytes may be read or written there at once.
using Places = std::map<int, std::set<size_t>>;
const Places kReads = {{0x0800, {20}},     {0x080C, {1, 2}}, {0x080E, {1}}, {0x080F, {1}}, {0x0860, {5, 8, 18, 20, 32}},
                       {0x0880, {10, 32}}, {0x08A6, {1}},    {0x091B, {2}}, {0x0925, {2}}, {0x0926, {2}},
                       {0x0928, {2}},      {0x0929, {2}},    {0x1000, {1}}, {0x5000, {1}}};
const Places kWrites = {{0x080A, {1}}, {0x080C, {2}}, {0x080E, {1}}, {0x080F, {1}}, {0x0860, {1}}, {0x08A5, {1}}};
const std::set<size_t> kMarkedPages[] = {{0, 3}, {256, 259}};

bool allows(const Places& places, int address, int reg, size_t count) {
    const auto place = places.find(address << 8 | reg);
    return place != places.end() && place->second.count(count) == 1;
}

/// The other end of the bus. Ends the program when a device is asked what it must not be asked, and when the steps of
/// an update come in a wrong order or with wrong bytes.
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
            write(first.address, first.bytes[0], first.bytes.subspan(1), status);
        } else {
            const sim::Message& second = messages[1];
            check(second.read && second.address == first.address && first.bytes.size() == 1, "a read is one");
            read(first.address, first.bytes[0], second.bytes, status);
        }
        return status != kRefuse;
    }

    uint64_t transfers = 0;
    bool enabled = false;                 ///< the other region
    Bytes memory = Bytes(0x42000, 0x55);  ///< what was read back

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

    void write(int address, uint8_t reg, std::span<const uint8_t> bytes, int status) {
        polls_ = 0;
        if (reg + bytes.size() <= 0xA6) {
            check(allows(kWrites, address, reg, bytes.size()), "a register that is written");
            return;
        }
        const auto form = kFrames.find(bytes.back());
        check(address == 0x08 && form != kFrames.end(), "a frame that there is");
        const auto [start, length, key] = form->second;
        check(start == reg && length == bytes.size(), "a frame in its place");
        check(key == 0 || bytes[length - 2] == key, "a frame with its key");
        frame_.assign(bytes.begin(), bytes.end());
        follow();
        running_ = status == kRefuse ? kNothing : frame_.back();
    }

    /// The step of an update that the frame is, whether or not it arrives.
    void follow() {
        const size_t page = frame_.size() == 39 ? number_at(frame_, 32, 2) : 0;
        switch (frame_.back()) {
            case 0x43:
                erased_ = enabled = false;
                committed_.clear();
                break;
            case 0x40: {
                check(erased_ && kMarkedPages[target_].count(page) == 1, "a marked page of the erased region");
                check(frame_[34] == 0 || frame_[34] == next_segment_, "a segment after the one before it has arrived");
                const auto expected = good_file().begin() + static_cast<long>(8 + page * 512 + frame_[34] * 32U);
                check(std::equal(expected, expected + 32, frame_.begin()), "the file's bytes");
                break;
            }
            case 0x41: {
                const size_t start = 8 + size_t{number_at(frame_, 0, 2)} * 512;
                check(next_segment_ == 16, "a commit after all segments have arrived");
                check(number_at(frame_, 3, 2) == checksum(good_file(), start, start + 512), "the page's checksum");
                next_segment_ = 0;
                break;
            }
            case 0x45:
                check(erased_ && committed_ == kMarkedPages[target_], "all pages are in place before the enable");
                check(number_at(frame_, 0, 2) == 0x0123, "the file's software id");
                check(number_at(frame_, 35, 2) == (target_ == 0 ? 0x1234U : 0xBEEFU), "the region's checksum");
                break;
            case 0x46: check(enabled, "the other region is enabled before the running one is disabled"); break;
            case 0x48:
                for (size_t i = 1; i <= 34; ++i) {
                    check(frame_[i] == i, "the pattern of the delayed reset");
                }
                check(frame_[35] == 255 - frame_[0] && frame_[36] == 0xFF, "the complement of the delay");
                break;
            default: break;
        }
    }

    void finish(bool success) {
        succeeded_ = success;
        switch (running_) {
            case 0x40: next_segment_ = success ? frame_[34] + 1 : next_segment_; break;
            case 0x43: erased_ = success; break;
            case 0x45: enabled = success; break;
            case 0x41:
                if (success) {
                    committed_.insert(number_at(frame_, 0, 2));
                }
                break;
            default: break;
        }
    }

    void read(int address, uint8_t reg, std::span<uint8_t> bytes, int status) {
        check(allows(kReads, address, reg, bytes.size()), "a register that is read");
        const bool is_poll = address == 0x08 && (reg == 0x0E || reg == 0xA6);
        polls_ = is_poll ? polls_ + 1 : 0;
        check(polls_ <= kPollLimit, "polls are bounded");
        if (status == kRefuse) {
            return;
        }
        if (is_poll) {
            bytes[0] = static_cast<uint8_t>(status);
            if (reg == 0xA6 && (status & 0x80) != 0) {
                finish((status & 0x40) != 0);
            }
            return;
        }
        static const Bytes sizes = {0, 0, 0, 0, 0, 0, 2, 0, 0, 2};
        for (size_t i = 0; i < bytes.size(); ++i) {
            const uint8_t good = bytes.size() == sizes.size() ? sizes[i] : static_cast<uint8_t>(i == 0 ? 3 : 0);
            bytes[i] = data_.rest.empty() ? good : data_.byte();
        }
        if (reg == 0x80 && running_ == 0x00) {
            target_ = bytes[6] == 0 ? 1 : 0;
        } else if (reg == 0x80 && running_ == 0x81 && succeeded_) {
            std::copy(bytes.begin(), bytes.end(), &memory[number_at(frame_, 0, 2) * 512 + frame_[2] * 32U]);
        }
    }

    std::vector<Trouble> troubles_;
    size_t trouble_ = 0;
    Input data_{};
    Bytes frame_;
    int running_ = kNothing;  // the frame command that the MCU has taken
    int polls_ = 0;           // one after the other
    bool succeeded_ = false;  // the latest that has finished
    size_t target_ = 1;
    bool erased_ = false;
    int next_segment_ = 0;
    std::set<size_t> committed_;
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

int read_back(const Answers& answers) {
    I2cBus bus;
    open_bus(bus, "0");
    McuDevice device(&bus);
    read_version(device, nullptr);
    const bool identified = device.page_size != 0;
    Bytes memory(0x42000, 0x55);
    const bool ok = read_memory(device, 526, 528, memory.data(), 0x42000);
    check(ok == identified, "a read-back needs an identity");
    check(memory == answers.memory, "what is read back is what was answered");
    return ok ? 0 : 255;
}

void check_verdict(const ToolRun& run, const Answers& answers) {
    const bool okay = contains(run.err, "info  : overall SV MCU update = okay\n");
    const bool reset_needed = contains(run.err, "info  : overall SV MCU update = reset-needed\n");
    const bool failed = contains(run.err, "error : overall SV MCU update = ERROR\n");
    check(okay + reset_needed + failed == 1, "one verdict");
    check(failed == (run.status == 255), "the verdict is that of the exit status");
    check(failed || answers.enabled || contains(run.err, "nothing to do (") || contains(run.err, "reboot only ("),
          "an update that succeeds has enabled its region");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static sim::Board board;
    static const std::string& update_file = memory_file(good_file());
    Input input{{data, size}};
    std::vector<std::string> words = kLines[input.byte() % kLines.size()];
    std::replace(words.begin(), words.end(), std::string("good"), update_file);
    Answers answers(input);
    FakeKernel kernel(board);
    kernel.keep_wire = false;
    kernel.on_bus = [&](std::span<const sim::Message> messages) { return answers.transfer(messages); };

    const ToolRun run = words.empty() ? capture([&] { return read_back(answers); }) : run_tool_words(words);
    check(run.status == 0 || run.status == 255, "the exit status is 0 or 255");
    check(is_text(run.out) && is_text(run.err), "the output is text");
    check(answers.transfers <= kMaxTransfers && kernel.slept_us <= kMaxSleepUs, "the run is bounded");
    if (contains(run.err, "update file = okay")) {
        check_verdict(run, answers);
    }
    return 0;
}

// SPDX-License-Identifier: MIT
#include "tests/sweep/endurance.h"

#include <cinttypes>
#include <cstdio>
#include <fstream>

#include "tests/sweep/resources.h"
#include "tests/sweep/setup.h"

namespace sweep {

namespace {

constexpr uint64_t kWarmUp = 10;
constexpr size_t kSlackBytes = 1024;
constexpr size_t kSlackPages = 16;

/// FNV-1a over all that went over the wire, acknowledges included.
class Digest {
public:
    void add(const sim::Transfer& transfer) {
        for (const sim::Message& message : transfer.messages) {
            add(static_cast<uint8_t>(message.address));
            add(message.read ? 1 : 0);
            for (const uint8_t byte : message.bytes) {
                add(byte);
            }
        }
        add(transfer.acknowledged ? 1 : 0);
    }

    uint64_t value() const {
        return value_;
    }

private:
    void add(uint8_t byte) {
        value_ = (value_ ^ byte) * 0x100000001B3;
    }

    uint64_t value_ = 0xCBF29CE484222325;
};

uint64_t digest_of_update(sim::Board& board) {
    Digest digest;
    board.on_transfer = [&](const sim::Transfer& transfer) { digest.add(transfer); };
    const Run run = run_update(board, {}, Pages::kAll);
    board.on_transfer = nullptr;
    settle(board);
    return run.status == 0 && board.violations.empty() ? digest.value() : 0;
}

size_t resident_pages() {
    size_t total = 0;
    size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident;
}

}  // namespace

std::string update_in_one_process(uint64_t updates) {
    const auto board = make_board({});
    uint64_t digests[2] = {};
    size_t pages = 0;
    Resources before;
    for (uint64_t i = 0; i < updates; ++i) {
        const uint64_t digest = digest_of_update(*board);
        board->flash.history.clear();
        if (i == kWarmUp) {
            before = Resources();
            pages = resident_pages();
        }
        if (digest == 0 || (i >= kWarmUp && digest != digests[i % 2])) {
            return "update " + std::to_string(i) + " differs";
        }
        digests[i % 2] = digest;
    }
    // A sanitizer's allocator keeps what is freed for a while.
    if (before.bytes != 0 && resident_pages() > pages + kSlackPages) {
        return "resident memory has grown from " + std::to_string(pages) + " to " + std::to_string(resident_pages()) +
               " pages";
    }
    return growth(before, kSlackBytes);
}

uint64_t update_once() {
    return digest_of_update(*make_board({}));
}

std::string update_in_new_processes(const std::string& program, uint64_t processes) {
    const uint64_t expected = update_once();
    for (uint64_t i = 0; i < processes; ++i) {
        std::FILE* pipe = popen((program + " --one-update").c_str(), "r");
        uint64_t digest = 0;
        const bool read = pipe != nullptr && std::fscanf(pipe, "%" SCNx64, &digest) == 1;
        if (pipe == nullptr || pclose(pipe) != 0 || !read || digest == 0 || digest != expected) {
            return "process " + std::to_string(i) + " differs";
        }
    }
    return "";
}

}  // namespace sweep

// SPDX-License-Identifier: MIT
// Two runs of the tool on one board: the second runs as a whole between two transfers of the first. No transfer can be
// interrupted, but a command is several of them: who polls gets the status of whoever wrote last.
#include <array>
#include <map>
#include <memory>
#include <set>

#include "tests/cli/update_fixture.h"

namespace {

using Words = std::vector<std::string>;
using Outcomes = std::map<std::string, int>;

// Transfers of an update of two pages, counted from 1: the frame of the step; its poll is the next one.
constexpr uint64_t kErase = 108;
constexpr uint64_t kCommit = 142;  // of the first page, behind its 16 segments
constexpr uint64_t kEnable = 178;
constexpr uint64_t kDisable = 180;
constexpr uint64_t kReset = 182;
constexpr uint64_t kLast = 183;

constexpr uint32_t k400kHz = 2'500;
constexpr uint32_t k100kHz = 10'000;

class TwoAtOnce : public Update {
protected:
    TwoAtOnce() {
        for (const uint16_t page : std::initializer_list<uint16_t>{0, 1, 256, 257}) {
            file.fill_page(page);
        }
        save();
        crc = {file.region_crc(0), file.region_crc(1)};
    }

    /// On a new board; the second run starts behind a transfer of the first.
    void run_both(const Words& words1, uint64_t place, const Words& words2, const char* fault = nullptr) {
        shared = std::make_unique<sim::Board>();
        shared->flash.install(1, std::vector<uint8_t>{0}, 0x00FF);
        shared->flash.latest = 0;
        if (fault != nullptr) {
            shared->add_fault(fault);
        }
        FakeKernel kernel1(*shared);
        kernel1.bit_ns = k400kHz;
        kernel1.keep_wire = false;
        bool started = false;
        shared->on_transfer = [&](const sim::Transfer& transfer) {
            if (!started && transfer.number == place) {
                started = true;
                FakeKernel kernel2(*shared);
                kernel2.bit_ns = kernel1.bit_ns;
                kernel2.keep_wire = false;
                kernel2.now_us = kernel1.now_us;
                second = run_tool_words(words2);
                kernel1.now_us = kernel2.now_us;
            }
        };
        first = run_tool_words(words1);
        ASSERT_TRUE(started);
        let_resets_come(kernel1);
    }

    void let_resets_come(const FakeKernel& clock) {
        shared->mcu.advance(clock.now_us + 30'000'000);
    }

    /// The texts of the first run's errors.
    std::string errors() const {
        std::string texts;
        for (size_t at = 0; (at = first.err.find("error : ", at)) != std::string::npos; ++at) {
            texts += first.err.substr(at + 8, first.err.find('\n', at) - at - 7);
        }
        return texts;
    }

    /// The software id of the firmware that runs; -1 when none does.
    int running_swid() const {
        const int region = shared->flash.running();
        return region < 0 ? -1 : shared->flash.regions[static_cast<size_t>(region)].swid;
    }

    std::array<uint16_t, 2> crc{};
    std::unique_ptr<sim::Board> shared;
    ToolRun first;
    ToolRun second;
};

}  // namespace

TEST_F(TwoAtOnce, APollerCostsAnUpdateAnAttemptAtMost) {
    const std::string unknown = "unknown HWID\n";
    const struct {
        const char* poller;
        Outcomes outcomes;
    } cases[] = {
        // Reads a register that no command uses.
        {"--probe", {{"", 183}}},
        // Between the first frame, its poll and its response: the flash status is taken for the identity. Behind any
        // other frame the update's poll gets the success of the poller's last command.
        {"--version", {{"", 181}, {unknown, 2}}},
        // The same, and four of the words and pages of the power state that is logged are the poller's.
        {"--status", {{"", 173}, {"another power state", 8}, {unknown, 2}}}};
    for (const auto& c : cases) {
        Outcomes outcomes;
        for (uint64_t place = 1; place <= kLast; ++place) {
            run_both({"--update", path}, place, {c.poller});
            EXPECT_EQ(first.status, 0) << c.poller << place;
            EXPECT_EQ(second.status, 0) << c.poller << place;
            EXPECT_EQ(first.out.find('x'), std::string::npos) << "a page was tried again";
            EXPECT_EQ(shared->violations, std::vector<std::string>{}) << c.poller << place;
            EXPECT_EQ(shared->flash.checksum(1), crc[1]) << c.poller << place;
            EXPECT_EQ(running_swid(), 0x0123) << c.poller << place;
            ++outcomes[first.err.find(kPower) == std::string::npos ? "another power state" : errors()];
        }
        EXPECT_EQ(outcomes, c.outcomes) << c.poller;
    }
}

TEST_F(TwoAtOnce, ThePollersSuccessHidesAFailureOfTheUpdate) {
    const struct {
        const char* fault;
        uint64_t place;
        std::string errors;
        size_t violations;
        int running_swid;
    } cases[] = {
        // The old program is still there.
        {"fail@erase", kErase,
         "could not write page 100 (read poll error, cmd start a0, size 07, data 00, read size 00, error 80)\n", 5,
         0x0123},
        // The checksum of the region is not the file's.
        {"fail@commit/256", kCommit,
         "could not enable other region (1, read poll error, cmd start 80, size 27, data 23, read size 00, error 80)\n",
         0, 0x0123},
        // The MCU does not give up the only region that it can start.
        {"fail@enable", kEnable,
         "could not disable current region (0, read poll error, cmd start a5, size 02, data 42, read size 00, "
         "error 80)\n",
         1, 0x0123},
        // Two regions are enabled; the newer one is started.
        {"fail@disable", kDisable, "", 0, 0x0123},
        // "MCU will reset in 5.0s" is not true: the old firmware goes on until the next reset.
        {"fail@reset-delayed", kReset, "", 0, 0x0100}};
    for (const auto& c : cases) {
        run_both({"--update", path}, c.place, {"--version"}, c.fault);
        EXPECT_EQ(first.status, 0) << c.fault;
        EXPECT_EQ(errors(), c.errors) << c.fault;
        EXPECT_EQ(shared->violations.size(), c.violations) << c.fault;
        EXPECT_EQ(running_swid(), c.running_swid) << c.fault;
        EXPECT_EQ(shared->flash.checksum(1), crc[1]) << c.fault;
    }
}

TEST_F(TwoAtOnce, AReaderTakesTheUpdatesFramesForItsAnswer) {
    Outcomes outcomes;
    for (uint64_t place = 1; place <= 9; ++place) {
        run_both({"--version"}, place, {"--update", path});
        EXPECT_EQ(second.status, 0);
        EXPECT_EQ(shared->violations, std::vector<std::string>{});
        EXPECT_EQ(running_swid(), 0x0123);
        ++outcomes[errors()];
    }
    // The bytes of the reset's frame count upwards.
    EXPECT_EQ(outcomes,
              (Outcomes{{"", 5},
                        {"could not read version (unknown HWID)\n", 2},
                        {"could not read status (invalid region size (hwid vs. read, 0003 20000 7060504))\n", 2}}));
}

TEST_F(TwoAtOnce, TwoUpdatesWithOneFileLeaveItRunning) {
    const struct {
        const char* delay;  // of the second update's reset
        std::set<int> statuses;
    } cases[] = {{"5", {0}},
                 // Three attempts pass while the MCU restarts: the first run reports an error on a board that is fine.
                 {"0", {0, 255}}};
    for (const auto& c : cases) {
        std::set<int> statuses;
        for (uint64_t place = 1; place <= kLast; ++place) {
            run_both({"--update", path}, place, {"--reset-delay", c.delay, "--update", path});
            EXPECT_EQ(second.status, 0) << place;
            EXPECT_EQ(running_swid(), 0x0123) << place;
            const int region = shared->flash.running();
            EXPECT_EQ(shared->flash.checksum(region), crc[static_cast<size_t>(region)]) << place;
            statuses.insert(first.status);
        }
        EXPECT_EQ(statuses, c.statuses) << c.delay;
    }
}

TEST_F(TwoAtOnce, TwoUpdatesWithTwoFilesCanLeaveNothingToStart) {
    UpdateFileBytes other = file;
    other.swid0 = other.swid1 = 0x0456;
    other.image[0x20000] ^= 1;
    const std::string other_path = write_temporary("other.svu", other.bytes());
    // Both say that they are done; one of them is wrong.
    const std::pair<uint64_t, int> places[] = {{kErase - 1, 0x0123}, {kCommit + 1, 0x0123}, {kEnable, 0x0456}};
    for (const auto& [place, swid] : places) {
        run_both({"--update", path}, place, {"--update", other_path});
        EXPECT_EQ(first.status + second.status, 0) << place;
        EXPECT_EQ(running_swid(), swid) << place;
    }
    // In the middle of a complete update: its enable fails, its second attempt erases what the other one has enabled,
    // and the other one's reset comes while no region is whole.
    file.fill_all_pages();
    save();
    run_both({"--update", path}, 700, {"--update", other_path});
    EXPECT_EQ(first.status, 255);
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(running_swid(), -1);
    std::remove(other_path.c_str());
}

TEST_F(TwoAtOnce, AnUpdateBeforeTheResetOfTheLastOneCanLeaveNothingToStart) {
    file.fill_all_pages();
    save();
    shared = std::make_unique<sim::Board>();
    FakeKernel clock(*shared);
    clock.bit_ns = k100kHz;
    EXPECT_EQ(run_tool_words({"--update", path}).status, 0);
    // Programming takes longer than the five seconds until the first one's reset.
    EXPECT_EQ(run_tool_words({"--update", path}).status, 255);
    let_resets_come(clock);
    EXPECT_EQ(running_swid(), -1);

    // Without a delay, and a second later, nothing is pending any more.
    shared = std::make_unique<sim::Board>();
    FakeKernel again(*shared);
    again.bit_ns = k100kHz;
    EXPECT_EQ(run_tool_words({"--reset-delay", "0", "--update", path, "--update", path}).status, 0);
    let_resets_come(again);
    EXPECT_EQ(running_swid(), 0x0123);
    EXPECT_EQ(shared->violations, std::vector<std::string>{});
}

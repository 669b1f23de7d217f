// SPDX-License-Identifier: MIT
#include "tests/sweep/setup.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>

#include "mcu/flash_geometry.h"
#include "tests/support/tool_run.h"
#include "tests/support/update_file_bytes.h"
#include "tests/sweep/states.h"

namespace sweep {

namespace {

constexpr uint64_t kBitNs = 2500;
constexpr uint16_t kFileSwid = 0x0123;
constexpr uint16_t kOtherSwid = 0x0456;
constexpr uint64_t kSettleUs = 60'000'000;

const std::map<std::string, Start> kStarts = {{"both-enabled", Start::kBothEnabled},
                                              {"updated", Start::kUpdated},
                                              {"up-to-date", Start::kUpToDate},
                                              {"reboot-only", Start::kRebootOnly}};

struct FileForm {
    uint16_t swid;
    bool (*is_marked)(int page);
};

const std::map<std::string, FileForm> kFiles = {
    {"all", {kFileSwid, [](int) { return true; }}},
    {"three", {kFileSwid, [](int page) { return page < 3; }}},
    {"eighth", {kFileSwid, [](int page) { return page % 8 == 0; }}},
    {"edges", {kFileSwid, [](int page) { return page == 0 || page == kProgrammedPages - 1; }}},
    {"none", {kFileSwid, [](int) { return false; }}},
    {"other", {kOtherSwid, [](int page) { return page == 0 || page == 3; }}},
    {"zero", {0, [](int page) { return page == 0 || page == 3; }}},
};

UpdateFileBytes make_file(const std::string& pages) {
    const FileForm& form = kFiles.at(pages);
    UpdateFileBytes file;
    file.swid0 = file.swid1 = form.swid;
    for (int page = 0; page < kProgrammedPages; ++page) {
        if (form.is_marked(page)) {
            file.fill_page(static_cast<uint16_t>(page));
            file.fill_page(static_cast<uint16_t>(kRegionPages + page));
        }
    }
    for (const uint16_t first : {uint16_t{0}, kRegionPages}) {
        if (file.page_map[first] != 0) {
            // jmp 0x20 bytes into its own region
            const uint8_t jump[] = {static_cast<uint8_t>(first == 0 ? 0x0C : 0x0D), 0x94, 0x10, 0x00};
            std::copy_n(jump, sizeof jump, &file.image[first * kPageSize]);
        }
    }
    if (pages == "all") {
        // No update may write these: the last page of each region, and the pages above the regions.
        for (const int page : {kRegionPages - 1, 2 * kRegionPages - 1, 2 * kRegionPages, kMemoryPages - 1}) {
            file.fill_page(static_cast<uint16_t>(page));
        }
    }
    return file;
}

}  // namespace

Setup parse_setup(const std::string& text) {
    Setup setup;
    setup.text = text;
    for (const std::string& word : split(text)) {
        const std::string value = word.substr(word.find('=') + 1);
        if (word == "sv_ctl") {
            setup.ctl = true;
        } else if (word.starts_with("state=")) {
            setup.state = std::stoi(value);
        } else if (word.starts_with("--")) {
            setup.flags.push_back(word);
        } else if (word.starts_with("runs=")) {
            setup.running = std::stoi(value);
        } else if (word.starts_with("boots=")) {
            setup.boot_choice = value;
        } else if (word.starts_with("pages=")) {
            setup.pages = value;
        } else if (word.starts_with("boot_ms=")) {
            setup.boot_ms = static_cast<uint32_t>(std::stoul(value));
        } else if (word.starts_with("start=")) {
            setup.start = kStarts.at(value);
        } else {
            throw std::invalid_argument(text);
        }
    }
    return setup;
}

const Material& material(const std::string& pages) {
    static std::map<std::string, Material> all;
    const auto [entry, is_new] = all.try_emplace(pages);
    Material& made = entry->second;
    if (is_new) {
        const UpdateFileBytes file = make_file(pages);
        const std::vector<uint8_t> bytes = file.bytes();
        made.file.assign(bytes.begin(), bytes.end());
        made.swid = file.swid0;
        for (const int region : {0, 1}) {
            made.regions[region] = file.programmed(region);
            made.regions[region].resize(kRegionSize, 0xFF);
        }
    }
    return made;
}

const Counts& counts(const Setup& setup) {
    static std::map<std::string, Counts> all;
    const auto [entry, is_new] = all.try_emplace(setup.text);
    Counts& counts = entry->second;
    if (!is_new) {
        return counts;
    }
    const auto board = make_board(setup);
    board->on_transfer = [&](const sim::Transfer& transfer) {
        ++counts.transfers;
        if (transfer.messages.size() == 1 && sim::command_of(transfer.messages[0].bytes)) {
            const sim::FrameForm* form = frame_of(transfer);
            ++counts.commands;
            counts.frames += form != nullptr ? 1 : 0;
            counts.changes += form != nullptr && form->changes ? 1 : 0;
        }
    };
    run_setup(*board, setup);
    return counts;
}

const std::vector<uint8_t>& old_firmware(int region) {
    static const auto make = [](size_t number) {
        std::vector<uint8_t> program(kRegionSize, 0xFF);
        for (size_t i = 0; i < 40 * kPageSize; ++i) {
            program[i] = static_cast<uint8_t>(i * 13 + i / 251 + number * 77);
        }
        std::copy(std::begin(kFirstJump[number]), std::end(kFirstJump[number]), program.begin());
        return program;
    };
    static const std::vector<uint8_t> programs[] = {make(0), make(1)};
    return programs[region];
}

std::unique_ptr<sim::Board> make_board(const Setup& setup) {
    if (setup.state < 0) {
        return make_start(setup);
    }
    const sim::Board& reached = *reached_states().states.at(static_cast<size_t>(setup.state)).board;
    std::unique_ptr<sim::Board> board(new sim::Board(reached.clone()));
    board->scenario.boot_choice = setup.boot_choice;
    return board;
}

std::unique_ptr<sim::Board> make_start(const Setup& setup) {
    auto board = std::make_unique<sim::Board>();
    board->scenario.boot_choice = setup.boot_choice;
    board->scenario.boot_ms = setup.boot_ms;
    board->now_us = 1'763'330'000'000'000;
    const int other = 1 - setup.running;
    const auto install = [&](int region, bool from_file, uint16_t swid) {
        board->flash.install(region, from_file ? material(setup.pages).regions[region] : old_firmware(region),
                             from_file ? kFileSwid : swid);
    };
    install(other, setup.start == Start::kRebootOnly, 0x00FF);
    install(setup.running, setup.start == Start::kUpToDate, setup.start == Start::kRebootOnly ? 0 : 0x0100);
    board->flash.regions[static_cast<size_t>(other)].enabled =
        setup.start == Start::kBothEnabled || setup.start == Start::kRebootOnly;
    board->flash.latest = setup.start == Start::kRebootOnly ? other : setup.running;
    board->flash.boot(setup.running);
    if (setup.start == Start::kUpdated) {
        run_update(*board, {"--update-without-reset"}, setup.pages);
    }
    board->flash.history.clear();
    return board;
}

Run run_update(sim::Board& board, const std::vector<std::string>& flags, const std::string& pages) {
    std::vector<std::string> words = flags;
    words.insert(words.begin(), "sv_updater");
    words.insert(words.end(), {"--update", pages});
    return run_words(board, std::move(words));
}

std::vector<std::string> ctl_words(const Setup& setup) {
    return {"sv_ctl", "update", "--json", setup.pages};
}

Run run_setup(sim::Board& board, const Setup& setup) {
    return setup.ctl ? run_words(board, ctl_words(setup)) : run_update(board, setup.flags, setup.pages);
}

Run run_words(sim::Board& board, std::vector<std::string> words) {
    FakeKernel kernel(board);
    for (const std::string& word : words) {
        if (kFiles.count(word) != 0) {
            kernel.files[word] = material(word).file;
        }
    }
    kernel.keep_wire = false;
    kernel.bit_ns = kBitNs;
    kernel.now_us = board.now_us;
    const uint64_t before = board.transfers();
    Run run;
    const bool ctl = words.front() == "sv_ctl";
    words.erase(words.begin());
    ToolRun program = ctl ? run_ctl_words(std::move(words)) : run_tool_words(std::move(words));
    run.status = program.status;
    run.out = std::move(program.out);
    run.verdict = kernel.syslog.empty() ? "" : kernel.syslog.back().text;
    run.transfers = board.transfers() - before;
    run.slept_us = kernel.slept_us;
    board.now_us = kernel.now_us;
    return run;
}

const sim::FrameForm* frame_of(const sim::Transfer& transfer) {
    const auto command = transfer.messages.size() == 1 ? sim::command_of(transfer.messages[0].bytes) : std::nullopt;
    return command && command->frame ? sim::find_frame_form(command->code) : nullptr;
}

bool holds(const sim::Board& board, int region, const std::vector<uint8_t>& expected) {
    return std::equal(expected.begin(), expected.end(),
                      board.flash.memory().begin() + region * static_cast<std::ptrdiff_t>(kRegionSize));
}

void settle(sim::Board& board) {
    board.clear_faults();
    board.now_us += kSettleUs;
    board.mcu.advance(board.now_us);
}

}  // namespace sweep

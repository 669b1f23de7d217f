// SPDX-License-Identifier: MIT
#include "sim/shared_board.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <type_traits>

namespace sim {

namespace {

// Bytes of the file that are locked. The locks end with the process, however it ends.
constexpr off_t kTurn = 0;   // exclusive: during a transfer, and while a run joins or leaves
constexpr off_t kUsers = 1;  // shared: by each run; exclusive: nobody else uses the board

bool set_lock(int fd, off_t byte, int type, bool wait = false) {
    struct flock lock {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    int result = 0;
    do {
        result = fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

/// Everything but the memory of the flash.
struct SharedBoard::Slot {
    McuState mcu;
    FlashState flash;
    SavedClock clock;
    uint64_t memory = 0;    ///< counts its changes; odd: the second copy is valid
    uint64_t settings = 0;  ///< counts their changes
    char text[2048] = "";   ///< of the settings
};

/// Of two copies one is valid, so that a run that is killed while it writes the other one does no harm.
struct SharedBoard::Area {
    uint64_t size;                     ///< of this structure
    std::atomic<uint64_t> generation;  ///< odd: the second slot is valid
    Slot slots[2];
    uint8_t memory[2][kMemorySize];
};

SharedBoard::SharedBoard(Board& board, SavedClock& clock)
    : board_(board), clock_(clock), slot_(std::make_unique<Slot>()) {
    static_assert(std::is_trivially_copyable_v<Slot>);
}

SharedBoard::~SharedBoard() {
    leave();
}

/// Opens and locks the file, which a leaving run may remove at any time before.
std::string SharedBoard::open_area(bool& alone) {
    const std::string name = path_ + ".shared";
    struct stat file {};
    do {
        if (fd_ >= 0) {
            close(fd_);
        }
        fd_ = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd_ < 0 || !set_lock(fd_, kTurn, F_WRLCK, true) || fstat(fd_, &file) != 0) {
            return name + ": " + std::strerror(errno);
        }
    } while (file.st_nlink == 0);
    alone = set_lock(fd_, kUsers, F_WRLCK);
    set_lock(fd_, kUsers, F_RDLCK);
    // What killed runs have left is not used: the state file may be another one by now.
    int error = alone && ftruncate(fd_, 0) != 0 ? errno : 0;
    error = alone && error == 0 ? posix_fallocate(fd_, 0, sizeof(Area)) : error;
    void* memory = error != 0 ? MAP_FAILED : mmap(nullptr, sizeof(Area), PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (memory == MAP_FAILED) {
        return name + ": " + std::strerror(error != 0 ? error : errno);
    }
    area_ = static_cast<Area*>(memory);
    if (alone) {
        area_->size = sizeof(Area);
    }
    return !alone && area_->size != sizeof(Area) ? name + ": in use by another version of sv_board" : "";
}

std::string SharedBoard::join(const std::string& path, bool& known) {
    mutex_.lock();
    if (path.empty()) {
        return "";
    }
    path_ = path;
    bool alone = true;
    std::string problem = open_area(alone);
    known = !alone || std::filesystem::exists(path);
    if (problem.empty() && !alone) {
        take_over();
    } else if (problem.empty() && known) {
        problem = load_state(path, board_, clock_);
    }
    return problem;
}

void SharedBoard::take_over() {
    generation_ = area_->generation;
    const Slot& slot = area_->slots[generation_ % 2];
    board_.mcu.restore(slot.mcu);
    clock_ = slot.clock;
    if (slot.memory != slot_->memory) {
        const uint8_t* memory = area_->memory[slot.memory % 2];
        board_.flash.restore({memory, memory + kMemorySize}, slot.flash.running_region);
    }
    board_.flash.restore(slot.flash);
    if (slot.settings != slot_->settings) {
        set_lasting_knobs(board_.scenario, slot.text);
        scenario_ = board_.scenario;
    }
    *slot_ = slot;
    flash_writes_ = board_.flash.writes(0) + board_.flash.writes(1);
}

void SharedBoard::publish() {
    slot_->mcu = board_.mcu.state();
    slot_->flash = board_.flash.state();
    slot_->clock = clock_;
    if (const uint64_t writes = board_.flash.writes(0) + board_.flash.writes(1); writes != flash_writes_) {
        flash_writes_ = writes;
        std::copy(board_.flash.memory().begin(), board_.flash.memory().end(), area_->memory[++slot_->memory % 2]);
    }
    if (slot_->settings == 0 || scenario_ != board_.scenario) {
        scenario_ = board_.scenario;
        ++slot_->settings;
        std::snprintf(slot_->text, sizeof slot_->text, "%s", lasting_knobs(scenario_).c_str());
    }
    generation_ = area_->generation + 1;
    area_->slots[generation_ % 2] = *slot_;
    area_->generation = generation_;
}

void SharedBoard::lock() {
    mutex_.lock();
    if (area_ != nullptr) {
        set_lock(fd_, kTurn, F_WRLCK, true);
        if (area_->generation != generation_) {
            take_over();
        }
    }
}

void SharedBoard::unlock() {
    if (area_ != nullptr) {
        publish();
        set_lock(fd_, kTurn, F_UNLCK);
    }
    mutex_.unlock();
}

std::string SharedBoard::save() {
    if (area_ == nullptr) {
        return "";
    }
    board_.mcu.advance(board_time_us(clock_));
    return save_state(path_, board_, clock_);
}

void SharedBoard::leave() {
    if (fd_ < 0) {
        return;
    }
    if (set_lock(fd_, kTurn, F_WRLCK, true) && set_lock(fd_, kUsers, F_WRLCK)) {
        unlink((path_ + ".shared").c_str());
    }
    // Not by closing alone: a watching process has the file, too.
    set_lock(fd_, kUsers, F_UNLCK);
    set_lock(fd_, kTurn, F_UNLCK);
    if (area_ != nullptr) {
        munmap(area_, sizeof(Area));
        area_ = nullptr;
    }
    close(fd_);
    fd_ = -1;
}

}  // namespace sim

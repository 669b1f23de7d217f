// SPDX-License-Identifier: MIT
#include "sim/testbed.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <umockdev.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <new>
#include <span>

#include "sim/host_model.h"
#include "sim/i2c_dev.h"
#include "sim/shared_clock.h"

namespace sim {

namespace fs = std::filesystem;

struct Testbed::Parts {
    UMockdevTestbed* testbed = nullptr;
    UMockdevIoctlBase* i2c_dev = nullptr;
    SharedClock* clock = nullptr;
    fs::path root;
};

uint64_t board_time_us(uint64_t offset_us) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 + static_cast<uint64_t>(now.tv_nsec) / 1000 + offset_us;
}

namespace {

bool write_text(const fs::path& path, const std::string& text) {
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    return static_cast<bool>(out);
}

}  // namespace

Testbed::Testbed(Board& board, TestbedOptions options)
    : board_(board), options_(std::move(options)), parts_(std::make_unique<Parts>()) {
    parts_->testbed = umockdev_testbed_new();
    char* root = umockdev_testbed_get_root_dir(parts_->testbed);
    parts_->root = root;
    g_free(root);
    set_up();
}

Testbed::~Testbed() {
    if (parts_->i2c_dev != nullptr) {
        const std::string node = "/dev/i2c-" + std::to_string(options_.bus);
        umockdev_testbed_detach_ioctl(parts_->testbed, node.c_str(), nullptr);
        g_object_unref(parts_->i2c_dev);
    }
    if (parts_->clock != nullptr) {
        munmap(parts_->clock, sizeof(SharedClock));
    }
    g_object_unref(parts_->testbed);
}

void Testbed::set_up() {
    add_bus();
    if (problem_.empty()) {
        add_host_files();
    }
    if (problem_.empty()) {
        add_clock();
    }
}

void Testbed::add_bus() {
    const std::string name = "i2c-" + std::to_string(options_.bus);
    const std::string node = "/dev/" + name;
    const std::string device = "P: /devices/" + name + "/i2c-dev/" + name + "\nN: " + name + "\nE: DEVNAME=" + node +
                               "\nE: SUBSYSTEM=i2c-dev\nA: name=simulated board\n\n";
    GError* error = nullptr;
    if (umockdev_testbed_add_from_string(parts_->testbed, device.c_str(), &error) == FALSE) {
        problem_ = error->message;
        g_error_free(error);
        return;
    }
    parts_->i2c_dev = make_i2c_dev([this](std::span<const Message> messages) {
        const std::lock_guard<std::mutex> lock(mutex_);
        board_.now_us = now_us();
        return board_.transfer(messages);
    });
    if (umockdev_testbed_attach_ioctl(parts_->testbed, node.c_str(), parts_->i2c_dev, &error) == FALSE) {
        problem_ = error->message;
        g_error_free(error);
    }
}

void Testbed::add_host_files() {
    bool ok = write_text(parts_->root / fs::path(kGpioExport).relative_path(), "") &&
              write_text(parts_->root / "sv_board/lock", "");  // the preload offers it under its name on a board
    missing_ = ":";
    for (const HostFile& file : host_files(board_.scenario)) {
        fs::path path = parts_->root / fs::path(file.path).relative_path();
        if (file.path == kGpioValue && !board_.scenario.gpio_exported) {
            // The preload moves it into place when the program exports the line.
            path = parts_->root / "sv_board/gpio414/value";
        }
        if (file.content) {
            ok = write_text(path, *file.content) && ok;
        } else {
            missing_ += file.path + ":";
        }
    }
    if (!ok) {
        problem_ = "could not write the host's files: " + std::string(std::strerror(errno));
    }
}

void Testbed::add_clock() {
    const fs::path path = parts_->root / "sv_board/clock";
    write_text(path, std::string(sizeof(SharedClock), '\0'));
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    void* memory = fd < 0 ? MAP_FAILED : mmap(nullptr, sizeof(SharedClock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (fd >= 0) {
        close(fd);
    }
    if (memory == MAP_FAILED) {
        problem_ = "could not share the clock: " + std::string(std::strerror(errno));
        return;
    }
    parts_->clock = new (memory) SharedClock{0, options_.fast ? 1U : 0U};
}

void Testbed::leave(int status) {
    std::error_code ignored;
    fs::remove_all(parts_->root, ignored);
    std::fflush(nullptr);
    _exit(status);
}

uint64_t Testbed::clock_offset_us() const {
    return options_.clock_offset_us + parts_->clock->skipped_ns.load() / 1000;
}

uint64_t Testbed::now_us() const {
    return board_time_us(clock_offset_us());
}

int Testbed::run(const std::vector<std::string>& command) {
    // umockdev has already set UMOCKDEV_DIR, its own variable for the folder.
    const std::string preload = options_.preload_path + ":libumockdev-preload.so.0";
    setenv("LD_PRELOAD", preload.c_str(), 1);
    setenv(kClockVariable, (parts_->root / "sv_board/clock").c_str(), 1);
    setenv(kMissingVariable, missing_.c_str(), 1);
    if (!options_.syslog_path.empty()) {
        setenv(kSyslogVariable, options_.syslog_path.c_str(), 1);
    }
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);

    // As in a shell: an interrupt ends the program, and sv_board still saves the board.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    sigaddset(&defaults, SIGPIPE);  // libumockdev makes this process ignore it
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    std::promise<pid_t> started;
    board_.on_kill = [pid = started.get_future().share()] { kill(pid.get(), SIGKILL); };
    const int error = posix_spawnp(&child, words[0], nullptr, &attributes, words.data(), environ);
    started.set_value(child);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        problem_ = command[0] + ": " + std::strerror(error);
        return 127;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace sim

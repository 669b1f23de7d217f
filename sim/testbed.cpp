// SPDX-License-Identifier: MIT
#include "sim/testbed.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <umockdev.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <span>

#include "sim/host_model.h"
#include "sim/i2c_dev.h"
#include "sim/shared_clock.h"
#include "util/process.h"

namespace sim {

namespace fs = std::filesystem;

struct Testbed::Parts {
    UMockdevTestbed* testbed = nullptr;
    UMockdevIoctlBase* i2c_dev = nullptr;
    SharedClock* clock = nullptr;
    fs::path root;
};

namespace {

bool write_text(const fs::path& path, const std::string& text) {
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    return static_cast<bool>(out);
}

/// umockdev makes its own folder in TMPDIR, and prints and aborts if it cannot.
UMockdevTestbed* new_umockdev_testbed(const std::string& folder) {
    const char* usual = std::getenv("TMPDIR");
    const std::string kept = usual == nullptr ? "" : usual;
    setenv("TMPDIR", folder.c_str(), 1);
    UMockdevTestbed* testbed = umockdev_testbed_new();
    if (usual == nullptr) {
        unsetenv("TMPDIR");
    } else {
        setenv("TMPDIR", kept.c_str(), 1);
    }
    return testbed;
}

/// Messages of umockdev and GLib, which would print them.
void take_message(const char* /*domain*/, GLogLevelFlags level, const char* message, gpointer problem) {
    const char* place = std::strstr(message, ".vala:");  // the text follows file and line
    const char* text = place == nullptr ? nullptr : std::strstr(place, ": ");
    const std::string failure = std::string("the bus could not be set up: ") + (text == nullptr ? message : text + 2);
    if ((level & G_LOG_LEVEL_ERROR) != 0) {
        std::fprintf(stderr, "sv_board: %s\n", failure.c_str());
        _exit(125);  // GLib would abort
    }
    if (problem != nullptr && (level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) != 0) {
        *static_cast<std::string*>(problem) = failure;
    }
}

}  // namespace

Testbed::Testbed(Board& board, SharedBoard& shared, SavedClock& clock, ScratchFolder& folder, TestbedOptions options)
    : board_(board),
      shared_(shared),
      clock_(clock),
      folder_(folder),
      options_(std::move(options)),
      parts_(std::make_unique<Parts>()) {
    ignore_output_signals();
    std::signal(SIGCHLD, SIG_DFL);
    sigemptyset(&held_);
    for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        sigaddset(&held_, signal);
    }
    sigprocmask(SIG_BLOCK, &held_, &program_mask_);
    g_log_set_default_handler(take_message, &problem_);
    set_up();
    g_log_set_default_handler(take_message, nullptr);
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
    if (parts_->testbed != nullptr) {
        g_object_unref(parts_->testbed);
    }
}

void Testbed::set_up() {
    const std::string& folder = folder_.path();
    if (folder.size() + std::strlen("/umockdev.XXXXXX/ioctl/dev/i2c-255") >= sizeof sockaddr_un{}.sun_path) {
        problem_ = folder + ": the name is too long for sockets; set TMPDIR to a shorter one";
        return;
    }
    parts_->testbed = new_umockdev_testbed(folder);
    char* root = umockdev_testbed_get_root_dir(parts_->testbed);
    parts_->root = root;
    g_free(root);
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
    parts_->i2c_dev = make_i2c_dev([this](std::span<const Message> messages, pid_t process) {
        const std::lock_guard<SharedBoard> lock(shared_);
        advance_clock();
        board_.on_kill = [process] {
            if (process > 0) {
                kill(process, SIGKILL);
            }
        };
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
    const bool written = write_text(path, std::string(sizeof(SharedClock), '\0'));
    const int fd = written ? open(path.c_str(), O_RDWR | O_CLOEXEC) : -1;
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
    std::fflush(nullptr);
    folder_.remove();
    _exit(status);
}

void Testbed::advance_clock() {
    if (parts_->clock != nullptr) {
        const uint64_t skipped_us = parts_->clock->skipped_ns.load() / 1000;
        clock_.offset_us += skipped_us - skipped_us_;
        skipped_us_ = skipped_us;
    }
    board_.now_us = board_time_us(clock_);
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

    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // without this process it has no bus
        std::signal(SIGPIPE, SIG_DFL);
        std::signal(SIGXFSZ, SIG_DFL);
        sigprocmask(SIG_SETMASK, &program_mask_, nullptr);
        if (getppid() == parent) {
            execvp(words[0], words.data());
            dprintf(STDERR_FILENO, "sv_board: %s: %s\n", words[0], std::strerror(errno));
        }
        _exit(127);
    }
    if (child < 0) {
        problem_ = std::string("no process could be started: ") + std::strerror(errno);
        return 125;
    }
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        siginfo_t info{};
        const int signal = sigwaitinfo(&held_, &info);
        // The program gets those of the terminal itself.
        if (signal > 0 && signal != SIGCHLD && info.si_code != SI_KERNEL) {
            kill(child, signal);
        }
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace sim

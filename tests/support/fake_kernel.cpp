// SPDX-License-Identifier: MIT
#include "tests/support/fake_kernel.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>

#include "sim/host_model.h"

extern "C" int __real_open(const char* path, int flags, ...);

namespace {

constexpr int kFirstBusDescriptor = 100'000;
constexpr size_t kMaxMessages = 2;
// Wider than what the plain calls take
constexpr bool kWideTime = sizeof(time_t) > sizeof(long);
constexpr bool kWideOffsets = sizeof(off_t) > sizeof(long);

FakeKernel* kernel = nullptr;

std::string describe(std::span<const sim::Message> messages) {
    char text[32];
    const sim::Message& first = messages.front();
    std::snprintf(text, sizeof text, "%c %02x %02x", messages.size() == 2 ? 'R' : 'W', first.address, first.bytes[0]);
    std::string line = text;
    if (messages.size() == 2) {
        return line + " " + std::to_string(messages[1].bytes.size());
    }
    line += ":";
    for (const uint8_t byte : first.bytes.subspan(1)) {
        std::snprintf(text, sizeof text, " %02x", byte);
        line += text;
    }
    return line;
}

/// Start, address and data with their acknowledges, a repeated start or the stop.
uint64_t wire_bits(std::span<const sim::Message> messages) {
    uint64_t bits = 1;
    for (const sim::Message& message : messages) {
        bits += 9 * (1 + message.bytes.size()) + 1;
    }
    return bits;
}

int bus_ioctl(sim::Board& board, unsigned long request, void* argument) {
    if (request == I2C_FUNCS) {
        *static_cast<unsigned long*>(argument) = kernel->functions;
        return 0;
    }
    if (request != I2C_RDWR) {
        std::fprintf(stderr, "unexpected ioctl %lx on the bus\n", request);
        std::abort();
    }
    const auto* rdwr = static_cast<i2c_rdwr_ioctl_data*>(argument);
    std::array<sim::Message, kMaxMessages> all{};
    if (rdwr->nmsgs > all.size()) {
        std::fprintf(stderr, "unexpected transfer of %u messages\n", rdwr->nmsgs);
        std::abort();
    }
    const std::span messages = std::span(all).first(rdwr->nmsgs);
    for (size_t i = 0; i < messages.size(); ++i) {
        const i2c_msg& message = rdwr->msgs[i];
        messages[i] = {message.addr, (message.flags & I2C_M_RD) != 0, std::span(message.buf, message.len)};
    }
    if (kernel->keep_wire) {
        kernel->wire.push_back(describe(messages));
    }
    FakeKernel& own = *kernel;  // a hook of the board may set up another one
    own.bus_ns += wire_bits(messages) * own.bit_ns;
    own.now_us += own.bus_ns / 1000;
    own.bus_ns %= 1000;
    board.now_us = own.now_us;
    if (own.on_bus ? own.on_bus(messages) : board.transfer(messages)) {
        return static_cast<int>(rdwr->nmsgs);
    }
    errno = own.transfer_error;
    return -1;
}

/// The content of a faked file; an inner nothing for one that is not there, an outer one for a path that is not faked.
std::optional<std::optional<std::string_view>> faked_file(const std::string& path) {
    if (const auto file = kernel->files.find(path); file != kernel->files.end()) {
        return file->second;
    }
    static std::map<std::string, std::optional<std::string>> host_files;
    const sim::Scenario& scenario = kernel->buses[0]->scenario;
    const bool exported = scenario.gpio_exported || (kernel->exported == "414" && kernel->export_works);
    for (const sim::HostFile& file : sim::host_files(scenario)) {
        if (file.path == path) {
            return host_files[path] = path == sim::kGpioValue && !exported ? std::nullopt : file.content;
        }
    }
    return std::nullopt;
}

int content_descriptor(const std::string& content) {
    const int descriptor = memfd_create("file", MFD_CLOEXEC);
    for (size_t done = 0; done < content.size();) {
        const ssize_t count = write(descriptor, content.data() + done, content.size() - done);
        if (count < 0) {
            std::perror("memfd");
            std::abort();
        }
        done += static_cast<size_t>(count);
    }
    lseek(descriptor, 0, SEEK_SET);
    return descriptor;
}

ssize_t write_nowhere(void* /*cookie*/, const char* /*bytes*/, size_t count) {
    return static_cast<ssize_t>(count);
}

/// Reads the content in its place, which takes less time than a copy in a real file. What is written is lost.
std::FILE* content_stream(std::string_view content, const char* mode) {
    if (mode[0] != 'r') {
        return fopencookie(nullptr, mode, {nullptr, write_nowhere, nullptr, nullptr});
    }
    return fmemopen(const_cast<char*>(content.data()), content.size(), mode);
}

/// One file for all openings, as the lock of a board is.
int open_lock() {
    if (kernel->lock < 0) {
        kernel->lock = memfd_create("lock", MFD_CLOEXEC);
    }
    return __real_open(("/proc/self/fd/" + std::to_string(kernel->lock)).c_str(), O_RDWR | O_CLOEXEC);
}

ssize_t write_export(void* /*cookie*/, const char* bytes, size_t count) {
    kernel->exported.append(bytes, count);
    return static_cast<ssize_t>(count);
}

void keep_log_line(int priority, const char* format, va_list values) {
    const OwnCalls own;
    char text[2048];
    std::vsnprintf(text, sizeof text, format, values);
    if (kernel != nullptr) {
        kernel->syslog.push_back({priority, text});
    }
}

timespec virtual_time() {
    return {static_cast<time_t>(kernel->now_us / 1'000'000), static_cast<long>(kernel->now_us % 1'000'000 * 1000)};
}

}  // namespace

FakeKernel::FakeKernel(sim::Board& board) : buses{{0, &board}}, older_(kernel) {
    kernel = this;
}

FakeKernel::~FakeKernel() {
    if (lock >= 0) {
        close(lock);
    }
    kernel = older_;
}

FakeKernel* FakeKernel::current() {
    return kernel;
}

// The linker sends the tool's calls here (--wrap).
extern "C" {

int __real_ioctl(int fd, unsigned long request, ...);
int __real_usleep(useconds_t us);
int __real_clock_gettime(clockid_t clock, timespec* time);
int __real___clock_gettime64(clockid_t clock, timespec* time);
time_t __real_time(time_t* out);
time_t __real___time64(time_t* out);
std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __real_fopen64(const char* path, const char* mode);
int __real_access(const char* path, int kind);
void __real_openlog(const char* identity, int option, int facility);

int __wrap_open(const char* path, int flags, ...) {
    if (call_fails(EMFILE)) {
        return -1;
    }
    const OwnCalls own;
    int bus = -1;
    if (kernel != nullptr && std::sscanf(path, "/dev/i2c-%d", &bus) == 1) {
        if (const auto error = kernel->open_errors.find(bus); error != kernel->open_errors.end()) {
            errno = error->second;
            return -1;
        }
        if (kernel->buses.count(bus) != 0 && (flags & O_ACCMODE) == O_RDWR) {
            return kFirstBusDescriptor + bus;
        }
        errno = ENOENT;
        return -1;
    }
    if (kernel != nullptr && std::strcmp(path, "/run/sv_updater/lock") == 0) {
        return open_lock();
    }
    if (kernel != nullptr && kernel->files.count(path) != 0) {
        return content_descriptor(kernel->files[path]);
    }
    va_list values;
    va_start(values, flags);
    const int mode = va_arg(values, int);
    va_end(values);
    return __real_open(path, flags, mode);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
    va_list values;
    va_start(values, request);
    void* argument = va_arg(values, void*);
    va_end(values);
    if (kernel != nullptr && fd >= kFirstBusDescriptor) {
        const OwnCalls own;
        return bus_ioctl(*kernel->buses.at(fd - kFirstBusDescriptor), request, argument);
    }
    return __real_ioctl(fd, request, argument);
}

int __wrap_usleep(useconds_t us) {
    if (kernel == nullptr) {
        return __real_usleep(us);
    }
    const OwnCalls own;
    if (kernel->keep_wire) {
        kernel->sleeps_us.push_back(us);
    }
    if (kernel->keep_order) {
        kernel->wire.push_back("sleep " + std::to_string(us));
    }
    kernel->slept_us += us;
    kernel->now_us += us;
    return 0;
}

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
    if (kernel == nullptr) {
        return (kWideTime ? __real___clock_gettime64 : __real_clock_gettime)(clock, time);
    }
    *time = virtual_time();
    if (clock != CLOCK_MONOTONIC) {
        time->tv_sec *= 2;  // the host sets its time at any moment
    }
    return 0;
}

time_t __wrap_time(time_t* out) {
    if (kernel == nullptr) {
        return (kWideTime ? __real___time64 : __real_time)(out);
    }
    return virtual_time().tv_sec;
}

void __wrap_openlog(const char* identity, int option, int facility) {
    const OwnCalls own;
    if (kernel == nullptr) {
        __real_openlog(identity, option, facility);
        return;
    }
    kernel->openlog_identities.push_back(std::string(identity) + " " + std::to_string(option) + " " +
                                         std::to_string(facility));
}

void __wrap_syslog(int priority, const char* format, ...) {
    va_list values;
    va_start(values, format);
    keep_log_line(priority, format, values);
    va_end(values);
}

// What fortified code calls in its place.
void __wrap___syslog_chk(int priority, int /*flag*/, const char* format, ...) {
    va_list values;
    va_start(values, format);
    keep_log_line(priority, format, values);
    va_end(values);
}

static std::FILE* open_really(const char* path, const char* mode) {
    return (kWideOffsets ? __real_fopen64 : __real_fopen)(path, mode);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    if (kernel == nullptr) {
        return open_really(path, mode);
    }
    if (call_fails(EMFILE)) {
        return nullptr;
    }
    const OwnCalls own;
    if (std::strcmp(path, sim::kGpioExport) == 0) {
        kernel->exported.clear();
        return fopencookie(nullptr, mode, {nullptr, write_export, nullptr, nullptr});
    }
    const bool is_host_file = std::strncmp(path, "/proc/", 6) == 0 || std::strncmp(path, "/dev/temp", 9) == 0 ||
                              std::strncmp(path, "/sys/", 5) == 0;
    const auto content = faked_file(path);
    if (content && *content) {
        return content_stream(**content, mode);
    }
    if (content || is_host_file) {
        errno = ENOENT;
        return nullptr;
    }
    return open_really(path, mode);
}

int __wrap_access(const char* path, int kind) {
    if (kernel == nullptr || std::strcmp(path, sim::kGpioFolder) != 0) {
        return __real_access(path, kind);
    }
    return kernel->buses[0]->scenario.gpio_exported ? 0 : -1;
}

// Where off_t or time_t is wider than the processor's long, the C library's headers rename these calls.
#define SV_TWIN(name, twin) decltype(__wrap_##name) __wrap_##twin __attribute__((alias("__wrap_" #name)))
SV_TWIN(open, open64);
SV_TWIN(fopen, fopen64);
SV_TWIN(ioctl, __ioctl_time64);
SV_TWIN(clock_gettime, __clock_gettime64);
SV_TWIN(time, __time64);

}  // extern "C"

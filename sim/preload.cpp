// SPDX-License-Identifier: MIT
// Preloaded, before umockdev's own library, into the programs that sv_board runs: copies system-log lines to a file,
// skips sleeps, exports the GPIO, hides host files that the board does not have, and offers a lock of the board's own.
// Uses the C library only.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "sim/shared_clock.h"

namespace {

constexpr char kFolder[] = "/sys/class/gpio/gpio414";
constexpr uint64_t kNsPerSecond = 1'000'000'000;

/// The next definition of a function that this library replaces.
template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Calls the kernel itself: a sanitizer's malloc reads the time, also within umockdev's open(), which holds a lock.
SharedClock* shared_clock() {
    static SharedClock* clock = nullptr;
    if (clock == nullptr) {
        const char* path = std::getenv(kClockVariable);
        const int fd = path == nullptr ? -1 : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC));
        if (fd < 0) {
            return nullptr;
        }
        void* memory = mmap(nullptr, sizeof(SharedClock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        syscall(SYS_close, fd);
        clock = memory == MAP_FAILED ? nullptr : static_cast<SharedClock*>(memory);
    }
    return clock;
}

uint64_t skipped_ns() {
    const SharedClock* clock = shared_clock();
    return clock == nullptr ? 0 : clock->skipped_ns.load();
}

/// True when the sleep was skipped, and the clock moved instead.
bool skip(uint64_t ns) {
    SharedClock* clock = shared_clock();
    if (clock == nullptr || clock->fast.load() == 0) {
        return false;
    }
    clock->skipped_ns.fetch_add(ns);
    return true;
}

uint64_t to_ns(const timespec& time) {
    return static_cast<uint64_t>(time.tv_sec) * kNsPerSecond + static_cast<uint64_t>(time.tv_nsec);
}

/// The kernel exports the line when "414" is written. Here it is exported when a program next opens a path below it.
void settle_gpio(const char* path) {
    const char* root = std::getenv("UMOCKDEV_DIR");
    if (root == nullptr || path == nullptr || std::strncmp(path, kFolder, sizeof kFolder - 1) != 0) {
        return;
    }
    char name[512];
    std::snprintf(name, sizeof name, "%s/sys/class/gpio/export", root);
    char written[4] = "";
    const int fd = next<int(const char*, int, ...)>("open")(name, O_RDONLY | O_CLOEXEC);
    const bool exported = fd >= 0 && read(fd, written, 3) == 3 && std::strcmp(written, "414") == 0;
    if (fd >= 0) {
        close(fd);
    }
    if (exported) {
        char folder[512];
        std::snprintf(folder, sizeof folder, "%s%s", root, kFolder);
        std::snprintf(name, sizeof name, "%s/sv_board/gpio414", root);
        // Result ignored: it fails when the line is exported already.
        static_cast<void>(std::rename(name, folder));
    }
}

/// True when the board has no such file. Exports the GPIO first, if the path needs it.
bool is_missing(const char* path) {
    settle_gpio(path);
    const char* missing = std::getenv(kMissingVariable);
    char word[512];
    const int length = path == nullptr ? -1 : std::snprintf(word, sizeof word, ":%s:", path);
    return missing != nullptr && length > 0 && std::strstr(missing, word) != nullptr;
}

/// umockdev opens a socket for every device that a program opens. A program that opens /dev/null to fill its standard
/// descriptors would get that socket as one of them.
bool is_null_device(const char* path) {
    return path != nullptr && std::strcmp(path, "/dev/null") == 0;
}

/// Where a path of the host leads. `name` may hold the result.
const char* redirected(const char* path, char (&name)[512]) {
    const char* root = std::getenv("UMOCKDEV_DIR");
    if (root == nullptr || path == nullptr || std::strcmp(path, "/run/sv_updater/lock") != 0) {
        return path;
    }
    std::snprintf(name, sizeof name, "%s/sv_board/lock", root);
    return name;
}

mode_t mode_of(int flags, va_list values) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(values, mode_t) : 0;
}

void write_syslog(int priority, const char* format, va_list values) {
    const char* path = std::getenv(kSyslogVariable);
    if (path == nullptr) {
        return;
    }
    char message[2048];
    std::vsnprintf(message, sizeof message, format, values);
    char line[2100];
    std::snprintf(line, sizeof line, "<%d> %s\n", LOG_PRI(priority), message);
    const int fd = next<int(const char*, int, ...)>("open")(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd >= 0) {
        // Result ignored: a full disk must not change what the program under test does.
        static_cast<void>(!write(fd, line, std::strlen(line)));
        close(fd);
    }
}

}  // namespace

extern "C" {

void openlog(const char* /*identity*/, int /*option*/, int /*facility*/) {}

void vsyslog(int priority, const char* format, va_list values) {
    write_syslog(priority, format, values);
}

void syslog(int priority, const char* format, ...) {
    va_list values;
    va_start(values, format);
    write_syslog(priority, format, values);
    va_end(values);
}

// Programs built with _FORTIFY_SOURCE call syslog by this name. NOLINTNEXTLINE(bugprone-reserved-identifier)
void __syslog_chk(int priority, int /*flag*/, const char* format, ...) {
    va_list values;
    va_start(values, format);
    write_syslog(priority, format, values);
    va_end(values);
}

int usleep(useconds_t us) {
    return skip(uint64_t{us} * 1000) ? 0 : next<int(useconds_t)>("usleep")(us);
}

unsigned sleep(unsigned seconds) {
    return skip(seconds * kNsPerSecond) ? 0 : next<unsigned(unsigned)>("sleep")(seconds);
}

int nanosleep(const timespec* wanted, timespec* rest) {
    return skip(to_ns(*wanted)) ? 0 : next<int(const timespec*, timespec*)>("nanosleep")(wanted, rest);
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* wanted, timespec* rest) {
    if (flags == 0 && skip(to_ns(*wanted))) {
        return 0;
    }
    return next<int(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep")(clock, flags, wanted, rest);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const int result = next<int(clockid_t, timespec*)>("clock_gettime")(clock, time);
    if (result == 0 && clock != CLOCK_PROCESS_CPUTIME_ID && clock != CLOCK_THREAD_CPUTIME_ID) {
        const uint64_t ns = to_ns(*time) + skipped_ns();
        time->tv_sec = static_cast<time_t>(ns / kNsPerSecond);
        time->tv_nsec = static_cast<long>(ns % kNsPerSecond);
    }
    return result;
}

time_t time(time_t* out) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (out != nullptr) {
        *out = now.tv_sec;
    }
    return now.tv_sec;
}

int gettimeofday(timeval* __restrict out, void* __restrict /*zone*/) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *out = {now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / 1000)};
    return 0;
}

FILE* fopen(const char* path, const char* mode) {
    if (is_missing(path)) {
        errno = ENOENT;
        return nullptr;
    }
    return next<FILE*(const char*, const char*)>("fopen")(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return fopen(path, mode);
}

int open(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = mode_of(flags, values);
    va_end(values);
    if (is_missing(path)) {
        errno = ENOENT;
        return -1;
    }
    if (is_null_device(path)) {
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    }
    char name[512];
    return next<int(const char*, int, ...)>("open")(redirected(path, name), flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = mode_of(flags, values);
    va_end(values);
    return open(path, flags, mode);
}

int access(const char* path, int kind) noexcept {
    if (is_missing(path)) {
        errno = ENOENT;
        return -1;
    }
    return next<int(const char*, int)>("access")(path, kind);
}

}  // extern "C"

// SPDX-License-Identifier: MIT
// Preloaded into a program that is measured: answers I2C_RDWR on /dev/i2c-0 inside the process. Pauses take no time
// unless the bus takes its real time. Nothing that happens here is in callgrind's counts: measure.py leaves this
// object out, and around the calls from here into the C library the counting is off.
//
//   SV_BENCH_POLLS=N       a command is finished at its Nth status read (1)
//   SV_BENCH_KHZ=N         the bus runs at 100, 400 or 1000 kHz and takes its time, and so do pauses
//   SV_BENCH_STATE=FILE    the board lives on in this file
//   SV_BENCH_TRACE=FILE    receives every transfer and every line to the system log
//   SV_BENCH_SUMMARY=FILE  receives "transfers bus_ns pauses_ns"; without SV_BENCH_KHZ the bus is one of 400 kHz
//   SV_BENCH_HOST=FOLDER   stands before the paths of the host's temperatures and GPIO
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include "bench/mcu.h"

enum { kNoBus = -1, kPathSize = 512 };

/// The least times, in ns, that the bus's mode allows around the bits of a transfer.
struct Speed {
    uint32_t khz;
    uint64_t frame_ns;    // start hold, stop set-up, and the idle time behind the stop
    uint64_t restart_ns;  // set-up and hold of a repeated start
};

static const struct Speed kSpeeds[] = {{400, 2500, 1200}, {100, 12700, 8700}, {1000, 1020, 520}};

static const struct Speed* speed = kSpeeds;
static int real_time;
static int bus = kNoBus;
static uint64_t transfers;
static uint64_t bus_ns;
static uint64_t pauses_ns;
static uint64_t late_ns;  // how much too late the last transfer ended
static FILE* trace;
static const char* host;
static FILE* (*next_fopen)(const char*, const char*);
static int (*next_access)(const char*, int);

static uint64_t now_ns(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint64_t)now.tv_sec * 1000000000U + (uint64_t)now.tv_nsec;
}

static void give_up(const char* reason) {
    fprintf(stderr, "bench: %s\n", reason);
    _exit(99);
}

static void select_speed(uint32_t khz) {
    for (size_t i = 0; i < sizeof kSpeeds / sizeof *kSpeeds; ++i) {
        if (kSpeeds[i].khz == khz) {
            speed = kSpeeds + i;
            return;
        }
    }
    give_up("the bus runs at 100, 400 or 1000 kHz");
}

__attribute__((constructor)) static void begin(void) {
    CALLGRIND_TOGGLE_COLLECT;
    *(void**)&next_fopen = dlsym(RTLD_NEXT, "fopen");
    *(void**)&next_access = dlsym(RTLD_NEXT, "access");
    const char* polls = getenv("SV_BENCH_POLLS");
    sv_mcu_init(polls == NULL ? 1 : atoi(polls));
    const char* khz = getenv("SV_BENCH_KHZ");
    real_time = khz != NULL;
    if (real_time) {
        select_speed((uint32_t)atoi(khz));
    }
    const char* path = getenv("SV_BENCH_TRACE");
    trace = path == NULL ? NULL : next_fopen(path, "w");
    host = getenv("SV_BENCH_HOST");
    path = getenv("SV_BENCH_STATE");
    FILE* state = path == NULL ? NULL : next_fopen(path, "rb");
    if (state != NULL) {
        if (fread(&sv_mcu, sizeof sv_mcu, 1, state) != 1) {
            give_up("the state file is too short");
        }
        fclose(state);
    }
    CALLGRIND_TOGGLE_COLLECT;
}

static FILE* create(const char* variable) {
    const char* path = getenv(variable);
    return path == NULL ? NULL : next_fopen(path, "wb");
}

__attribute__((destructor)) static void end(void) {
    CALLGRIND_TOGGLE_COLLECT;
    FILE* state = create("SV_BENCH_STATE");
    if (state != NULL) {
        fwrite(&sv_mcu, sizeof sv_mcu, 1, state);
        fclose(state);
    }
    FILE* summary = create("SV_BENCH_SUMMARY");
    if (summary != NULL) {
        fprintf(summary, "%lu %lu %lu\n", transfers, bus_ns, pauses_ns);
        fclose(summary);
    }
    if (trace != NULL) {
        fclose(trace);
    }
    CALLGRIND_TOGGLE_COLLECT;
}

static void trace_transfer(const struct i2c_rdwr_ioctl_data* request, int result) {
    for (uint32_t i = 0; i < request->nmsgs; ++i) {
        const struct i2c_msg* message = request->msgs + i;
        fprintf(trace, "%s%c %02x:", i == 0 ? "" : ", ", (message->flags & I2C_M_RD) != 0 ? 'R' : 'W', message->addr);
        for (int k = 0; k < message->len; ++k) {
            fprintf(trace, " %02x", message->buf[k]);
        }
    }
    fputs(result == 0 ? "\n" : " not acknowledged\n", trace);
}

static uint64_t wire_ns(const struct i2c_rdwr_ioctl_data* request) {
    uint64_t bytes = request->nmsgs;  // an address each
    for (uint32_t i = 0; i < request->nmsgs; ++i) {
        bytes += request->msgs[i].len;
    }
    return bytes * 9 * 1000000 / speed->khz + speed->frame_ns + (request->nmsgs - 1) * speed->restart_ns;
}

static int transfer(const struct i2c_rdwr_ioctl_data* request) {
    const uint64_t start = real_time ? now_ns() : 0;
    const uint64_t wire = wire_ns(request);
    const int result = sv_mcu_transfer(request->msgs, request->nmsgs);
    ++transfers;
    bus_ns += wire;
    if (trace != NULL) {
        trace_transfer(request, result);
    }
    if (real_time) {
        // A transfer that ended too late is no fault of the program: the next one is shorter by so much.
        const uint64_t lead = late_ns < wire ? late_ns : wire;
        const uint64_t due = start + wire - lead;
        late_ns -= lead;
        uint64_t now = now_ns();
        while (now < due) {
            now = now_ns();
        }
        late_ns += now - due;
    }
    return result;
}

int ioctl(int fd, unsigned long request, ...) {
    va_list values;
    va_start(values, request);
    void* argument = va_arg(values, void*);
    va_end(values);
    if (fd != bus || bus == kNoBus) {
        return (int)syscall(SYS_ioctl, fd, request, argument);
    }
    if (request == I2C_FUNCS) {
        *(unsigned long*)argument = I2C_FUNC_I2C;
        return 0;
    }
    int result = -1;
    CALLGRIND_TOGGLE_COLLECT;
    if (request == I2C_RDWR) {
        result = transfer(argument);
    }
    CALLGRIND_TOGGLE_COLLECT;
    errno = result == 0 ? errno : ENXIO;
    return result == 0 ? (int)((struct i2c_rdwr_ioctl_data*)argument)->nmsgs : -1;
}

static const char* redirect(const char* path, char* buffer) {
    if (host == NULL || (strncmp(path, "/dev/temp_", 10) != 0 && strncmp(path, "/sys/class/gpio", 15) != 0)) {
        return path;
    }
    CALLGRIND_TOGGLE_COLLECT;
    snprintf(buffer, kPathSize, "%s%s", host, path);
    CALLGRIND_TOGGLE_COLLECT;
    return buffer;
}

int open(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const unsigned mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(values, unsigned) : 0;
    va_end(values);
    char buffer[kPathSize];
    if (strcmp(path, "/dev/i2c-0") == 0) {
        bus = (int)syscall(SYS_openat, AT_FDCWD, "/dev/null", flags, 0);
        return bus;
    }
    return (int)syscall(SYS_openat, AT_FDCWD, redirect(path, buffer), flags, mode);
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

FILE* fopen(const char* path, const char* mode) {
    char buffer[kPathSize];
    return next_fopen(redirect(path, buffer), mode);
}

int access(const char* path, int kind) {
    char buffer[kPathSize];
    return next_access(redirect(path, buffer), kind);
}

static int pause_ns(uint64_t ns) {
    pauses_ns += ns;
    const struct timespec time = {(time_t)(ns / 1000000000U), (long)(ns % 1000000000U)};
    return real_time ? (int)syscall(SYS_nanosleep, &time, NULL) : 0;
}

int usleep(useconds_t us) {
    return pause_ns((uint64_t)us * 1000);
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* wanted, struct timespec* rest) {
    (void)rest;
    const uint64_t ns = (uint64_t)wanted->tv_sec * 1000000000U + (uint64_t)wanted->tv_nsec;
    return (flags & TIMER_ABSTIME) != 0 && clock == CLOCK_MONOTONIC ? pause_ns(ns - now_ns()) : pause_ns(ns);
}

static void log_line(int priority, const char* format, va_list values) {
    CALLGRIND_TOGGLE_COLLECT;
    if (trace != NULL) {
        fprintf(trace, "<%d> ", priority);
        vfprintf(trace, format, values);
        fputc('\n', trace);
    }
    CALLGRIND_TOGGLE_COLLECT;
}

void syslog(int priority, const char* format, ...) {
    va_list values;
    va_start(values, format);
    log_line(priority, format, values);
    va_end(values);
}

// The C library's name for it in programs built with _FORTIFY_SOURCE.
void __syslog_chk(int priority, int flag, const char* format, ...) {
    (void)flag;
    va_list values;
    va_start(values, format);
    log_line(priority, format, values);
    va_end(values);
}

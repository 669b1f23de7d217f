// SPDX-License-Identifier: MIT
// Preloaded into a measured program: answers I2C_RDWR on /dev/i2c-0 inside the process. Bus and pauses take no time
// unless SV_BENCH_REAL_TIME is set. Callgrind's counts leave this library out: measure.py skips this object, and
// collection is off during its calls into the C library.
//
//   SV_BENCH_REAL_TIME=1   transfers take their time on a bus of 400 kHz, pauses take theirs
//   SV_BENCH_STATE=FILE    receives the board at the end
//   SV_BENCH_TRACE=FILE    receives every transfer and every line of the system log
//   SV_BENCH_SUMMARY=FILE  receives "transfers bus_ns", at 400 kHz
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
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

// Of fast mode: 400 kHz, and the minimum times around the bits of a transfer.
enum {
    kByteNs = 9 * 2500,  // eight bits and the acknowledge
    kFrameNs = 2500,     // start hold, stop set-up, and the idle time after the stop
    kRestartNs = 1200,   // set-up and hold of a repeated start
};

enum { kNoBus = -1 };

static int real_time;
static int bus = kNoBus;
static uint64_t transfers;
static uint64_t bus_ns;
static uint64_t late_ns;  // by which earlier transfers ended too late
static FILE* trace;

static uint64_t now_ns(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint64_t)now.tv_sec * 1000000000U + (uint64_t)now.tv_nsec;
}

static FILE* create(const char* variable) {
    const char* path = getenv(variable);
    return path == NULL ? NULL : fopen(path, "wb");
}

__attribute__((constructor)) static void begin(void) {
    CALLGRIND_TOGGLE_COLLECT;
    sv_mcu_init();
    real_time = getenv("SV_BENCH_REAL_TIME") != NULL;
    trace = create("SV_BENCH_TRACE");
    CALLGRIND_TOGGLE_COLLECT;
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
        fprintf(summary, "%lu %lu\n", transfers, bus_ns);
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
    return bytes * kByteNs + kFrameNs + (request->nmsgs - 1) * kRestartNs;
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
        // The clock may overshoot, which is not the program's time: the next transfer makes up for it.
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

int open(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const unsigned mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(values, unsigned) : 0;
    va_end(values);
    if (strcmp(path, "/dev/i2c-0") == 0) {
        bus = (int)syscall(SYS_openat, AT_FDCWD, "/dev/null", flags, 0);
        return bus;
    }
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

static int pause_ns(uint64_t ns) {
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

// The name of syslog in programs built with _FORTIFY_SOURCE.
void __syslog_chk(int priority, int flag, const char* format, ...) {
    (void)flag;
    va_list values;
    va_start(values, format);
    log_line(priority, format, values);
    va_end(values);
}

// SPDX-License-Identifier: MIT
// Runs a program once and prints its exit status, wall time in microseconds and peak memory in KiB on descriptor 3.
// A process inherits the peak memory of its parent, so this program is small.
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static double now_us(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec * 1e6 + (double)now.tv_nsec / 1e3;
}

int main(int argc, char** argv) {
    if (argc < 2) {
        return 127;
    }
    const double start = now_us();
    const pid_t child = vfork();
    if (child == 0) {
        execv(argv[1], argv + 1);
        _exit(127);
    }
    int status = 0;
    struct rusage usage;
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        return 127;
    }
    const double end = now_us();
    dprintf(3, "%d %.1f %ld\n", WIFEXITED(status) ? WEXITSTATUS(status) : 128, end - start, usage.ru_maxrss);
    return 0;
}

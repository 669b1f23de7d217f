// SPDX-License-Identifier: MIT
// The floor: a bare C program with the transfers, output, log lines and checksums of sv_updater's --update, --read and
// --bom-version, and nothing else. It exits with status 255 on any error.
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>
#include <time.h>

#include "bench/floor_mcu.h"

enum { kInfoOffset = kMemorySize + kMemoryPages + 6, kBodySize = kInfoOffset + 24, kResetDelay = 50 };
enum { kFileSize = 1024 + kBodySize };  // of the largest file

__attribute__((format(printf, 1, 2))) static void log_info(const char* format, ...) {
    char message[512];
    va_list values;
    va_start(values, format);
    vsnprintf(message, sizeof message, format, values);
    va_end(values);
    syslog(LOG_INFO, "%s", message);
    const long now = time(NULL) % 86400;
    fprintf(stderr, "[%02ld:%02ld:%02ld] info  : %s\n", now / 3600, now / 60 % 60, now % 60, message);
}

static float volts(uint16_t code) {
    return ((float)code - 190.0F) * 32.6397F * 2.048F / 4095.0F;
}

static void print_progress(const char* prefix, double percent) {
    printf("%s* %3.1f%%", prefix, percent);
    fflush(stdout);
}

static const char* prefix_after(double percent) {
    return percent > 10.0 ? "\b\b\b\b\b\b" : "\b\b\b\b\b";
}

/// Reads the update file into `file` and returns its part after the magic.
static const uint8_t* load(const char* path, uint8_t* file) {
    const int descriptor = open(path, O_RDONLY);
    const ssize_t size = descriptor < 0 ? -1 : read(descriptor, file, kFileSize);
    if (size < 0) {
        give_up();
    }
    close(descriptor);
    const uint8_t* magic = memmem(file, 1024, "SVxMega\n", 8);
    if (magic == NULL || magic + 8 + kBodySize != file + size) {
        give_up();
    }
    const uint8_t* image = magic + 8;
    const uint8_t* info = image + kInfoOffset;
    const int good = get16(info + 2) == get16(info + 4) && get16(info + 12) == 0 && get16(info + 14) == 2 &&
                     get16(info + 16) == kPageSize && get16(info + 18) == 0x2000 && get16(info + 20) == 4;
    if (!good || crc16(0xFFFF, image, (size_t)(info + 22 - image)) != get16(info + 22)) {
        give_up();
    }
    return image;
}

static struct Identity log_power(void) {
    struct Identity identity = read_identity();
    read_flash_status(&identity);
    uint8_t s[kStatusBlockSize];
    read_mcu(0, s, sizeof s);
    const struct Diagnostics d = read_diagnostics();
    const uint8_t* u1 = d.pages[0];
    const uint8_t* u2 = d.pages[1];
    char in[24];
    switch (s[0] & 3) {
        case 0: snprintf(in, sizeof in, ", IN=off"); break;
        case 1: snprintf(in, sizeof in, (s[1] & 2) != 0 ? ", IN=ext/0" : ", IN=ext/?"); break;
        default: snprintf(in, sizeof in, ", IN=Ln%d/%d", (s[0] & 3) - 1, s[2] & 15); break;
    }
    const char* outs[] = {", OUT=no", ", OUT=Ln1", ", OUT=Ln2", ", OUT=1+2"};
    log_info(
        "status SVMCU=on, OK=%d %d%s%s, PWR=%3.1fV, IMP=%d %d, DATA=%02x %02x %02x, "
        "U1=%02x %02x %02x %02x %02x, U2=%02x %02x %02x %02x %02x, EXT=%3.1fV",
        1, 1, in, outs[s[0] >> 3 & 3], (double)volts(d.powerrail), s[16], s[17], s[0], s[1], s[2], u1[0], u1[1], u1[2],
        u1[3], u1[4], u2[0], u2[1], u2[2], u2[3], u2[4], (double)volts(d.ext));
    return identity;
}

static void program(const uint8_t* image, uint32_t first_page) {
    const uint8_t* page_map = image + kMemorySize;
    const char* prefix = "";
    for (uint32_t i = 0; i < 255; ++i) {
        const double percent = (float)(i * 100.0 / 255);
        const uint32_t page = first_page + i;
        if (page_map[page] != 0) {
            print_progress(prefix, percent);
            write_page((uint16_t)page, image + page * kPageSize);
        } else {
            printf("%s. %3.1f%%", prefix, percent);
            fflush(stdout);
        }
        prefix = prefix_after(percent);
    }
    printf("%s done \n", prefix);
}

static void update(const char* path) {
    uint8_t* file = malloc(kFileSize);
    if (file == NULL) {
        give_up();
    }
    const uint8_t* image = load(path, file);
    const uint8_t* info = image + kInfoOffset;
    const uint16_t swid = get16(info + 2);
    log_info("update file swid %04x crc %04x %04x", swid, get16(info + 6), get16(info + 8));
    log_info("update file = %s (%s)", "okay", path);
    const struct Identity mcu = log_power();
    const int target = 1 - mcu.active;
    const uint16_t crc = get16(info + 6 + 2 * target);
    log_info("doing update in region %d (from swid %04x crc %04x to swid %04x crc %04x)", target, mcu.swid,
             mcu.crc[mcu.active], swid, crc);
    run_key_frame(kEraseOther);
    printf("erased other region %d\n", target);
    printf("programming, starting at %x\n", target * kRegionSize);
    program(image, target == 0 ? 0 : 256);
    enable_other(swid, crc);
    printf("enabled other region %d\n", target);
    run_key_frame(kDisableCurrent);
    log_info("disabled current region %d", mcu.active);
    usleep(10000);
    reset_delayed(kResetDelay);
    log_info("reset: MCU will reset in %3.1fs", kResetDelay * 0.1);
    log_info("update done in region %d with swid %04x crc %04x", target, swid, crc);
    log_info("overall SV MCU update = okay");
}

static void read_back(const char* path) {
    printf("reading %s\n", path);
    uint8_t* memory = malloc(kMemorySize);
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (memory == NULL || file < 0) {
        give_up();
    }
    read_identity();
    memset(memory, 0x55, kMemorySize);
    const char* prefix = "";
    for (uint16_t page = 0; page < kMemoryPages; ++page) {
        const double percent = (float)(page * 100.0 / kMemoryPages);
        print_progress(prefix, percent);
        prefix = prefix_after(percent);
        read_page(page, memory + page * kPageSize);
    }
    printf("%s done \n", prefix);
    if (write(file, memory, kMemorySize) != kMemorySize || close(file) != 0) {
        give_up();
    }
}

int main(int argc, char** argv) {
    openlog("sv_floor", LOG_NDELAY, LOG_LOCAL0);
    bus = open("/dev/i2c-0", O_RDWR);
    if (argc == 3 && strcmp(argv[1], "--update") == 0) {
        update(argv[2]);
    } else if (argc == 3 && strcmp(argv[1], "--read") == 0) {
        read_back(argv[2]);
    } else if (argc == 2 && strcmp(argv[1], "--bom-version") == 0) {
        puts("-todo-");
    } else {
        give_up();
    }
    return 0;
}

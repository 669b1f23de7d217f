// SPDX-License-Identifier: MIT
// The floor: a bare C program with the transfers, the output, the log lines and the checksums of sv_updater's --update,
// --read, --status and --bom-version, and nothing else. Whatever goes wrong ends it with 255.
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>
#include <time.h>

#include "bench/floor_mcu.h"

enum { kFileSize = 1024 + kMemorySize + 528 + 6 + 24, kResetDelay = 50 };

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

/// Reads a small file, without its line end when it has one; an empty text when there is none.
static void read_text(const char* path, char* text, size_t size) {
    ssize_t count = 0;
    const int file = open(path, O_RDONLY);
    if (file >= 0) {
        count = read(file, text, size - 1);
        close(file);
    }
    text[count > 0 ? count : 0] = '\0';
}

static void print_progress(const char* prefix, double percent) {
    printf("%s* %3.1f%%", prefix, percent);
    fflush(stdout);
}

static const char* prefix_behind(double percent) {
    return percent > 10.0 ? "\b\b\b\b\b\b" : "\b\b\b\b\b";
}

/// Returns what follows the magic.
static const uint8_t* load(const char* path, uint8_t* file) {
    const int descriptor = open(path, O_RDONLY);
    const ssize_t size = descriptor < 0 ? -1 : read(descriptor, file, kFileSize);
    if (size < 0) {
        give_up();
    }
    close(descriptor);
    const uint8_t* magic = memmem(file, 1024, "SVxMega\n", 8);
    if (magic == NULL || magic + 8 + kMemorySize + 528 + 6 + 24 != file + size) {
        give_up();
    }
    const uint8_t* image = magic + 8;
    const uint8_t* info = file + size - 24;
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
    const uint8_t* u1 = d.page0[0];
    const uint8_t* u2 = d.page0[1];
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
        1, 1, in, outs[s[0] >> 3 & 3], (double)volts(d.words[kPowerrail]), s[16], s[17], s[0], s[1], s[2], u1[0], u1[1],
        u1[2], u1[3], u1[4], u2[0], u2[1], u2[2], u2[3], u2[4], (double)volts(d.words[kExt]));
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
        prefix = prefix_behind(percent);
    }
    printf("%s done \n", prefix);
}

static void update(const char* path) {
    uint8_t* file = malloc(kFileSize);
    if (file == NULL) {
        give_up();
    }
    const uint8_t* image = load(path, file);
    const uint8_t* info = image + kMemorySize + 528 + 6;
    const uint16_t swid = get16(info + 2);
    log_info("update file swid %04x crc %04x %04x", swid, get16(info + 6), get16(info + 8));
    log_info("update file = %s (%s)", "okay", path);
    const struct Identity mcu = log_power();
    const int target = 1 - mcu.active;
    const uint16_t crc = get16(info + 6 + 2 * target);
    log_info("doing update in region %d (from swid %04x crc %04x to swid %04x crc %04x)", target, mcu.swid,
             mcu.crc[mcu.active], swid, crc);
    run_key_frame(0x43);
    printf("erased other region %d\n", target);
    printf("programming, starting at %x\n", target * kRegionSize);
    program(image, target == 0 ? 0 : 256);
    enable_other(swid, crc);
    printf("enabled other region %d\n", target);
    run_key_frame(0x46);
    log_info("disabled current region %d", mcu.active);
    usleep(10000);
    reset_delayed(kResetDelay);
    log_info("reset: MCU will reset in %3.1fs", kResetDelay * 0.1);
    log_info("update done in region %d with swid %04x crc %04x", target, swid, crc);
    log_info("overall SV MCU update = okay");
}

static void read_back(const char* path) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    uint8_t* memory = malloc(kMemorySize);
    if (file < 0 || memory == NULL) {
        give_up();
    }
    printf("reading %s\n", path);
    read_identity();
    const char* prefix = "";
    for (uint16_t page = 0; page < 528; ++page) {
        const double percent = (float)(page * 100.0 / 528);
        print_progress(prefix, percent);
        prefix = prefix_behind(percent);
        read_page(page, memory + page * kPageSize);
    }
    printf("%s done \n", prefix);
    if (write(file, memory, kMemorySize) != kMemorySize || close(file) != 0) {
        give_up();
    }
}

static void print_time(void) {
    // The year begins in March here, so that a leap day is its last one.
    const long now = time(NULL);
    const long days = now / 86400 + 719468;
    const long of_era = days % 146097;
    const long years = (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
    const long of_year = of_era - (365 * years + years / 4 - years / 100);
    const long months = (5 * of_year + 2) / 153;
    const long month = months < 10 ? months + 3 : months - 9;
    printf("%04ld-%02ld-%02ld %02ld:%02ld:%02ld up ", years + days / 146097 * 400 + (month <= 2), month,
           of_year - (153 * months + 2) / 5 + 1, now / 3600 % 24, now / 60 % 60, now % 60);
    char text[64];
    read_text("/proc/uptime", text, sizeof text);
    const unsigned up = (unsigned)atoi(text);
    printf("%ud %02u:%02u:%02u", up / 86400, up / 3600 % 24, up / 60 % 60, up % 60);
}

static void print_poe(void) {
    char value[2];
    if (access("/sys/class/gpio/gpio414", F_OK) != 0) {
        give_up();
    }
    read_text("/sys/class/gpio/gpio414/value", value, sizeof value);
    printf(" POE=%s", value[0] == '0' ? "on " : "off");
}

static void print_charger(void) {
    static const uint8_t registers[] = {0x1B, 0x25, 0x28, 0x26, 0x29};
    uint8_t words[5][2];
    for (int i = 0; i < 5; ++i) {
        if (!try_read(0x09, registers[i], words[i], 2)) {
            give_up();
        }
    }
    const double charge_ma = (int16_t)get16(words[4]) * 0.001983 / 0.005;
    const float input_ma = (float)((int16_t)get16(words[2]) * 0.001983 / 0.025 - charge_ma * 0.047 / 0.025);
    const double watts = get16(words[1]) * 0.00221 * (double)input_ma / 1000.0 / 0.699;
    printf(" CAP=%s/%04.1fV/%3.1fW", (words[0][0] & 0x20) != 0 ? "full" : "notF", get16(words[3]) * 0.001476, watts);
}

static void print_temperature(const char* path, char separator) {
    char text[10];
    read_text(path, text, sizeof text);
    printf("%c%3.1fdegC", separator, strtod(text, NULL) + 0.05);
}

static void status(void) {
    uint8_t byte = 0;
    print_time();
    printf("  DISP=%s", try_read(0x50, 0, &byte, 1) ? "on " : "off");
    print_poe();
    read_mcu(kMarkerRegister, &byte, 1);
    uint8_t s[kStatusBlockSize];
    read_mcu(0, s, sizeof s);
    uint8_t marker[] = {kMarkerRegister, 0x11};
    write_mcu(marker, sizeof marker);
    struct Identity identity = read_identity();
    read_flash_status(&identity);
    const struct Diagnostics d = read_diagnostics();
    printf(" SVMCU=on  RST=%s SW=%04x/%d/%04x PWR=%4.1fV", s[15] == 0 ? "yes" : "no ", identity.swid, identity.active,
           identity.crc[identity.active], (double)volts(d.words[kPowerrail]));
    const char* outs[] = {"no ", "Ln1", "Ln2", "1+2"};
    if ((s[0] & 3) < 2) {
        printf(" IN=%s OUT=%s", (s[0] & 3) == 0 ? "off  " : "ext/0", outs[s[0] >> 3 & 3]);
    } else {
        printf(" IN=Ln%d/%d OUT=%s", (s[0] & 3) - 1, s[2] & 15, outs[s[0] >> 3 & 3]);
    }
    print_charger();
    printf(" USB=%s TEMP", try_read(0x10, 0, &byte, 1) ? "on" : "off");
    print_temperature("/dev/temp_nic", '=');
    print_temperature("/dev/temp_disp", ',');
    const float reference = (float)d.words[kTemperatureCal] / 2.048F;
    printf(",%3.1fdegC\n", (double)((float)d.words[kTemperature] - 190.0F) * 358.15 / (double)reference - 273.15);
}

int main(int argc, char** argv) {
    openlog("sv_floor", LOG_NDELAY, LOG_LOCAL0);
    bus = open("/dev/i2c-0", O_RDWR);
    if (argc == 3 && strcmp(argv[1], "--update") == 0) {
        update(argv[2]);
    } else if (argc == 3 && strcmp(argv[1], "--read") == 0) {
        read_back(argv[2]);
    } else if (argc == 2 && strcmp(argv[1], "--status") == 0) {
        status();
    } else if (argc == 2 && strcmp(argv[1], "--bom-version") == 0) {
        puts("-todo-");
    } else {
        give_up();
    }
    return 0;
}

// SPDX-License-Identifier: MIT
#include "ctl/outcome.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <iterator>

namespace {

struct ReasonRow {
    Reason reason;
    const char* word;
    bool retry;
};

constexpr ReasonRow kReasons[] = {
    {Reason::kNone, "", false},
    {Reason::kBadUsage, "bad-usage", false},
    {Reason::kHeldLock, "locked", true},
    {Reason::kNoLock, "no-lock", false},
    {Reason::kNoBus, "no-bus", false},
    {Reason::kNoPermission, "no-permission", false},
    {Reason::kBadAdapter, "bad-adapter", false},
    {Reason::kStuckBus, "stuck-bus", true},
    {Reason::kHeldAddress, "held-address", false},
    {Reason::kNoAnswer, "no-answer", true},
    {Reason::kBusyMcu, "busy-mcu", true},
    {Reason::kWrongAddress, "wrong-address", false},
    {Reason::kBadFile, "bad-file", false},
    {Reason::kWrongHardware, "wrong-hardware", false},
    {Reason::kNoPower, "no-power", true},
    {Reason::kNoSpace, "no-space", false},
    {Reason::kNoMemory, "no-memory", true},
    {Reason::kBackupExists, "backup-exists", false},
    {Reason::kBackupFailed, "backup-failed", false},
    {Reason::kOutputFailed, "output-failed", false},
    {Reason::kInterrupted, "interrupted", true},
    {Reason::kEraseFailed, "erase-failed", true},
    {Reason::kWriteFailed, "write-failed", true},
    {Reason::kVerifyFailed, "verify-failed", true},
    {Reason::kEnableFailed, "enable-failed", true},
    {Reason::kDisableFailed, "disable-failed", true},
    {Reason::kResetNotSeen, "reset-not-seen", true},
    {Reason::kNotConfirmed, "not-confirmed", true},
};

const ReasonRow& row_of(Reason reason) {
    return kReasons[static_cast<size_t>(reason)];
}

constexpr bool in_order() {
    for (size_t i = 0; i < std::size(kReasons); ++i) {
        if (kReasons[i].reason != static_cast<Reason>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(in_order());

}  // namespace

const char* reason_word(Reason reason) {
    return row_of(reason).word;
}

bool may_retry(Reason reason) {
    return row_of(reason).retry;
}

Reason reason_not_written(int error, Reason otherwise) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG ? Reason::kNoSpace : otherwise;
}

bool fail(Failure& failure, Reason reason, const char* format, ...) {
    char raw[sizeof failure.text];
    va_list values;
    va_start(values, format);
    std::vsnprintf(raw, sizeof raw, format, values);
    va_end(values);
    failure.reason = reason;
    size_t length = 0;
    for (const char* byte = raw; *byte != '\0' && length + sizeof "\\xff" <= sizeof failure.text; ++byte) {
        // A name or a file may hold what commands a terminal or forges a line of a log.
        const bool plain = *byte >= ' ' && *byte <= '~';
        length += static_cast<size_t>(std::snprintf(failure.text + length, sizeof failure.text - length,
                                                    plain ? "%c" : "\\x%02x", static_cast<unsigned char>(*byte)));
    }
    return false;
}

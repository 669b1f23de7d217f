// SPDX-License-Identifier: MIT
// How a command of sv_ctl ends: exit status, and the reason as a text for people and a word for programs.
#pragma once

enum ExitStatus {
    kDone = 0,
    kCurrent = 3,      ///< update: the file's firmware runs already
    kRefused = 4,      ///< no frame was sent that changes anything
    kFailed = 5,       ///< update: failed, and the firmware that ran before runs and can start
    kUnconfirmed = 6,  ///< update: written, or not known; not seen to run
    kUsage = 64,
    kLocked = 75,  ///< somebody else holds the lock
};

enum class Reason {
    kNone,
    kBadUsage,
    kHeldLock,
    kNoLock,
    kNoBus,
    kNoPermission,
    kBadAdapter,
    kStuckBus,
    kHeldAddress,
    kNoAnswer,
    kBusyMcu,
    kWrongAddress,
    kBadFile,
    kWrongHardware,
    kNoPower,
    kNoSpace,
    kNoMemory,
    kBackupExists,
    kBackupFailed,
    kOutputFailed,
    kInterrupted,
    kEraseFailed,
    kWriteFailed,
    kVerifyFailed,
    kEnableFailed,
    kDisableFailed,
    kResetNotSeen,
    kNotConfirmed,
};

/// The word of a reason. It never changes: programs compare it.
const char* reason_word(Reason reason);

/// Whether the same call may succeed later without anybody's hand.
bool may_retry(Reason reason);

/// The reason when a file could not be written: kNoSpace if this errno says so, otherwise `otherwise`.
Reason reason_not_written(int error, Reason otherwise);

/// Why a command did not do all that was asked. Holds its text itself, so that no memory is needed to fail.
struct Failure {
    Reason reason = Reason::kNone;
    char text[512] = "";
};

/// Stores reason and text and returns false. Cut to 511 characters; a byte that is not printable ASCII becomes \x and
/// two digits. The values may include the old text.
bool fail(Failure& failure, Reason reason, const char* format, ...) __attribute__((format(printf, 3, 4)));

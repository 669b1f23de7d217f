// SPDX-License-Identifier: MIT
// The whole flash, read back into a file before an update.
#pragma once

#include <string>

#include "ctl/outcome.h"
#include "ctl/progress.h"

/// Whether a new file can stand there. An empty path is no backup, here and below. Failure: kBackupExists.
bool check_backup_target(const std::string& path, Failure& failure);

/// Reads all 0x42000 bytes and stores them in a new file, which appears when it is complete and on disk. Nothing that
/// stands there is replaced. Failure: kNoAnswer, kInterrupted, kBackupExists, kNoSpace, kNoMemory, kBackupFailed; no
/// file is left.
bool keep_backup(McuDevice& device, const std::string& path, Progress& progress, Failure& failure);

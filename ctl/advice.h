// SPDX-License-Identifier: MIT
// Commands that sv_ctl advises: lists of words that can be run as they stand.
#pragma once

#include <string>
#include <vector>

#include "ctl/session.h"

/// "sv_ctl COMMAND" with the bus, the address and the lock of this call.
std::vector<std::string> ctl_words(const CommonOptions& options, const char* command);

/// "sv_updater COMMAND" with the bus and the address of this call.
std::vector<std::string> tool_words(const CommonOptions& options, const char* command);

/// The words as one line for a shell: quoted where necessary, in printable ASCII.
std::string shell_line(const std::vector<std::string>& words);

// SPDX-License-Identifier: MIT
// The command line of sv_ctl.
#pragma once

/// Parses the command line and runs the subcommand. Returns the exit status.
int run_ctl(int argc, const char* const* argv);

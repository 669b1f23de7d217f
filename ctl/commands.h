// SPDX-License-Identifier: MIT
// The subcommands of sv_ctl. Each prints its result and returns the exit status.
#pragma once

#include <string>

#include "ctl/session.h"

struct UpdateOptions {
    std::string file;
    std::string backup;  ///< empty: none
    bool check = false;
    bool sure = false;
    bool verify = true;
    bool any_content = false;
    bool any_power = false;
};

int run_update_command(const CommonOptions& common, const UpdateOptions& options);

int run_status_command(const CommonOptions& common);

struct WatchOptions {
    double interval = 1;  ///< seconds, from 0.1
    uint64_t count = 0;   ///< readings; 0: until interrupted
    bool csv = false;     ///< otherwise JSON lines
};

int run_watch_command(const CommonOptions& common, const WatchOptions& options);

struct MetricsOptions {
    std::string output;  ///< empty: standard output
};

int run_metrics_command(const CommonOptions& common, const MetricsOptions& options);

int run_doctor_command(const CommonOptions& common);

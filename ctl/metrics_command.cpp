// SPDX-License-Identifier: MIT
#include "ctl/commands.h"
#include "ctl/report.h"

int run_metrics_command(const CommonOptions& common, const MetricsOptions& /*options*/) {
    Failure failure;
    fail(failure, Reason::kNoBus, "not built yet");
    return report_failure(common, failure);
}

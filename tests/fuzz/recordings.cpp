// SPDX-License-Identifier: MIT
// The readers of recordings.
#include "capture/sigrok_text.h"
#include "capture/tracepoints.h"
#include "tests/fuzz/target.h"

namespace {

/// What a reader made can be written as a capture, and is the same then.
void check_recording(const sim::Recording& recording) {
    const sim::Recording again = sim::read_capture(sim::capture_of(recording.transfers));
    check(again.problem.empty(), "a capture can be read");
    check(again.transfers == recording.transfers, "a capture holds what was recorded");
}

}  // namespace

void recording(Input input) {
    check_recording(sim::read_capture(input.rest));
    check_recording(read_tracepoints(input.text()));
    check_recording(read_sigrok_text(input.text(), 10'000'000, 127));
}

// SPDX-License-Identifier: MIT
// The readers of recordings.
#include "capture/sigrok_text.h"
#include "capture/tracepoints.h"
#include "tests/fuzz/target.h"

namespace {

bool is_same(const sim::RecordedTransfer& a, const sim::RecordedTransfer& b) {
    return a.bus == b.bus && a.time_us == b.time_us && a.acknowledged == b.acknowledged &&
           std::equal(a.messages.begin(), a.messages.end(), b.messages.begin(), b.messages.end(),
                      [](const sim::RecordedMessage& m, const sim::RecordedMessage& n) {
                          return m.address == n.address && m.read == n.read && m.size == n.size && m.bytes == n.bytes;
                      });
}

/// What a reader made can be written as a capture, and is the same then.
void check_recording(const sim::Recording& recording) {
    sim::Bytes bytes = sim::capture_header();
    for (const sim::RecordedTransfer& transfer : recording.transfers) {
        check(!transfer.messages.empty(), "a transfer has messages");
        const sim::Bytes packets = sim::capture_packets(transfer);
        bytes.insert(bytes.end(), packets.begin(), packets.end());
    }
    const sim::Recording again = sim::read_capture(bytes);
    check(again.problem.empty(), "a capture can be read");
    check(std::equal(again.transfers.begin(), again.transfers.end(), recording.transfers.begin(),
                     recording.transfers.end(), is_same),
          "a capture holds what was recorded");
}

}  // namespace

void recording(Input input) {
    check_recording(sim::read_capture(input.rest));
    check_recording(read_tracepoints(input.text()));
    check_recording(read_sigrok_text(input.text(), 10'000'000, 127));
}

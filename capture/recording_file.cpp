// SPDX-License-Identifier: MIT
#include "capture/recording_file.h"

#include "capture/sigrok_text.h"
#include "capture/tracepoints.h"

sim::Recording read_recording(const std::string& path, const SigrokSource& sigrok) {
    sim::Bytes bytes;
    if (std::string problem = sim::load_bytes(path, bytes); !problem.empty()) {
        return {{}, problem};
    }
    if (sim::is_capture(bytes)) {
        return sim::read_capture(bytes);
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    sim::Recording recording = read_tracepoints(text);
    if (recording.transfers.empty() && recording.problem.empty()) {
        const bool known = sigrok.samples_per_second != 0;
        recording = read_sigrok_text(text, known ? sigrok.samples_per_second : 1, sigrok.bus);
        if (!known && !recording.transfers.empty()) {
            return {{}, "sigrok's annotations have no time: give --samplerate"};
        }
    }
    if (recording.transfers.empty() && recording.problem.empty()) {
        recording.problem = "neither a pcapng file, nor I2C events of the kernel, nor annotations of sigrok";
    }
    return recording;
}

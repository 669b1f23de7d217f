// SPDX-License-Identifier: MIT
#include "tests/sweep/workers.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <new>

#include "tests/sweep/resources.h"

namespace sweep {

namespace {

constexpr size_t kMaxRows = 64;
constexpr size_t kMaxFailures = 20;
constexpr size_t kFailureSize = 400;
constexpr uint64_t kWarmUpTasks = 20;
constexpr size_t kSlackBytes = 262'144;  // the cache of the C library's allocator
constexpr useconds_t kRefreshUs = 200'000;

/// In memory that all workers share.
struct Shared {
    std::atomic<uint64_t> next_task{0};
    std::atomic<uint64_t> points_done{0};
    struct {
        std::atomic<uint64_t> held{0};
        std::atomic<uint64_t> windows[kWindows]{};
        std::atomic<uint64_t> failed{0};
    } rows[kMaxRows];
    std::atomic<uint64_t> failures{0};
    char failure_texts[kMaxFailures][kFailureSize]{};
};

void note_failure(Shared& shared, const std::string& text) {
    const uint64_t number = shared.failures++;
    if (number < kMaxFailures) {
        std::snprintf(shared.failure_texts[number], kFailureSize, "%s", text.c_str());
    }
}

void note_outcome(Shared& shared, size_t row, const Outcome& outcome, const std::string& where) {
    auto& counts = shared.rows[row];
    if (!outcome.failure.empty()) {
        ++counts.failed;
        note_failure(shared, where + ": " + outcome.failure);
    } else if (outcome.window != Window::kNone) {
        ++counts.windows[static_cast<size_t>(outcome.window)];
    } else {
        ++counts.held;
    }
    ++shared.points_done;
}

void work(const std::vector<Task>& tasks, Shared& shared) {
    Resources before;
    uint64_t done = 0;
    for (uint64_t i = shared.next_task++; i < tasks.size(); i = shared.next_task++) {
        const Task& task = tasks[i];
        task.run(
            [&](const Outcome& outcome, const std::string& where) { note_outcome(shared, task.row, outcome, where); });
        if (++done == kWarmUpTasks) {
            before = Resources();
        }
    }
    if (done > kWarmUpTasks) {
        if (const std::string grown = growth(before, kSlackBytes); !grown.empty()) {
            note_failure(shared, "in a worker's " + std::to_string(done) + " tasks, " + grown);
        }
    }
}

class Progress {
public:
    explicit Progress(uint64_t total) : total_(total) {}

    void show(uint64_t done) {
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
        const bool terminal = isatty(STDERR_FILENO) != 0;
        if (!terminal && seconds < next_line_ && done < total_) {
            return;
        }
        next_line_ = seconds + 30;
        const double share = total_ == 0 ? 1 : static_cast<double>(done) / static_cast<double>(total_);
        const double left = share > 0 ? seconds / share - seconds : 0;
        const auto bar = static_cast<size_t>(share * 30);
        std::fprintf(stderr, "%s[%-30s] %llu points done, %llu to go, %.0f s, %.0f s to go   %s", terminal ? "\r" : "",
                     std::string(bar, '#').c_str(), static_cast<unsigned long long>(done),
                     static_cast<unsigned long long>(total_ - done), seconds, left,
                     terminal && done < total_ ? "" : "\n");
    }

private:
    uint64_t total_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    double next_line_ = 0;
};

}  // namespace

std::vector<std::string> run_tasks(const std::vector<Task>& tasks, unsigned jobs, std::vector<Row>& rows) {
    void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || rows.size() > kMaxRows) {
        return {"no memory for the workers"};
    }
    auto& shared = *new (memory) Shared;
    uint64_t total = 0;
    for (const Task& task : tasks) {
        total += task.points;
        rows[task.row].points += task.points;
    }
    std::fflush(nullptr);
    for (unsigned i = 0; i < jobs; ++i) {
        if (fork() == 0) {
            work(tasks, shared);
            std::fflush(nullptr);
            _exit(0);
        }
    }
    std::vector<std::string> problems;
    Progress progress(total);
    for (unsigned left = jobs; left > 0;) {
        int status = 0;
        if (waitpid(-1, &status, WNOHANG) > 0) {
            --left;
            if (status != 0) {
                problems.push_back("a worker ended with status " + std::to_string(status));
            }
        } else {
            usleep(kRefreshUs);
        }
        if (shared.points_done < total) {
            progress.show(shared.points_done);
        }
    }
    progress.show(shared.points_done);
    for (size_t i = 0; i < rows.size(); ++i) {
        rows[i].held = shared.rows[i].held;
        rows[i].failed = shared.rows[i].failed;
        for (size_t window = 0; window < kWindows; ++window) {
            rows[i].windows[window] = shared.rows[i].windows[window];
        }
    }
    for (size_t i = 0; i < std::min<size_t>(shared.failures, kMaxFailures); ++i) {
        if (problems.empty() || problems.back() != shared.failure_texts[i]) {
            problems.emplace_back(shared.failure_texts[i]);
        }
    }
    munmap(memory, sizeof(Shared));
    return problems;
}

}  // namespace sweep

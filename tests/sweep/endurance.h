// SPDX-License-Identifier: MIT
// Undisturbed updates, many times over.
#pragma once

#include <cstdint>
#include <string>

namespace sweep {

/// So many complete updates of one board in this process, to and fro between the regions: the same transfers each time,
/// and no memory or descriptor more. Returns an empty text, or what went wrong.
std::string update_in_one_process(uint64_t updates);

/// One complete update of a new board. Returns a digest of its transfers, 0 for a failure.
uint64_t update_once();

/// The same in a new process each time, with the same transfers as here; `program` is this one, which calls update_once
/// for its option --one-update.
std::string update_in_new_processes(const std::string& program, uint64_t processes);

}  // namespace sweep

// SPDX-License-Identifier: MIT
// What `sv_image info` tells, for programs.
#pragma once

#include <string>

#include "image/inspector.h"

/// One JSON object without a line end. What the file does not hold is null; numbers are plain integers, sizes in bytes.
/// `refusal` is why the tool does not load it; empty: it does.
std::string info_json(const std::string& path, const Inspection& file, const std::string& refusal);

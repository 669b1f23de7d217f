// SPDX-License-Identifier: MIT
// The report of `sv_image info` as JSON.
#pragma once

#include <string>

#include "image/inspector.h"

/// One JSON object without a line end. A missing field is null; numbers are plain integers, sizes are in bytes.
/// `refusal` is the reason why the tool does not load the file, or empty if it does.
std::string info_json(const std::string& path, const Inspection& file, const std::string& refusal);

// SPDX-License-Identifier: MIT
// Text from elsewhere, made safe for a terminal.
#pragma once

#include <string>
#include <string_view>

/// Printable ASCII, no escape sequences.
bool is_printable(std::string_view text);

/// The bytes in printable ASCII: each other byte as \xNN. From 0x80 on too, since some terminals obey 0x80 to 0x9F.
std::string printable(std::string_view bytes);

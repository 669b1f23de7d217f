// SPDX-License-Identifier: MIT
// Writes JSON, in ASCII whatever the texts hold.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A JSON string of these bytes. What is not UTF-8 becomes U+FFFD, byte by byte.
std::string json_string(std::string_view bytes);

/// "[a,b]" of values that are JSON already.
std::string json_array(const std::vector<std::string>& values);

class JsonObject {
public:
    /// The value is JSON already.
    JsonObject& add(std::string_view key, const std::string& value);

    std::string text() const;

private:
    std::string members_;
};

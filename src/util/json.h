// SPDX-License-Identifier: MIT
// Writes JSON in ASCII; other characters are escaped.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A JSON string of these bytes. Each byte that is not UTF-8 becomes U+FFFD.
std::string json_string(std::string_view bytes);

/// "[a,b]" from values in JSON.
std::string json_array(const std::vector<std::string>& values);

/// The same from texts.
std::string json_strings(const std::vector<std::string>& texts);

class JsonObject {
public:
    /// REQUIRES: the value is JSON.
    JsonObject& add(std::string_view key, const std::string& value);

    std::string text() const;

private:
    std::string members_;
};

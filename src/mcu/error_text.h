// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

/// One line of text; characters after the 127th are cut off.
class ErrorText {
public:
    static constexpr size_t kSize = 128;  ///< with the NUL at its end

    ErrorText& operator=(std::string_view text) {
        const size_t length = std::min(text.size(), sizeof text_ - 1);
        std::memmove(text_, text.data(), length);
        text_[length] = '\0';
        return *this;
    }

    const char* c_str() const {
        return text_;
    }

    bool operator==(std::string_view text) const {
        return text == text_;
    }

private:
    char text_[kSize] = "";
};

// SPDX-License-Identifier: MIT
// A line on standard output that grows by one mark per page and ends with the percentage.
#pragma once

#include <cstdint>

class ProgressLine {
public:
    /// Sets the percentage to `done` of `total` pages.
    void set(uint32_t done, uint32_t total);

    void page() const;     ///< prints "*": the page is read or written
    void skipped() const;  ///< prints ".": the page is not marked in the file
    void failed() const;   ///< prints "x*": the attempt at this page failed

    /// Ends the page: the next mark overwrites the percentage.
    void advance();

    void done() const;

private:
    const char* prefix_ = "";
    float percent_ = 0.0F;
};

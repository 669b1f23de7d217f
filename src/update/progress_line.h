// SPDX-License-Identifier: MIT
// The one line on standard output that grows by a mark per page, with the percentage behind the marks.
#pragma once

#include <cstdint>

class ProgressLine {
public:
    /// Sets the percentage of the steps that follow: `done` of `total` pages.
    void set(uint32_t done, uint32_t total);

    void page() const;     ///< "*": a page is read or written
    void skipped() const;  ///< ".": the page is not part of the update
    void failed() const;   ///< "x*": the page failed, and is tried again in the same place

    /// The next step overwrites the percentage and leaves the marks standing.
    void advance();

    void done() const;

private:
    const char* prefix_ = "";
    float percent_ = 0.0F;
};

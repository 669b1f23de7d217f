// SPDX-License-Identifier: MIT
// The table "How an update can end", as the document has it.
#pragma once

#include <fnmatch.h>

#include <map>
#include <sstream>

#include "tests/support/device_test.h"

/// A row of the document. Of several texts in a cell, each must be seen in a run.
struct Row {
    Words log;
    Words last;
    std::string status;
    std::string regions;
    std::string next_start;
    std::string advice;
    std::map<std::string, bool> seen;
    int runs = 0;

    /// Whether the line is the text, whose "…" stands for anything. Marks the text as seen.
    bool shows(const std::string& text, const std::string& line) {
        std::string pattern = text;
        for (size_t at = 0; (at = pattern.find("…", at)) != std::string::npos;) {
            pattern.replace(at, std::string("…").size(), "*");
        }
        const bool found = fnmatch(pattern.c_str(), line.c_str(), 0) == 0;
        seen[text] = seen[text] || found;
        return found;
    }
};

/// What a cell holds between back quotes.
inline Words texts_of(const std::string& cell) {
    Words texts;
    std::istringstream in(cell);
    for (std::string text; std::getline(in, text, '`') && std::getline(in, text, '`');) {
        texts.push_back(text);
    }
    return texts;
}

inline std::map<std::string, Row> read_document() {
    std::map<std::string, Row> rows;
    std::ifstream document(SV_SOURCE_FOLDER "/docs/safety.md");
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("| E", 0) != 0) {
            continue;
        }
        Words cells;
        std::istringstream in(line.substr(2));
        for (std::string cell; std::getline(in, cell, '|');) {
            const size_t first = std::min(cell.find_first_not_of(' '), cell.size());
            cells.push_back(cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
        }
        EXPECT_EQ(cells.size(), 8U) << line;
        cells.resize(8);
        const Row row{texts_of(cells[2]), texts_of(cells[3]), cells[4], cells[5], cells[6], cells[7], {}, 0};
        EXPECT_TRUE(rows.emplace(cells[0], row).second) << cells[0] << " twice";
    }
    return rows;
}

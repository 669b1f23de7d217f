// SPDX-License-Identifier: MIT
#include "tests/sweep/watcher.h"

namespace sweep {

Watcher::Watcher(sim::Board& board, const Setup& setup)
    : board_(board),
      setup_(setup),
      material_(material(setup.pages)),
      seen_history_(board.flash.history.size()),
      seen_writes_{board.flash.writes(0), board.flash.writes(1)} {
    board.on_transfer = [this](const sim::Transfer& transfer) { watch(transfer); };
}

Watcher::~Watcher() {
    board_.on_transfer = nullptr;
}

Watcher::Changes Watcher::find_changes() {
    const auto& flash = board_.flash;
    const bool written[2] = {flash.writes(0) != seen_writes_[0], flash.writes(1) != seen_writes_[1]};
    const bool any = written[0] || written[1] || flash.history.size() != seen_history_;
    seen_history_ = flash.history.size();
    seen_writes_[0] = flash.writes(0);
    seen_writes_[1] = flash.writes(1);
    return {{written[0], written[1]}, any};
}

void Watcher::fail(const std::string& text) {
    if (failure_.empty()) {
        failure_ = text;
    }
}

void Watcher::excuse(Window window, const std::string& text) {
    if (window == Window::kNone) {
        fail(text);
    } else if (window_ == Window::kNone) {
        window_ = window;
    }
}

}  // namespace sweep

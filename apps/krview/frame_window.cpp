#include "apps/krview/frame_window.h"

#include <algorithm>
#include <utility>

namespace kr_view {

FrameWindow::FrameWindow(int w, int h, Clock clock)
    : MEMORY_WINDOW(w, h), clock_(std::move(clock)) {}

void FrameWindow::Invalidate(const RECT*) {
  invalid_ = true;
}

bool FrameWindow::takeInvalid() {
  return std::exchange(invalid_, false);
}

bool FrameWindow::StartTimer(std::uint32_t id, std::uint32_t period_ms) {
  const std::uint32_t period = std::max(period_ms, 1u);
  running_[id] = {now() + period, period};
  return true;
}

bool FrameWindow::StopTimer(std::uint32_t id) {
  return running_.erase(id) != 0;
}

std::optional<std::int64_t> FrameWindow::untilDue() const {
  std::optional<std::int64_t> least;
  for (const auto& [id, timer] : running_) {
    const std::int64_t left = std::max<std::int64_t>(timer.due - now(), 0);
    least = least ? std::min(*least, left) : left;
  }
  return least;
}

std::vector<std::uint32_t> FrameWindow::takeDue() {
  std::vector<std::uint32_t> due;
  const std::int64_t at = now();
  for (auto& [id, timer] : running_) {
    if (timer.due <= at) {
      due.push_back(id);
      timer.due = at + timer.period;
    }
  }
  return due;
}

}  // namespace kr_view

// The viewer's window as the drawing device sees it: pixels in memory, invalidations merged into
// one paint, timers that come due. A screen shows its pixels; without a screen they are the
// picture.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "krdcmmn/platform/window.h"

namespace kr_view {

class FrameWindow final : public MEMORY_WINDOW {
 public:
  using Clock = std::function<std::int64_t()>;  // milliseconds that never go back

  FrameWindow(int w, int h, Clock clock);

  void Invalidate(const RECT* area) override;
  bool StartTimer(std::uint32_t id, std::uint32_t period_ms) override;
  bool StopTimer(std::uint32_t id) override;

  // Whether a paint was asked for since the last call. However many asked, one paint answers.
  bool takeInvalid();
  // Milliseconds until a timer comes due, at least 0; none without timers.
  std::optional<std::int64_t> untilDue() const;
  // The timers that are due, each once; their next period begins.
  std::vector<std::uint32_t> takeDue();

  std::int64_t now() const { return clock_(); }

 private:
  struct Timer {
    std::int64_t due;
    std::uint32_t period;
  };

  Clock clock_;
  bool invalid_ = false;
  std::map<std::uint32_t, Timer> running_;
};

}  // namespace kr_view

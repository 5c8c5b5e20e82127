#include "apps/kr/progress.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace kr_app {
namespace {

constexpr std::chrono::milliseconds kInterval{100};
constexpr std::size_t kShownBytes = 50;

}  // namespace

Progress::Progress(std::string title, std::uint64_t total)
    : title_(std::move(title)),
      total_(total),
      terminal_(isatty(STDERR_FILENO) != 0),
      next_(std::chrono::steady_clock::now() + kInterval) {}

Progress::~Progress() {
  if (shown_) {
    std::fputs("\r\x1b[K", stderr);
  }
}

void Progress::step(const std::string& what, std::uint64_t count) {
  done_ += count;
  if (!terminal_) {
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) {
    return;
  }
  next_ = now + kInterval;
  shown_ = true;
  std::string line = title_ + ' ' + std::to_string(done_);
  if (total_ != 0) {
    line += '/' + std::to_string(total_);
  }
  std::string shown =
      what.size() > kShownBytes ? "..." + what.substr(what.size() - kShownBytes) : what;
  for (char& c : shown) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') {
      c = '?';
    }
  }
  std::fprintf(stderr, "\r\x1b[K%s  %s", line.c_str(), shown.c_str());
  std::fflush(stderr);
}

}  // namespace kr_app

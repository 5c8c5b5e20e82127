// One line of progress on standard error while long work runs: shown on a terminal, nothing in a
// pipe.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kr_app {

class Progress {
 public:
  // `total` steps, or 0 when their number is not known.
  explicit Progress(std::string title, std::uint64_t total = 0);
  // Takes the line away.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // `count` more steps are done; `what` is shown behind the number.
  void step(const std::string& what, std::uint64_t count = 1);

 private:
  std::string title_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
  bool terminal_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace kr_app

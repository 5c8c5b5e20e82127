#include <cstdint>
#include <utility>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/plane_coder.h"

namespace KRD {

namespace {

using Byte = std::uint8_t;

// The stream behind the tokens written so far; counts only when it writes nothing.
class Sink {
 public:
  explicit Sink(char* out) : start_(reinterpret_cast<Byte*>(out)) {}

  std::size_t length() const { return length_; }

  void token(TokenKind kind, std::size_t produced) {
    std::size_t value = produced - kind.bias;
    while (value >> kind.bits != 0) {
      byte(static_cast<Byte>(kPrefixBase | (value & 0xf)));
      value >>= kPrefixBits;
    }
    byte(static_cast<Byte>(kind.base + value));
  }

  void byte(Byte value) {
    if (start_ != nullptr) {
      start_[length_] = value;
    }
    ++length_;
  }

 private:
  Byte* start_;
  std::size_t length_ = 0;
};

class PlaneEncoder {
 public:
  PlaneEncoder(char* out, const char* plane, std::size_t count)
      : sink_(out), x_(reinterpret_cast<const Byte*>(plane)), end_(count) {}

  std::size_t run() {
    while (p_ < end_) {
      if (!headToken()) {
        scanToken();
      }
    }
    return sink_.length();
  }

 private:
  // x[q + i + 1] - x[q + i], from -255 to 255.
  int step(std::size_t q, int i = 0) const {
    const std::size_t at = q + static_cast<std::size_t>(i);
    return x_[at + 1] - x_[at];
  }
  bool isRecent(Byte x) const { return x == recent_[0] || x == recent_[1] || x == recent_[2]; }
  bool isRecentPair(Byte x, Byte y) const {
    return (x == recent_[1] && y == recent_[0]) || (x == recent_[0] && y == recent_[1]);
  }

  // The token that starts right here, if one does.
  bool headToken() {
    const std::size_t left = end_ - p_;
    const Byte* x = x_ + p_;
    if (left >= 2 && x[1] == x[0]) {
      repeat();
    } else if (left >= 2 && isRecentPair(x[0], x[1])) {
      alternate();
    } else if (left >= 3 && x[2] == x[0]) {
      alternate();
    } else if (left >= 3 && step(p_) == -1 && step(p_, 1) == 3) {
      zigzag();
    } else if (left >= 3 && step(p_) == step(p_, 1)) {
      ramp();
    } else if (isRecent(x[0])) {
      repeat();
    } else {
      return false;
    }
    return true;
  }

  // The next place that is worth a token, with a literal in front of it.
  void scanToken() {
    for (std::size_t q = p_; q + 3 < end_; ++q) {
      const int d = step(q);
      const int e = step(q, 1);
      const int f = step(q, 2);
      if (d != 0 && e == -d && f == d) {
        literal(q);
        return alternate();
      }
      if (d != 0 && d == e && d == f) {
        literal(q);
        return ramp();
      }
      if (d == 0 && e == 0) {
        literal(q);
        return repeat();
      }
      if (d == e && (d == step_[0] || d == step_[1])) {
        literal(q);
        return ramp();
      }
      if (d == -1 && e == 3) {
        literal(q);
        return zigzag();
      }
      if (d == 0 && isRecent(x_[q])) {
        literal(q);
        return repeat();
      }
      if (d != 0 && isRecentPair(x_[q], x_[q + 1])) {
        literal(q);
        return alternate();
      }
    }
    literal(end_);
  }

  void literal(std::size_t q) {
    if (q == p_) {
      return;
    }
    sink_.token(kLiteral, q - p_);
    for (; p_ < q; ++p_) {
      sink_.byte(x_[p_]);
    }
  }

  void repeat() {
    const Byte x = x_[p_];
    std::size_t m = 1;
    while (p_ + m < end_ && x_[p_ + m] == x) {
      ++m;
    }
    if (x == recent_[0]) {
      sink_.token(kRepeatRecent0, m);
    } else if (x == recent_[1]) {
      sink_.token(kRepeatRecent1, m);
      if (m > 1) {
        std::swap(recent_[0], recent_[1]);
      }
    } else if (x == recent_[2]) {
      sink_.token(kRepeatRecent2, m);
      if (m > 1) {
        pushRecent(x);
      }
    } else {
      sink_.token(kRepeatNew, m);
      sink_.byte(x);
      pushRecent(x);
    }
    p_ += m;
  }

  void alternate() {
    const Byte x = x_[p_];
    const Byte y = x_[p_ + 1];
    std::size_t m = 2;
    while (p_ + m < end_ && x_[p_ + m] == x_[p_ + m - 2]) {
      ++m;
    }
    if (x == recent_[1] && y == recent_[0]) {
      sink_.token(kAlternateOld, m);
    } else if (x == recent_[0] && y == recent_[1]) {
      sink_.token(kAlternateTurned, m);
      if (m > 2) {
        std::swap(recent_[0], recent_[1]);
      }
    } else {
      sink_.token(kAlternateNew, m);
      sink_.byte(x);
      sink_.byte(y);
      if (x != recent_[1] && y != recent_[1]) {
        recent_[2] = recent_[1];
      } else if (x != recent_[0] && y != recent_[0]) {
        recent_[2] = recent_[0];
      }
      recent_[1] = x;
      recent_[0] = y;
    }
    p_ += m;
  }

  void zigzag() {
    std::size_t m = 3;
    while (p_ + m < end_ && step(p_ + m - 1) == (m % 2 == 1 ? -1 : 3)) {
      ++m;
    }
    sink_.token(kZigzag, m);
    sink_.byte(x_[p_]);
    p_ += m;
  }

  void ramp() {
    const int d = step(p_);
    std::size_t m = 2;
    while (p_ + m < end_ && step(p_ + m - 1) == d) {
      ++m;
    }
    if (d == step_[0]) {
      sink_.token(kRampStep0, m);
    } else if (d == step_[1]) {
      sink_.token(kRampStep1, m);
      std::swap(step_[0], step_[1]);
    } else {
      sink_.token(kRampNew, m);
      sink_.byte(static_cast<Byte>(d));
      step_[1] = std::exchange(step_[0], d);
    }
    sink_.byte(x_[p_]);
    p_ += m;
  }

  void pushRecent(Byte x) {
    recent_[2] = recent_[1];
    recent_[1] = recent_[0];
    recent_[0] = x;
  }

  Sink sink_;
  const Byte* x_;
  std::size_t end_;
  std::size_t p_ = 0;
  Byte recent_[3] = {kFirstRecent[0], kFirstRecent[1], kFirstRecent[2]};
  int step_[2] = {kFirstStep[0], kFirstStep[1]};
};

}  // namespace

std::size_t PackPlane(char* out, const char* plane, std::size_t count) {
  return PlaneEncoder(out, plane, count).run();
}

}  // namespace KRD

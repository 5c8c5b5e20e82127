// The plane coder once more, in the plainest way: one byte at a time, signed arithmetic, vectors.
// The library's coder must give the same streams.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace krtest {

class ReferenceCoder {
 public:
  static std::string Pack(const std::string& plane) { return ReferenceCoder(plane).Run(); }

 private:
  explicit ReferenceCoder(const std::string& plane) {
    for (const char c : plane) {
      x_.push_back(static_cast<unsigned char>(c));
    }
  }

  std::string Run() {
    const int n = static_cast<int>(x_.size());
    while (p_ < n) {
      int at = p_;
      char kind = Head();
      while (kind == 0 && at < n - 3) {
        kind = Scan(at);
        at += kind == 0 ? 1 : 0;
      }
      if (kind == 0) {
        at = n;
      }
      if (at > p_) {
        Value(0x00, 5, at - p_ - 1);
        for (; p_ < at; ++p_) {
          Put(At(p_));
        }
      }
      switch (kind) {
        case 'r':
          Run(At(p_));
          break;
        case 'a':
          Alternation(At(p_), At(p_ + 1));
          break;
        case 'z':
          Zigzag();
          break;
        case '/':
          Ramp(At(p_ + 1) - At(p_));
          break;
        default:
          break;
      }
    }
    return out_;
  }

  int At(int i) const { return x_.at(static_cast<std::size_t>(i)); }
  int Left() const { return static_cast<int>(x_.size()) - p_; }
  bool Recent(int x) const { return x == recent_[0] || x == recent_[1] || x == recent_[2]; }
  bool Pair(int x, int y) const {
    return (x == recent_[1] && y == recent_[0]) || (x == recent_[0] && y == recent_[1]);
  }

  char Head() const {
    const int r = Left();
    if (r >= 2 && At(p_ + 1) == At(p_))
      return 'r';
    if (r >= 2 && Pair(At(p_), At(p_ + 1)))
      return 'a';
    if (r >= 3 && At(p_ + 2) == At(p_))
      return 'a';
    if (r >= 3 && At(p_ + 1) - At(p_) == -1 && At(p_ + 2) - At(p_ + 1) == 3)
      return 'z';
    if (r >= 3 && At(p_ + 1) - At(p_) == At(p_ + 2) - At(p_ + 1))
      return '/';
    return Recent(At(p_)) ? 'r' : '\0';
  }

  char Scan(int q) const {
    const int y0 = At(q), y1 = At(q + 1), y2 = At(q + 2), y3 = At(q + 3);
    const int d = y1 - y0, e = y2 - y1, f = y3 - y2;
    if (d != 0 && y2 == y0 && y3 == y1)
      return 'a';
    if (d != 0 && d == e && e == f)
      return '/';
    if (d == 0 && e == 0)
      return 'r';
    if (d == e && (d == step_[0] || d == step_[1]))
      return '/';
    if (d == -1 && e == 3)
      return 'z';
    if (d == 0 && Recent(y0))
      return 'r';
    if (d != 0 && Pair(y0, y1))
      return 'a';
    return 0;
  }

  void Put(int byte) { out_.push_back(static_cast<char>(byte)); }

  void Value(int base, int bits, int v) {
    for (; v >= 1 << bits; v >>= 4) {
      Put(0xf0 + v % 16);
    }
    Put(base + v);
  }

  void Run(int x) {
    int m = 0;
    while (m < Left() && At(p_ + m) == x)
      ++m;
    if (x == recent_[0]) {
      Value(0x40, 5, m - 1);
    } else if (x == recent_[1]) {
      Value(0x20, 5, m - 1);
      if (m > 1)
        recent_ = {recent_[1], recent_[0], recent_[2]};
    } else if (x == recent_[2]) {
      Value(0x80, 4, m - 1);
      if (m > 1)
        recent_ = {recent_[2], recent_[0], recent_[1]};
    } else {
      Value(0x60, 5, m - 2);
      Put(x);
      recent_ = {x, recent_[0], recent_[1]};
    }
    p_ += m;
  }

  void Alternation(int x, int y) {
    int m = 2;
    while (m < Left() && At(p_ + m) == (m % 2 == 0 ? x : y))
      ++m;
    if (x == recent_[1] && y == recent_[0]) {
      Value(0x90, 4, m - 2);
    } else if (x == recent_[0] && y == recent_[1]) {
      Value(0xb0, 4, m - 2);
      if (m > 2)
        recent_ = {recent_[1], recent_[0], recent_[2]};
    } else {
      Value(0xa0, 4, m - 3);
      Put(x);
      Put(y);
      int third = recent_[2];
      if (x != recent_[1] && y != recent_[1]) {
        third = recent_[1];
      } else if (x != recent_[0] && y != recent_[0]) {
        third = recent_[0];
      }
      recent_ = {y, x, third};
    }
    p_ += m;
  }

  void Zigzag() {
    int m = 3;
    while (m < Left() && At(p_ + m) - At(p_ + m - 1) == (m % 2 == 1 ? -1 : 3))
      ++m;
    Value(0xc0, 4, m - 3);
    Put(At(p_));
    p_ += m;
  }

  void Ramp(int d) {
    int m = 2;
    while (m < Left() && At(p_ + m) - At(p_ + m - 1) == d)
      ++m;
    if (d == step_[0]) {
      Value(0xd0, 4, m - 2);
    } else if (d == step_[1]) {
      Value(0xe0, 3, m - 2);
      step_ = {d, step_[0]};
    } else {
      Value(0xe8, 3, m - 3);
      Put(d & 0xff);
      step_ = {d, step_[0]};
    }
    Put(At(p_));
    p_ += m;
  }

  std::vector<int> x_;
  int p_ = 0;
  std::string out_;
  std::array<int, 3> recent_ = {0x00, 0xff, 0x01};
  std::array<int, 2> step_ = {1, 2};
};

}  // namespace krtest

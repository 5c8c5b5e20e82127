#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/plane_coder.h"
#include "krdcmmn/core/plane_window.h"

namespace KRD {

namespace {

using Byte = std::uint8_t;

// The lowest `count` bits.
constexpr std::uint64_t LowBits(std::size_t count) {
  return count >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

// Ones from bit `from` upward without a gap.
std::size_t OnesFrom(std::uint64_t bits, std::size_t from) {
  return static_cast<std::size_t>(std::countr_one(bits >> from));
}

bool Bit(std::uint64_t bits, std::size_t i) {
  return (bits >> i & 1) != 0;
}

// The coder of one plane. All questions about the bytes ahead are answered from a window of masks
// that starts a little in front of the position; only what the state decides is looked up anew.
template <class Windows, bool kWrite>
class PlaneEncoder {
 public:
  PlaneEncoder(char* out, const char* plane, std::size_t count)
      : out_(reinterpret_cast<Byte*>(out)), x_(reinterpret_cast<const Byte*>(plane)), end_(count) {}

  std::size_t run() {
    if (end_ == 0) {
      return 0;
    }
    look(0);
    while (p_ < end_) {
      if (p_ - base_ >= kStale) {
        look(p_);
      }
      if (!headToken()) {
        scanToken();
      }
    }
    return length_;
  }

 private:
  // From here on in a window a new one is worth more than what is left of the old.
  static constexpr std::size_t kStale = 40;

  void look(std::size_t base) {
    base_ = base;
    const std::size_t left = end_ - base;
    if (left >= kWindowReach) {
      bytes_ = x_ + base;
      w_ = Windows::Look(bytes_);
      scanned_ = LowBits(kWindow - 1);
      return;
    }
    // The plane's last bytes, with nothing behind them that could match.
    std::memcpy(tail_, x_ + base, left);
    std::memset(tail_ + left, 0, sizeof tail_ - left);
    bytes_ = tail_;
    w_ = Windows::Look(tail_);
    w_.same &= LowBits(left - 1);
    const std::uint64_t with_two = LowBits(left < 2 ? 0 : left - 2);
    w_.back &= with_two;
    w_.even_step &= with_two;
    w_.zigzag &= with_two;
    scanned_ = LowBits(left < 3 ? 0 : left - 3);
  }

  bool isRecent(Byte x) const { return x == recent_[0] || x == recent_[1] || x == recent_[2]; }
  bool isRecentPair(Byte x, Byte y) const {
    return (x == recent_[1] && y == recent_[0]) || (x == recent_[0] && y == recent_[1]);
  }
  bool isStep(int d) const { return d == step_[0] || d == step_[1]; }

  // The token that starts right here, if one does.
  bool headToken() {
    const std::size_t at = p_ - base_;
    const Byte* x = x_ + p_;
    if (Bit(w_.same, at)) {
      repeat();
    } else if (end_ - p_ >= 2 && isRecentPair(x[0], x[1])) {
      alternate();
    } else if (Bit(w_.back, at)) {
      alternate();
    } else if (Bit(w_.zigzag, at)) {
      zigzag();
    } else if (Bit(w_.even_step, at)) {
      ramp();
    } else if (isRecent(x[0])) {
      repeat();
    } else {
      return false;
    }
    return true;
  }

  // The next place that is worth a token, with a literal in front of it. A place in the last three
  // bytes is worth none.
  void scanToken() {
    for (std::size_t at = p_ - base_;; at = 0) {
      const std::uint64_t pair = Windows::LookForPair(bytes_, recent_[0], recent_[1]) & ~w_.same;
      const std::uint64_t back_twice = w_.back & w_.back >> 1 & ~w_.same;
      std::uint64_t candidates =
          (w_.same | back_twice | w_.even_step | w_.zigzag | pair) & scanned_ & ~LowBits(at);
      for (; candidates != 0; candidates &= candidates - 1) {
        const auto i = static_cast<std::size_t>(std::countr_zero(candidates));
        const std::size_t q = base_ + i;
        if (Bit(w_.same, i)) {
          if (Bit(w_.same, i + 1) || isRecent(x_[q])) {
            literal(q);
            return repeat();
          }
        } else if (Bit(back_twice, i)) {
          literal(q);
          return alternate();
        } else if (Bit(w_.even_step, i) &&
                   (Bit(w_.even_step, i + 1) || isStep(x_[q + 1] - x_[q]))) {
          literal(q);
          return ramp();
        } else if (Bit(w_.zigzag, i)) {
          literal(q);
          return zigzag();
        } else if (Bit(pair, i)) {
          literal(q);
          return alternate();
        }
      }
      if (bytes_ == tail_) {
        return literal(end_);
      }
      look(base_ + kWindow - 1);
    }
  }

  void literal(std::size_t q) {
    if (q == p_) {
      return;
    }
    const std::size_t n = q - p_;
    token(kLiteral, n);
    if constexpr (kWrite) {
      if (n <= 16 && end_ - p_ >= 16) {
        std::memcpy(out_ + length_, x_ + p_, 16);  // the room for the rest of the plane takes it
      } else {
        std::memcpy(out_ + length_, x_ + p_, n);
      }
    }
    length_ += n;
    p_ = q;
  }

  // What a mask says of the bytes from the position on, and `more` of those behind the window.
  template <class More>
  std::size_t reach(std::uint64_t bits, std::size_t known, More more) const {
    const std::size_t at = p_ - base_;
    const std::size_t ones = OnesFrom(bits, at);
    const std::size_t m = known + ones;
    return ones < kWindow - at ? m : m + more(x_ + p_ + m, end_ - p_ - m);
  }

  void repeat() {
    const std::size_t m = reach(
        w_.same, 1, [](const Byte* x, std::size_t count) { return Windows::Repeats(x, 1, count); });
    const Byte x = x_[p_];
    if (x == recent_[0]) {
      token(kRepeatRecent0, m);
    } else if (x == recent_[1]) {
      token(kRepeatRecent1, m);
      if (m > 1) {
        std::swap(recent_[0], recent_[1]);
      }
    } else if (x == recent_[2]) {
      token(kRepeatRecent2, m);
      if (m > 1) {
        pushRecent(x);
      }
    } else {
      token(kRepeatNew, m);
      byte(x);
      pushRecent(x);
    }
    p_ += m;
  }

  void alternate() {
    const std::size_t m = reach(
        w_.back, 2, [](const Byte* x, std::size_t count) { return Windows::Repeats(x, 2, count); });
    const Byte x = x_[p_];
    const Byte y = x_[p_ + 1];
    if (x == recent_[1] && y == recent_[0]) {
      token(kAlternateOld, m);
    } else if (x == recent_[0] && y == recent_[1]) {
      token(kAlternateTurned, m);
      if (m > 2) {
        std::swap(recent_[0], recent_[1]);
      }
    } else {
      token(kAlternateNew, m);
      byte(x);
      byte(y);
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
    while (p_ + m < end_ && x_[p_ + m] - x_[p_ + m - 1] == (m % 2 == 1 ? -1 : 3)) {
      ++m;
    }
    token(kZigzag, m);
    byte(x_[p_]);
    p_ += m;
  }

  void ramp() {
    const int d = x_[p_ + 1] - x_[p_];
    const std::size_t m = reach(w_.even_step, 2, [d](const Byte* x, std::size_t count) {
      return Windows::Climbs(x, d, count);
    });
    if (d == step_[0]) {
      token(kRampStep0, m);
    } else if (d == step_[1]) {
      token(kRampStep1, m);
      std::swap(step_[0], step_[1]);
    } else {
      token(kRampNew, m);
      byte(static_cast<Byte>(d));
      step_[1] = std::exchange(step_[0], d);
    }
    byte(x_[p_]);
    p_ += m;
  }

  void pushRecent(Byte x) {
    recent_[2] = recent_[1];
    recent_[1] = recent_[0];
    recent_[0] = x;
  }

  void token(TokenKind kind, std::size_t produced) {
    std::size_t value = produced - kind.bias;
    while (value >> kind.bits != 0) {
      byte(static_cast<Byte>(kPrefixBase | (value & 0xf)));
      value >>= kPrefixBits;
    }
    byte(static_cast<Byte>(kind.base + value));
  }

  void byte(Byte value) {
    if constexpr (kWrite) {
      out_[length_] = value;
    }
    ++length_;
  }

  Byte* out_;
  std::size_t length_ = 0;
  const Byte* x_;
  std::size_t end_;
  std::size_t p_ = 0;
  Byte recent_[3] = {kFirstRecent[0], kFirstRecent[1], kFirstRecent[2]};
  int step_[2] = {kFirstStep[0], kFirstStep[1]};

  // The window: its masks, its first byte's place in the plane, and its bytes.
  PlaneWindow w_;
  std::uint64_t scanned_;  // where a scan may stop
  std::size_t base_;
  const Byte* bytes_;
  Byte tail_[kWindowReach + 14];
};

template <class Windows>
std::size_t Pack(char* out, const char* plane, std::size_t count) {
  return out != nullptr ? PlaneEncoder<Windows, true>(out, plane, count).run()
                        : PlaneEncoder<Windows, false>(out, plane, count).run();
}

}  // namespace

std::size_t PackPlane(char* out, const char* plane, std::size_t count) {
#if defined(__SSE2__)
  return Pack<Sse2Windows>(out, plane, count);
#else
  return Pack<PortableWindows>(out, plane, count);
#endif
}

std::size_t PackPlanePortable(char* out, const char* plane, std::size_t count) {
  return Pack<PortableWindows>(out, plane, count);
}

}  // namespace KRD

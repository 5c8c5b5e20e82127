// The packer of one plane, for one way of looking at bytes (plane_window.h). Included by the one
// source file of each way; nothing here has a symbol that two ways could share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/plane_window.h"

namespace KRD {

// All questions about the bytes ahead are answered from a window of masks that starts a little in
// front of the position; only what the state decides is looked up anew. What a token writes and
// leaves in the state is computed without branches, since its kind is as good as random in the
// planes that have many tokens.
//
// Everything is inlined into Run, where the object falls apart into registers: stores to the stream
// are stores of characters, behind which anything in memory would have to be read again.
template <class Windows, bool kWrite>
class PlaneEncoder {
  using Byte = std::uint8_t;
  using Mask = std::uint64_t;

 public:
  static std::size_t Run(Byte* out, const Byte* plane, std::size_t count) {
    PlaneEncoder encoder(out, plane, count);
    while (count - encoder.q_ >= kWindowReach) {
      encoder.codeWindow();
    }
    Byte tail[kWindowReach];
    while (encoder.p_ < count) {
      encoder.codeTail(tail);
    }
    return encoder.length_;
  }

 private:
  // From here on in a window a new one is worth more than what is left of the old.
  static constexpr std::size_t kStale = 44;
  // Up to here a token's length fits its command, whichever kind it is.
  static constexpr std::size_t kShort = 16;

  static constexpr unsigned Pack4(unsigned a, unsigned b, unsigned c, unsigned d) {
    return a | b << 8 | c << 16 | d << 24;
  }

  enum Kind { kRun, kSingle, kAlternation, kRamp, kZigzagRun, kNone };

  PlaneEncoder(Byte* out, const Byte* plane, std::size_t count)
      : out_(out), x_(plane), end_(count) {}

  // The tokens that start in one window. A literal that goes on behind it stays open.
  [[gnu::always_inline]] void codeWindow() {
    base_ = q_;
    bytes_ = x_ + base_;
    w_ = Windows::Look(bytes_);
    scanned_ = LowBits(kWindow - 1);
    bool open = p_ != q_;
    do {
      Kind kind = open ? kNone : headKind();
      if (kind == kNone) {
        kind = scan();
        if (kind == kNone) {
          q_ = base_ + kWindow - 1;
          return;
        }
        closeLiteral();
        open = false;
      }
      token(kind);
    } while (q_ - base_ < kStale);
  }

  // One token of the plane's last bytes, with nothing behind them that could match.
  [[gnu::always_inline]] void codeTail(Byte* tail) {
    base_ = q_;
    const std::size_t left = end_ - base_;
    for (std::size_t i = 0; i < kWindowReach; ++i) {
      tail[i] = i < left ? x_[base_ + i] : 0;
    }
    bytes_ = tail;
    w_ = Windows::Look(tail);
    w_.same &= LowBits(left - 1);
    const Mask with_two = LowBits(left < 2 ? 0 : left - 2);
    w_.back &= with_two;
    w_.even_step &= with_two;
    w_.zigzag &= with_two;
    scanned_ = LowBits(left < 3 ? 0 : left - 3);
    Kind kind = p_ == q_ ? headKind() : kNone;
    if (kind == kNone) {
      kind = scan();
      q_ = kind == kNone ? end_ : q_;
      closeLiteral();
    }
    token(kind);
  }

  // The token that starts right here, if one does.
  [[gnu::always_inline]] Kind headKind() const {
    const std::size_t at = q_ - base_;
    const unsigned x = bytes_[at];
    const unsigned y = bytes_[at + 1];
    const unsigned same = Bit(w_.same, at);
    const unsigned pair = (isOldPair(x, y) | isTurnedPair(x, y)) & unsigned{end_ - q_ > 1};
    const unsigned alternation = pair | Bit(w_.back, at);
    const unsigned other = Bit(w_.zigzag | w_.even_step, at);
    if (same != 0) {
      return kRun;
    }
    if (Flag(alternation) != 0) {
      return kAlternation;
    }
    if (other != 0) {
      return Bit(w_.zigzag, at) != 0 ? kZigzagRun : kRamp;
    }
    return isRecent(x) != 0 ? kSingle : kNone;
  }

  // The next place in this window that is worth a token; q_ goes there.
  [[gnu::always_inline]] Kind scan() {
    const Mask pair =
        Windows::LookForPair(bytes_, static_cast<Byte>(recent0_), static_cast<Byte>(recent1_));
    // Four bytes in turn are neither a ramp nor a zigzag; the recent two may begin one, which wins.
    const Mask alternation = ((w_.back & w_.back >> 1) | pair) & ~w_.same;
    Mask candidates =
        (w_.same | alternation | w_.even_step | w_.zigzag) & scanned_ & ~LowBits(q_ - base_);
    for (; candidates != 0; candidates &= candidates - 1) {
      const std::size_t at = LowestBit(candidates);
      q_ = base_ + at;
      if (Bit(w_.same, at) != 0) {
        if ((Bit(w_.same, at + 1) | isRecent(bytes_[at])) != 0) {
          return kRun;
        }
      } else if (Bit(w_.even_step, at) != 0 &&
                 (Bit(w_.even_step, at + 1) != 0 || isStep(bytes_[at + 1] - bytes_[at]))) {
        return kRamp;
      } else if (Bit(w_.zigzag, at) != 0) {
        return kZigzagRun;
      } else if (Bit(alternation, at) != 0) {
        return kAlternation;
      }
    }
    return kNone;
  }

  [[gnu::always_inline]] void closeLiteral() {
    const std::size_t n = q_ - p_;
    if (n == 0) {
      return;
    }
    command(kLiteral.base, kLiteral.bits, n - kLiteral.bias);
    if constexpr (kWrite) {
      if (n <= kShort && end_ - p_ >= kShort) {
        __builtin_memcpy(out_ + length_, x_ + p_, kShort);  // the room is that of the whole plane
      } else {
        __builtin_memcpy(out_ + length_, x_ + p_, n);
      }
    }
    length_ += n;
    p_ = q_;
  }

  [[gnu::always_inline]] void token(Kind kind) {
    switch (kind) {
      case kRun:
        return repeat();
      case kSingle:
        return single();
      case kAlternation:
        return alternate();
      case kRamp:
        return ramp();
      case kZigzagRun:
        return zigzag();
      case kNone:
        return;
    }
  }

  // How many bytes a run (`lag` 1) or an alternation (2) has here.
  [[gnu::always_inline]] std::size_t lagged(Mask mask, std::size_t lag) const {
    const std::size_t at = q_ - base_;
    const std::size_t ones = OnesFrom(mask, at);
    const std::size_t m = lag + ones;
    if (__builtin_expect(at + ones < kWindow - 1, 1)) {
      return m;
    }
    return m + Windows::Repeats(x_ + q_ + m, lag, end_ - q_ - m);
  }

  static constexpr unsigned kRunBases =
      Pack4(kRepeatRecent0.base, kRepeatRecent1.base, kRepeatRecent2.base, kRepeatNew.base);
  static constexpr unsigned kRunBits =
      Pack4(kRepeatRecent0.bits, kRepeatRecent1.bits, kRepeatRecent2.bits, kRepeatNew.bits);

  // One formula serves all runs of two and more: the byte moves to the front of the recent ones.
  [[gnu::always_inline]] void repeat() {
    const std::size_t m = lagged(w_.same, 1);
    const unsigned x = x_[q_];
    const unsigned behind0 = x != recent0_;
    const unsigned behind1 = behind0 & unsigned{x != recent1_};
    const unsigned is_new = behind1 & unsigned{x != recent2_};
    const unsigned place = 8 * (behind0 + behind1 + is_new);
    if (__builtin_expect(m <= kShort, 1)) {
      put(0, (kRunBases >> place) + static_cast<unsigned>(m) - 1 - is_new);
      ++length_;
    } else {
      command(kRunBases >> place & 0xff, kRunBits >> place & 0xff, m - 1 - is_new);
    }
    put(0, x);
    length_ += is_new;
    recent2_ = Choose(behind1, recent1_, recent2_);
    recent1_ = Choose(behind0, recent0_, recent1_);
    recent0_ = x;
    advance(m);
  }

  // A recent byte alone leaves the state as it is.
  [[gnu::always_inline]] void single() {
    const unsigned x = x_[q_];
    const unsigned behind0 = x != recent0_;
    const unsigned behind1 = behind0 & unsigned{x != recent1_};
    put(0, kRunBases >> 8 * (behind0 + behind1));
    ++length_;
    advance(1);
  }

  // One formula serves all three alternations: the pair becomes the two recent bytes, and of the
  // old two the one that is not in it is kept as the third, if there is one.
  [[gnu::always_inline]] void alternate() {
    const std::size_t m = lagged(w_.back, 2);
    const unsigned x = x_[q_];
    const unsigned y = x_[q_ + 1];
    const unsigned turned = isTurnedPair(x, y);
    const unsigned is_new = 1 & ~(isOldPair(x, y) | turned);
    const unsigned base = kAlternateOld.base +
                          (kAlternateTurned.base - kAlternateOld.base) * turned +
                          (kAlternateNew.base - kAlternateOld.base) * is_new;
    if (__builtin_expect(m <= kShort, 1)) {
      put(0, base + static_cast<unsigned>(m) - 2 - is_new);
      ++length_;
    } else {
      command(base, kAlternateNew.bits, m - 2 - is_new);
    }
    put(0, x);
    put(1, y);
    length_ += 2 * is_new;
    const unsigned moves = m > 2;
    const unsigned lacks1 = unsigned{x != recent1_} & unsigned{y != recent1_};
    const unsigned lacks0 = unsigned{x != recent0_} & unsigned{y != recent0_};
    const unsigned kept = Choose(lacks1, recent1_, Choose(lacks0, recent0_, recent2_));
    recent2_ = Choose(moves, kept, recent2_);
    recent1_ = Choose(moves, x, recent1_);
    recent0_ = Choose(moves, y, recent0_);
    advance(m);
  }

  [[gnu::always_inline]] void ramp() {
    const std::size_t at = q_ - base_;
    const int d = x_[q_ + 1] - x_[q_];
    const std::size_t ones = OnesFrom(w_.even_step, at);
    std::size_t m = 2 + ones;
    if (at + ones >= kWindow - 1) {
      m += Windows::Climbs(x_ + q_ + m, d, end_ - q_ - m);
    }
    if (d == step0_) {
      command(kRampStep0.base, kRampStep0.bits, m - kRampStep0.bias);
    } else {
      if (d == step1_) {
        command(kRampStep1.base, kRampStep1.bits, m - kRampStep1.bias);
      } else {
        command(kRampNew.base, kRampNew.bits, m - kRampNew.bias);
        put(0, static_cast<unsigned>(d));
        ++length_;
      }
      step1_ = step0_;
      step0_ = d;
    }
    put(0, x_[q_]);
    ++length_;
    advance(m);
  }

  [[gnu::always_inline]] void zigzag() {
    std::size_t m = 3;
    while (q_ + m < end_ && x_[q_ + m] - x_[q_ + m - 1] == (m % 2 == 1 ? -1 : 3)) {
      ++m;
    }
    command(kZigzag.base, kZigzag.bits, m - kZigzag.bias);
    put(0, x_[q_]);
    ++length_;
    advance(m);
  }

  [[gnu::always_inline]] void advance(std::size_t m) {
    p_ += m;
    q_ = p_;
  }

  [[gnu::always_inline]] void command(unsigned base, unsigned bits, std::size_t value) {
    while (__builtin_expect(value >> bits != 0, 0)) {
      put(0, kPrefixBase | static_cast<unsigned>(value & 0xf));
      ++length_;
      value >>= kPrefixBits;
    }
    put(0, base + static_cast<unsigned>(value));
    ++length_;
  }

  [[gnu::always_inline]] void put(std::size_t ahead, unsigned value) {
    if constexpr (kWrite) {
      out_[length_ + ahead] = static_cast<Byte>(value);
    }
  }

  // Conditions are numbers, 1 or 0, and are chosen by with masks: as good as random, they must not
  // become branches.
  [[gnu::always_inline]] unsigned isRecent(unsigned x) const {
    return unsigned{x == recent0_} | unsigned{x == recent1_} | unsigned{x == recent2_};
  }
  [[gnu::always_inline]] unsigned isOldPair(unsigned x, unsigned y) const {
    return unsigned{x == recent1_} & unsigned{y == recent0_};
  }
  [[gnu::always_inline]] unsigned isTurnedPair(unsigned x, unsigned y) const {
    return unsigned{x == recent0_} & unsigned{y == recent1_};
  }
  [[gnu::always_inline]] static unsigned Flag(unsigned condition) {
    asm("" : "+r"(condition));  // computed as written, not taken apart into branches
    return condition;
  }
  [[gnu::always_inline]] static unsigned Choose(unsigned condition, unsigned yes, unsigned no) {
    return no ^ ((no ^ yes) & (0 - condition));
  }
  [[gnu::always_inline]] bool isStep(int d) const { return d == step0_ || d == step1_; }

  [[gnu::always_inline]] static unsigned Bit(Mask bits, std::size_t i) {
    return static_cast<unsigned>(bits >> i) & 1;
  }
  [[gnu::always_inline]] static std::size_t LowestBit(Mask bits) {
    return static_cast<std::size_t>(__builtin_ctzll(bits));
  }
  // Ones from bit `from` upward without a gap, of all that the window has but the last.
  [[gnu::always_inline]] static std::size_t OnesFrom(Mask bits, std::size_t from) {
    return LowestBit(~(bits >> from) | Mask{1} << (kWindow - 1));
  }
  [[gnu::always_inline]] static Mask LowBits(std::size_t count) {
    return count >= kWindow ? ~Mask{0} : (Mask{1} << count) - 1;
  }

  Byte* out_;
  std::size_t length_ = 0;
  const Byte* x_;
  std::size_t end_;
  std::size_t p_ = 0;  // coded so far
  std::size_t q_ = 0;  // looked at: what lies between is a literal
  unsigned recent0_ = kFirstRecent[0];
  unsigned recent1_ = kFirstRecent[1];
  unsigned recent2_ = kFirstRecent[2];
  int step0_ = kFirstStep[0];
  int step1_ = kFirstStep[1];

  // The window: its masks, its first byte's place in the plane, and its bytes.
  PlaneWindow w_{};
  Mask scanned_ = 0;  // where a scan may stop
  std::size_t base_ = 0;
  const Byte* bytes_ = nullptr;
};

}  // namespace KRD

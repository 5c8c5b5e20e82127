#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/plane_coder.h"

namespace KRD {

namespace {

using Byte = std::uint8_t;

constexpr std::size_t kEndless = SIZE_MAX / 2;  // a value that no plane can hold

// Index into kTokenKinds by command byte.
constexpr std::array<Byte, 256> kKindOf = [] {
  std::array<Byte, 256> table{};
  for (std::size_t k = 0; k < std::size(kTokenKinds); ++k) {
    for (unsigned i = 0; i < 1u << kTokenKinds[k].bits; ++i) {
      table[kTokenKinds[k].base + i] = static_cast<Byte>(k);
    }
  }
  return table;
}();

// What one token is: its kind, the bytes that it produces, and its operands.
struct Token {
  const TokenKind* kind;
  std::size_t produced;
  const Byte* operands;
};

// Reads one token and gives the address behind it, or null when it does not end before `end`.
const Byte* ReadToken(const Byte* in, const Byte* end, Token& token) {
  std::size_t value = 0;
  unsigned shift = 0;
  while (in < end && *in >= kPrefixBase) {
    const std::size_t nibble = *in++ & 0xf;
    value = shift < 56 ? value | nibble << shift : (nibble != 0 ? kEndless : value);
    shift += kPrefixBits;
  }
  if (in == end) {
    return nullptr;
  }
  const Byte command = *in++;
  token.kind = &kTokenKinds[kKindOf[command]];
  const std::size_t upper = command - token.kind->base;
  value = shift < 56 ? value | upper << shift : (upper != 0 ? kEndless : value);
  token.produced = std::min(value, kEndless) + token.kind->bias;
  token.operands = in;
  const bool literal = token.kind->base == kLiteral.base;
  const std::size_t operands = literal ? token.produced : token.kind->operands;
  return operands <= static_cast<std::size_t>(end - in) ? in + operands : nullptr;
}

// Tokens without prefixes that repeat two bytes in turn, the same or not: the recent bytes and the
// byte behind the command are one number, lowest byte first, and a row says by how far it is
// shifted for either byte and which of the recent ones the second byte pushes back.
struct PatternRow {
  Byte produced = 0;  // 0: another kind of token
  Byte first_shift = 0;
  Byte second_shift = 0;
  std::uint32_t pushed = 0;
};

constexpr Byte kShiftRecent0 = 0;
constexpr Byte kShiftRecent1 = 8;
constexpr Byte kShiftRecent2 = 16;
constexpr Byte kShiftOperand = 24;
constexpr std::uint32_t kPushTwo = 0xffff;  // recent0 and recent1 change
constexpr std::uint32_t kPushAll = 0xffffff;

constexpr std::array<PatternRow, 256> kPatterns = [] {
  std::array<PatternRow, 256> rows{};
  // A token that produces no more than `alone` bytes leaves the recent ones as they are.
  const auto fill = [&](TokenKind kind, Byte first, Byte second, std::uint32_t pushed,
                        unsigned alone) {
    for (unsigned i = 0; i < 1u << kind.bits; ++i) {
      const unsigned produced = i + kind.bias;
      rows[kind.base + i] = {static_cast<Byte>(produced), first, second,
                             produced > alone ? pushed : 0};
    }
  };
  fill(kRepeatRecent1, kShiftRecent1, kShiftRecent1, kPushTwo, 1);
  fill(kRepeatRecent0, kShiftRecent0, kShiftRecent0, 0, 0);
  fill(kRepeatNew, kShiftOperand, kShiftOperand, kPushAll, 0);
  fill(kRepeatRecent2, kShiftRecent2, kShiftRecent2, kPushAll, 1);
  fill(kAlternateOld, kShiftRecent1, kShiftRecent0, 0, 0);
  fill(kAlternateTurned, kShiftRecent0, kShiftRecent1, kPushTwo, 2);
  return rows;
}();

// What is read and written at once without asking how much of it counts.
constexpr std::size_t kStep = 16;
constexpr std::size_t kMostShort = 33;              // bytes of a token without prefixes
constexpr std::size_t kInputAhead = 1 + 2 * kStep;  // a literal of them
constexpr std::size_t kOutputAhead = kMostShort + 2 * kStep;

void StoreTwice(Byte* out, std::uint64_t eight) {
  StoreU64(out, eight);
  StoreU64(out + 8, eight);
}

// At most kMostShort bytes of the pair, and up to the next step beyond them.
void FillPattern(Byte* out, std::size_t produced, std::uint32_t pair) {
  const std::uint64_t eight = pair * 0x0001000100010001u;
  StoreTwice(out, eight);
  if (produced > kStep) {
    StoreTwice(out + kStep, eight);
    StoreTwice(out + 2 * kStep, eight);
  }
}

// The pair becomes the two recent bytes, and of the old two the one that is not in it is kept as
// the third, if there is one.
std::uint32_t PushPair(std::uint32_t recents, Byte x, Byte y) {
  const std::uint32_t recent0 = recents & 0xff;
  const std::uint32_t recent1 = recents >> 8 & 0xff;
  std::uint32_t kept = recents >> 16;
  kept = x != recent0 && y != recent0 ? recent0 : kept;
  kept = x != recent1 && y != recent1 ? recent1 : kept;
  return y | std::uint32_t{x} << 8 | kept << 16;
}

std::uint32_t Pushed(std::uint32_t recents, Byte x) {
  return (recents << 8 | x) & kPushAll;
}

std::uint32_t Swapped(std::uint32_t recents) {
  return (recents & 0xff) << 8 | (recents >> 8 & 0xff) | (recents & 0xff0000);
}

}  // namespace

PlaneReader::PlaneReader(const char* stream, const char* stream_end)
    : in_(reinterpret_cast<const Byte*>(stream)),
      in_end_(reinterpret_cast<const Byte*>(stream_end)),
      recents_(kFirstRecent[0] | std::uint32_t{kFirstRecent[1]} << 8 |
               std::uint32_t{kFirstRecent[2]} << 16),
      step_{kFirstStep[0], kFirstStep[1]} {}

bool PlaneReader::read(char* target, std::size_t count) {
  auto* out = reinterpret_cast<Byte*>(target);
  Byte* const out_end = out + count;
  while (out != out_end) {
    if (piece_.left == 0) {
      out = readShort(out, out_end);
      if (out == out_end) {
        break;
      }
      if (!begin()) {
        return false;
      }
    }
    const std::size_t n = std::min(piece_.left, static_cast<std::size_t>(out_end - out));
    fill(out, n);
    out += n;
  }
  return true;
}

// Tokens without prefixes, as long as both sides have room to be careless; stops at any other. Its
// state is in locals, since stores of characters could change anything else.
PlaneReader::Byte* PlaneReader::readShort(Byte* out, const Byte* out_end) {
  const Byte* in = in_;
  std::uint32_t recents = recents_;
  for (;;) {
    // As many tokens as fit whatever they are.
    std::size_t tokens = std::min(static_cast<std::size_t>(in_end_ - in) / kInputAhead,
                                  static_cast<std::size_t>(out_end - out) / kOutputAhead);
    if (tokens == 0) {
      break;
    }
    for (; tokens != 0; --tokens) {
      const Byte command = in[0];
      const PatternRow row = kPatterns[command];
      if (row.produced != 0) {
        const std::uint32_t bytes = recents | std::uint32_t{in[1]} << kShiftOperand;
        const std::uint32_t first = bytes >> row.first_shift & 0xff;
        const std::uint32_t second = bytes >> row.second_shift & 0xff;
        FillPattern(out, row.produced, first | second << 8);
        recents = ((recents << 8 | second) & row.pushed) | (recents & ~row.pushed);
        out += row.produced;
        in += 1 + std::size_t{(command & 0xe0) == kRepeatNew.base};
      } else if (command < kRepeatRecent1.base) {
        std::memcpy(out, in + 1, kStep);
        std::memcpy(out + kStep, in + 1 + kStep, kStep);
        out += command + kLiteral.bias;
        in += 1u + command + kLiteral.bias;
      } else if ((command & 0xf0) == kAlternateNew.base) {
        const unsigned produced = command - unsigned{kAlternateNew.base} + kAlternateNew.bias;
        FillPattern(out, produced, LoadU16(in + 1));
        recents = PushPair(recents, in[1], in[2]);
        out += produced;
        in += 3;
      } else {
        in_ = in;
        recents_ = recents;
        return out;
      }
    }
  }
  in_ = in;
  recents_ = recents;
  return out;
}

// The next token of any kind becomes the piece to be filled in, and leaves its mark on the state.
// False when the stream does not hold it.
bool PlaneReader::begin() {
  Token token;
  const Byte* const behind = ReadToken(in_, in_end_, token);
  if (behind == nullptr) {
    return false;
  }
  in_ = behind;
  piece_ = {};
  piece_.left = token.produced;
  const Byte* const operand = token.operands;
  switch (token.kind->base) {
    case kLiteral.base:
      piece_.source = operand;
      break;
    case kRepeatRecent0.base:
      beginPattern(recent(0), recent(0));
      break;
    case kRepeatRecent1.base:
      beginPattern(recent(1), recent(1));
      recents_ = token.produced > 1 ? Swapped(recents_) : recents_;
      break;
    case kRepeatRecent2.base:
      beginPattern(recent(2), recent(2));
      recents_ = token.produced > 1 ? Pushed(recents_, recent(2)) : recents_;
      break;
    case kRepeatNew.base:
      beginPattern(operand[0], operand[0]);
      recents_ = Pushed(recents_, operand[0]);
      break;
    case kAlternateOld.base:
      beginPattern(recent(1), recent(0));
      break;
    case kAlternateTurned.base:
      beginPattern(recent(0), recent(1));
      recents_ = token.produced > 2 ? Swapped(recents_) : recents_;
      break;
    case kAlternateNew.base:
      beginPattern(operand[0], operand[1]);
      recents_ = PushPair(recents_, operand[0], operand[1]);
      break;
    case kZigzag.base:
      piece_.form = Piece::Form::kSaw;
      piece_.first = operand[0];
      break;
    case kRampStep0.base:
      beginClimb(operand[0]);
      break;
    case kRampStep1.base:
      std::swap(step_[0], step_[1]);
      beginClimb(operand[0]);
      break;
    case kRampNew.base:
      step_[1] = std::exchange(step_[0], operand[0]);
      beginClimb(operand[1]);
      break;
  }
  return true;
}

void PlaneReader::beginPattern(Byte first, Byte second) {
  piece_.form = Piece::Form::kPattern;
  piece_.first = first;
  piece_.second = second;
}

void PlaneReader::beginClimb(Byte first) {
  piece_.form = Piece::Form::kClimb;
  piece_.first = first;
  piece_.second = step_[0];
}

void PlaneReader::fill(Byte* out, std::size_t n) {
  const Piece piece = piece_;  // out of reach of the stores
  piece_.left -= n;
  piece_.done += n;
  switch (piece.form) {
    case Piece::Form::kCopy:
      std::memcpy(out, piece.source + piece.done, n);
      break;
    case Piece::Form::kPattern:
      if (piece.first == piece.second) {
        std::memset(out, piece.first, n);
        break;
      }
      for (std::size_t i = 0; i < n; ++i) {
        out[i] = (piece.done + i) % 2 == 0 ? piece.first : piece.second;
      }
      break;
    case Piece::Form::kClimb:
      for (std::size_t i = 0; i < n; ++i) {
        out[i] = static_cast<Byte>(piece.first + (piece.done + i) * piece.second);
      }
      break;
    case Piece::Form::kSaw:
      for (std::size_t i = piece.done; i < piece.done + n; ++i) {
        out[i - piece.done] = static_cast<Byte>(piece.first + i - 2 * (i % 2));
      }
      break;
  }
}

const char* UnpackPlane(char* target, char* target_end, const char* stream,
                        const char* stream_end) {
  PlaneReader reader(stream, stream_end);
  const bool good = reader.read(target, static_cast<std::size_t>(target_end - target));
  return good ? reader.position() : nullptr;
}

const char* SkipPlane(std::size_t count, const char* stream, const char* stream_end) {
  const Byte* in = reinterpret_cast<const Byte*>(stream);
  while (count != 0) {
    Token token;
    in = ReadToken(in, reinterpret_cast<const Byte*>(stream_end), token);
    if (in == nullptr) {
      return nullptr;
    }
    count -= std::min(token.produced, count);
  }
  return reinterpret_cast<const char*>(in);
}

}  // namespace KRD

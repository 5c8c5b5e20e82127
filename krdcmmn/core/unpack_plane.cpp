#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/plane_coder.h"

namespace KRD {

namespace {

using Byte = std::uint8_t;

// What one token is: its kind, the bytes that it produces, and its operands.
struct Token {
  const TokenKind* kind;
  std::size_t produced;
  const Byte* operands;
};

constexpr std::size_t kEndless = SIZE_MAX / 2;  // a value that no plane can hold

struct KindTable {
  Byte of[256];  // index into kTokenKinds by command byte
};

constexpr KindTable MakeKindTable() {
  KindTable table{};
  for (Byte k = 0; k < std::size(kTokenKinds); ++k) {
    for (unsigned i = 0; i < 1u << kTokenKinds[k].bits; ++i) {
      table.of[kTokenKinds[k].base + i] = k;
    }
  }
  return table;
}
constexpr KindTable kKindTable = MakeKindTable();

// Reads one token and gives the address behind it, or null when it does not end before `end`.
const Byte* ReadToken(const Byte* in, const Byte* end, Token& token) {
  std::size_t value = 0;
  unsigned shift = 0;
  while (in < end && *in >= kPrefixBase) {
    const std::size_t nibble = *in++ & 0xf;
    value = shift < 60 ? value | nibble << shift : (nibble != 0 ? kEndless : value);
    shift += kPrefixBits;
  }
  if (in == end) {
    return nullptr;
  }
  const Byte command = *in++;
  token.kind = &kTokenKinds[kKindTable.of[command]];
  const std::size_t upper = command - token.kind->base;
  value = shift < 56 ? value | upper << shift : (upper != 0 ? kEndless : value);
  token.produced = std::min(value, kEndless) + token.kind->bias;
  token.operands = in;
  const std::size_t operands =
      token.kind->base == kLiteral.base ? token.produced : token.kind->operands;
  return operands <= static_cast<std::size_t>(end - in) ? in + operands : nullptr;
}

class PlaneDecoder {
 public:
  void produce(const Token& token, Byte* target, std::size_t room) {
    const std::size_t n = std::min(token.produced, room);
    const Byte* operand = token.operands;
    switch (token.kind->base) {
      case kLiteral.base:
        std::memcpy(target, operand, n);
        break;
      case kRepeatRecent1.base:
        std::memset(target, recent_[1], n);
        if (token.produced > 1) {
          std::swap(recent_[0], recent_[1]);
        }
        break;
      case kRepeatRecent0.base:
        std::memset(target, recent_[0], n);
        break;
      case kRepeatNew.base:
        std::memset(target, operand[0], n);
        pushRecent(operand[0]);
        break;
      case kRepeatRecent2.base:
        std::memset(target, recent_[2], n);
        if (token.produced > 1) {
          pushRecent(recent_[2]);
        }
        break;
      case kAlternateOld.base:
        fill(target, n, recent_[1], recent_[0]);
        break;
      case kAlternateNew.base:
        fill(target, n, operand[0], operand[1]);
        pushPair(operand[0], operand[1]);
        break;
      case kAlternateTurned.base:
        fill(target, n, recent_[0], recent_[1]);
        if (token.produced > 2) {
          std::swap(recent_[0], recent_[1]);
        }
        break;
      case kZigzag.base:
        for (std::size_t i = 0; i < n; ++i) {
          target[i] = static_cast<Byte>(operand[0] + i - 2 * (i % 2));
        }
        break;
      case kRampStep1.base:
        std::swap(step_[0], step_[1]);
        [[fallthrough]];
      case kRampStep0.base:
        climb(target, n, operand[0]);
        break;
      case kRampNew.base:
        step_[1] = std::exchange(step_[0], operand[0]);
        climb(target, n, operand[1]);
        break;
    }
  }

 private:
  static void fill(Byte* target, std::size_t n, Byte x, Byte y) {
    for (std::size_t i = 0; i < n; ++i) {
      target[i] = i % 2 == 0 ? x : y;
    }
  }

  void climb(Byte* target, std::size_t n, Byte x) const {
    for (std::size_t i = 0; i < n; ++i) {
      target[i] = static_cast<Byte>(x + i * step_[0]);
    }
  }

  void pushRecent(Byte x) {
    recent_[2] = recent_[1];
    recent_[1] = recent_[0];
    recent_[0] = x;
  }

  void pushPair(Byte x, Byte y) {
    if (x != recent_[1] && y != recent_[1]) {
      recent_[2] = recent_[1];
    } else if (x != recent_[0] && y != recent_[0]) {
      recent_[2] = recent_[0];
    }
    recent_[1] = x;
    recent_[0] = y;
  }

  Byte recent_[3] = {kFirstRecent[0], kFirstRecent[1], kFirstRecent[2]};
  Byte step_[2] = {kFirstStep[0], kFirstStep[1]};
};

}  // namespace

const char* UnpackPlane(char* target, char* target_end, const char* stream,
                        const char* stream_end) {
  PlaneDecoder decoder;
  const Byte* in = reinterpret_cast<const Byte*>(stream);
  auto* out = reinterpret_cast<Byte*>(target);
  auto left = static_cast<std::size_t>(target_end - target);
  while (left != 0) {
    Token token;
    in = ReadToken(in, reinterpret_cast<const Byte*>(stream_end), token);
    if (in == nullptr) {
      return nullptr;
    }
    decoder.produce(token, out, left);
    const std::size_t n = std::min(token.produced, left);
    out += n;
    left -= n;
  }
  return reinterpret_cast<const char*>(in);
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

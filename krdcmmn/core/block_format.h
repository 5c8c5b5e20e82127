// The packed form of an array in a file, byte for byte. docs/block-format.md draws it and says why.
//
//   length word L | payload: one stream of tokens a byte plane, L bytes | checksum of the payload
//
// A token is prefixes, one command byte, operands. Encoder and decoder both work from the rows
// here.
#pragma once

#include <cstdint>

namespace KRD {

inline constexpr int kRawElements = 3;           // up to here the elements stand raw, with no block
inline constexpr std::uint32_t kLengthSize = 4;  // the word in front of the payload
inline constexpr std::uint32_t kChecksumSize = 4;
inline constexpr std::uint32_t kBlockOverhead = kLengthSize + kChecksumSize;
inline constexpr std::uint32_t kChecksumStart = 0x0decabac;

// A command byte is `base` plus the upper bits of a value, `bits` wide; the lower bits come in
// front in prefixes of four. The token produces value + `bias` bytes.
struct TokenKind {
  std::uint8_t base;
  std::uint8_t bits;
  std::uint8_t bias;
  std::uint8_t operands;  // bytes behind the command; a literal has as many as it produces
};

// clang-format off
//                                             base  bits bias operands
inline constexpr TokenKind kLiteral         = {0x00, 5,   1,   0};
inline constexpr TokenKind kRepeatRecent1   = {0x20, 5,   1,   0};
inline constexpr TokenKind kRepeatRecent0   = {0x40, 5,   1,   0};
inline constexpr TokenKind kRepeatNew       = {0x60, 5,   2,   1};  // the byte
inline constexpr TokenKind kRepeatRecent2   = {0x80, 4,   1,   0};
inline constexpr TokenKind kAlternateOld    = {0x90, 4,   2,   0};  // recent1, recent0, ...
inline constexpr TokenKind kAlternateNew    = {0xa0, 4,   3,   2};  // the two bytes
inline constexpr TokenKind kAlternateTurned = {0xb0, 4,   2,   0};  // recent0, recent1, ...
inline constexpr TokenKind kZigzag          = {0xc0, 4,   3,   1};  // the first byte
inline constexpr TokenKind kRampStep0       = {0xd0, 4,   2,   1};  // the first byte
inline constexpr TokenKind kRampStep1       = {0xe0, 3,   2,   1};  // the first byte
inline constexpr TokenKind kRampNew         = {0xe8, 3,   3,   2};  // the step, the first byte
// clang-format on
inline constexpr TokenKind kTokenKinds[] = {
    kLiteral,      kRepeatRecent1,   kRepeatRecent0, kRepeatNew, kRepeatRecent2, kAlternateOld,
    kAlternateNew, kAlternateTurned, kZigzag,        kRampStep0, kRampStep1,     kRampNew};

inline constexpr std::uint8_t kPrefixBase = 0xf0;
inline constexpr int kPrefixBits = 4;

// The kinds lie side by side and fill all command bytes below the prefixes.
constexpr bool TokenKindsTile() {
  unsigned next = 0;
  for (const TokenKind& kind : kTokenKinds) {
    if (kind.base != next) {
      return false;
    }
    next += 1u << kind.bits;
  }
  return next == kPrefixBase;
}
static_assert(TokenKindsTile());

// What the coder of either side remembers from token to token, afresh in every plane.
inline constexpr std::uint8_t kFirstRecent[3] = {0x00, 0xff, 0x01};
inline constexpr int kFirstStep[2] = {1, 2};

}  // namespace KRD

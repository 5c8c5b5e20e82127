// The tokenizer of source fonts as tables: a class for each byte, a transition for each state and
// class (docs/shp-source.md).
#pragma once

#include <array>
#include <cstdint>

namespace kr {

enum ShpClass : std::uint8_t {
  cR = 0,   // CR
  oo = 1,   // other control bytes; no state has a row for them
  lF = 2,   // LF
  Aa = 3,   // letters
  _9 = 4,   // digits
  mi = 5,   // -
  co = 6,   // ,
  as = 7,   // *
  lp = 8,   // (
  rp = 9,   // )
  sc = 10,  // ;
  xx = 11,  // everything else from the blank on
  kShpClasses = 12,
};

// clang-format off
inline constexpr ShpClass kShpClass[256] = {
//   0   1   2   3   4   5   6   7   8   9   a   b   c   d   e   f
    oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, lF, oo, oo, cR, oo, oo,  // 0
    oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, oo, oo,  // 1
    xx, xx, xx, xx, xx, xx, xx, xx, lp, rp, as, xx, co, mi, xx, xx,  // 2
    _9, _9, _9, _9, _9, _9, _9, _9, _9, _9, xx, sc, xx, xx, xx, xx,  // 3
    xx, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa,  // 4
    Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, xx, xx, xx, xx, xx,  // 5
    xx, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa,  // 6
    Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, Aa, xx, xx, xx, xx, xx,  // 7
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // 8
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // 9
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // a
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // b
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // c
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // d
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // e
    xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx, xx,  // f
};
// clang-format on

enum ShpState : std::uint8_t {
  kAhead = 0,    // of the first header
  kHeader = 1,   // the font's
  kNumber = 2,   // a shape's
  kLength = 3,   // a shape's
  kName = 4,     // a shape's
  kProgram = 5,  // commands and 0LD vectors
  kParens = 6,   // operands within parentheses
  kComment = 7,
  kOctant = 8,      // operands of command 10
  kFractional = 9,  // of command 11
  kBulge = 10,      // of commands 12 and 13
  kShpStates = 11,
};

enum ShpAction : std::uint8_t {
  kNone,   // the byte stays in the token in hand
  kStart,  // the next token begins behind the byte
  kToken,  // the token in hand goes to the state's handler, the next begins behind the byte
};

struct ShpRow {
  ShpState state;
  ShpClass byte_class;
  ShpState next;
  ShpAction action;
};

// A byte whose class has no row in the state stays in the token in hand and changes nothing.
// clang-format off
inline constexpr ShpRow kShpRows[] = {
    {kAhead,      as, kHeader,     kStart},
    {kAhead,      sc, kComment,    kNone},
    {kHeader,     as, kNumber,     kStart},
    {kHeader,     Aa, kHeader,     kNone},
    {kHeader,     _9, kHeader,     kNone},
    {kHeader,     lF, kHeader,     kToken},
    {kHeader,     co, kHeader,     kToken},
    {kNumber,     Aa, kNumber,     kNone},
    {kNumber,     _9, kNumber,     kNone},
    {kNumber,     co, kLength,     kToken},
    {kLength,     _9, kLength,     kNone},
    {kLength,     co, kName,       kStart},
    {kName,       co, kProgram,    kStart},
    {kName,       lF, kProgram,    kStart},
    {kName,       cR, kProgram,    kToken},
    {kProgram,    co, kProgram,    kToken},
    {kProgram,    cR, kProgram,    kToken},
    {kProgram,    lp, kParens,     kStart},
    {kProgram,    mi, kProgram,    kNone},
    {kProgram,    lF, kProgram,    kStart},
    {kProgram,    as, kNumber,     kToken},
    {kParens,     co, kParens,     kToken},
    {kParens,     Aa, kParens,     kNone},
    {kParens,     mi, kParens,     kNone},
    {kParens,     _9, kParens,     kNone},
    {kParens,     rp, kProgram,    kToken},
    {kComment,    lF, kAhead,      kNone},
    {kOctant,     co, kOctant,     kToken},
    {kOctant,     lp, kOctant,     kStart},
    {kOctant,     Aa, kOctant,     kNone},
    {kOctant,     mi, kOctant,     kNone},
    {kOctant,     _9, kOctant,     kNone},
    {kOctant,     rp, kProgram,    kToken},
    {kFractional, co, kFractional, kToken},
    {kFractional, lp, kFractional, kStart},
    {kFractional, Aa, kFractional, kNone},
    {kFractional, mi, kFractional, kNone},
    {kFractional, _9, kFractional, kNone},
    {kFractional, rp, kProgram,    kToken},
    {kBulge,      co, kBulge,      kToken},
    {kBulge,      rp, kBulge,      kToken},
    {kBulge,      lp, kBulge,      kStart},
    {kBulge,      Aa, kBulge,      kNone},
    {kBulge,      mi, kBulge,      kNone},
    {kBulge,      _9, kBulge,      kNone},
};
// clang-format on

struct ShpStep {
  std::uint8_t next;
  ShpAction action;
};

// The rows by state and byte, with the missing ones filled in.
inline constexpr auto kShpSteps = [] {
  std::array<std::array<ShpStep, kShpClasses>, kShpStates> rows{};
  for (std::uint8_t state = 0; state < kShpStates; ++state) {
    rows[state].fill({state, kNone});
  }
  for (const ShpRow& row : kShpRows) {
    rows[row.state][row.byte_class] = {row.next, row.action};
  }
  std::array<std::array<ShpStep, 256>, kShpStates> steps{};
  for (unsigned state = 0; state < kShpStates; ++state) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      steps[state][byte] = rows[state][kShpClass[byte]];
    }
  }
  return steps;
}();

}  // namespace kr

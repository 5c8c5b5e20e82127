// The sizes of a string's block, for the files that KRDSTR is made of.
#pragma once

#include <cstdlib>

namespace KRD {

// The greatest length whose block, a quarter larger, an int still counts.
inline constexpr int kMostCharacters = 1717986917;

// The capacity for `n` characters.
constexpr int WithReserve(int n) {
  return n + (n >> 2);
}

struct FREE {
  void operator()(char* block) const { std::free(block); }
};

}  // namespace KRD

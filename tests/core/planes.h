// Planes of bytes of the kinds that the coder looks for, mixed at random, and calls of the coder on
// strings whose ends are guarded.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <random>
#include <string>

#include "krdcmmn/core/plane_coder.h"

namespace krtest {

inline std::string Hex(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += text.empty() ? "" : " ";
    text += {digits[byte >> 4], digits[byte & 15]};
  }
  return text;
}

inline std::string FromHex(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 3) {
    bytes.push_back(static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// A copy in a block of exactly its size, so that the sanitizer sees an access behind its end.
inline std::unique_ptr<char[]> Exact(const std::string& bytes) {
  auto copy = std::make_unique<char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), copy.get());
  return copy;
}

inline std::string PackString(const std::string& plane) {
  const auto source = Exact(plane);
  std::string out(KRD::PackPlaneBound(plane.size()), '\0');
  out.resize(KRD::PackPlane(out.data(), source.get(), plane.size()));
  return out;
}

struct Unpacked {
  bool good;
  std::size_t used;  // bytes of the stream
  std::string plane;
};

inline Unpacked UnpackString(const std::string& stream, std::size_t count) {
  const auto source = Exact(stream);
  const auto plane = std::make_unique<char[]>(count);
  const char* const end = KRD::UnpackPlane(plane.get(), plane.get() + count, source.get(),
                                           source.get() + stream.size());
  if (end == nullptr) {
    return {false, 0, {}};
  }
  return {true, static_cast<std::size_t>(end - source.get()), {plane.get(), count}};
}

// About `count` bytes: pieces of runs, ramps, alternations, zigzags, noise and echoes of what was
// there, few bytes in play so that recent bytes and steps return often, lengths around the widths
// of vectors and of the length fields.
class PlaneMaker {
 public:
  explicit PlaneMaker(unsigned seed) : random_(seed) {}

  std::string Make(std::size_t count) {
    std::string plane;
    spread_ = OneOf({1, 3, 40, 255});
    length_ = OneOf({2, 4, 9, 40, 300});
    while (plane.size() < count) {
      Piece(plane);
    }
    plane.resize(count);
    return plane;
  }

  int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

 private:
  void Piece(std::string& plane) {
    const int n = 1 + Below(length_);
    const int x = Value();
    const int y = Value();
    const int step = Below(5) - 2 + (Below(4) == 0 ? Below(511) - 255 : 0);
    const int kind = Below(7);
    for (int i = 0; i < n; ++i) {
      const int echo =
          plane.empty()
              ? x
              : plane[plane.size() - 1 -
                      static_cast<std::size_t>(Below(std::min(4, static_cast<int>(plane.size()))))];
      const int bytes[] = {x,    i % 2 == 0 ? x : y, x + i * step, x + i - i % 2 * 2, Value(),
                           echo, x + i / (1 + y % 3)};
      plane.push_back(static_cast<char>(bytes[kind]));
    }
  }

  int OneOf(std::initializer_list<int> values) {
    return values.begin()[Below(static_cast<int>(values.size()))];
  }
  int Value() { return Below(3) == 0 ? OneOf({0, 255, 1}) : Below(spread_ + 1); }

  std::mt19937 random_;
  int spread_ = 255;
  int length_ = 40;
};

}  // namespace krtest

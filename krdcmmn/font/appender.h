// Appending to arrays in few large steps, for loops that append hundreds of thousands of times.
#pragma once

#include <algorithm>
#include <cstddef>
#include <tuple>

#include "krdcmmn/core/tarray.h"

namespace kr {

// Arrays of one length that grow together. While it lives they are longer than what was appended;
// Finish cuts them to that. They belong to the appender until then and outlive it.
template <class... T>
class Appender {
 public:
  explicit Appender(KRD::TARRAY<T>&... arrays)
      : arrays_(arrays...), elements_(arrays.elements()...) {
    count_ = room_ = std::get<0>(arrays_).count();
  }

  // Elements appended so far, those that the arrays had before included.
  unsigned count() const { return count_; }

  // The index of `n` new elements, which are unset. Throws MA_EXCEPTION; the arrays may have lost
  // elements then, and `failed` is true for good.
  unsigned Take(unsigned n) {
    if (room_ - count_ < n) {
      Grow(n);
    }
    const unsigned taken = count_;
    count_ += n;
    return taken;
  }
  // Element `i` of the first array or of array `kArray`; good until the next Take.
  template <std::size_t kArray = 0>
  auto& at(unsigned i) {
    return std::get<kArray>(elements_)[i];
  }

  // A guess at the elements to come, which the first growth goes by.
  void Expect(std::size_t n) { expected_ = static_cast<unsigned>(std::min(n, kMostExpected)); }

  bool failed() const { return failed_; }

  void Finish() {
    if (room_ != count_) {
      SetLength(count_);
    }
  }

 private:
  static constexpr std::size_t kMostExpected = 1 << 20;

  [[gnu::noinline]] void Grow(unsigned n) {
    constexpr unsigned kLeast = 256;
    SetLength(count_ + std::max({n, kLeast, count_ / 2, expected_}));
    expected_ = 0;
  }
  void SetLength(unsigned length) {
    failed_ = true;
    std::apply([length](auto&... array) { (array.setNElem(length), ...); }, arrays_);
    failed_ = false;
    elements_ = std::apply([](auto&... array) { return std::tuple(array.elements()...); }, arrays_);
    room_ = length;
  }

  std::tuple<KRD::TARRAY<T>&...> arrays_;
  std::tuple<T*...> elements_;
  unsigned count_;
  unsigned room_;
  unsigned expected_ = 0;
  bool failed_ = false;
};

}  // namespace kr

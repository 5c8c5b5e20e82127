// Views into the text classes for the tests, and the codes of their exceptions.
#pragma once

#include <string>
#include <vector>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/text/krdstr.h"

namespace krtest {

// A string whose capacity can be read.
class Str : public KRD::KRDSTR {
 public:
  using KRD::KRDSTR::KRDSTR;
  using KRD::KRDSTR::operator=;
  using KRD::KRDSTR::ConcatCopy;
  using KRD::KRDSTR::ConcatInPlace;
  Str() = default;
  Str(const Str&) = default;
  Str& operator=(const Str&) = default;
  Str(const KRDSTR& s) : KRDSTR(s) {}

  int capacity() const { return cap; }
  bool hasBlock() const { return buf != nullptr; }
};

// The code of what `action` throws, or 0.
template <class Action>
int CodeOf(Action action) {
  try {
    action();
  } catch (KRD::EXCEPTION* e) {
    const int code = e->code;
    e->Delete();
    return code;
  }
  return 0;
}

}  // namespace krtest

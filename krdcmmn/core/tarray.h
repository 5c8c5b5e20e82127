// TARRAY: a typed view of MARRAY for elements that are plain bytes.
#pragma once

#include <cstring>
#include <type_traits>

#include "krdcmmn/core/marray.h"

namespace KRD {

// Elements are trivially copyable; new ones hold unspecified bytes. Indices are not tested. An
// element's address is good until the array next grows past its capacity.
template <class T>
class TARRAY : public MARRAY {
  static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 32767);

 public:
  TARRAY() { sizeElem = static_cast<short>(sizeof(T)); }

  unsigned int count() const { return nElem; }
  T* elements() { return reinterpret_cast<T*>(data); }
  const T* elements() const { return reinterpret_cast<const T*>(data); }
  T& operator[](unsigned int i) { return elements()[i]; }
  const T& operator[](unsigned int i) const { return elements()[i]; }
  T* begin() { return elements(); }
  T* end() { return elements() + nElem; }
  const T* begin() const { return elements(); }
  const T* end() const { return elements() + nElem; }

  // Appends a copy; `value` may lie in this array.
  void add(T value) {
    addElemOfSize<sizeof(T)>();
    std::memcpy(data + (nElem - 1) * sizeof(T), &value, sizeof(T));
  }
};

}  // namespace KRD

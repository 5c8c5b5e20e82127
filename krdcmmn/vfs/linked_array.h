// An array that stands on its own: what a file takes over from a caller, or reads from a container.
#pragma once

#include "krdcmmn/core/marray.h"

namespace KRD {

class LINKED_ARRAY : public MARRAY {
 public:
  LINKED_ARRAY() = default;
  LINKED_ARRAY(short size_elem, unsigned char size_index) {
    sizeElem = size_elem;
    sizeIndex = size_index;
  }

  char* bytes() { return data; }
  const char* bytes() const { return data; }
  unsigned count() const { return nElem; }
  short elementSize() const { return sizeElem; }
  unsigned char indexSize() const { return sizeIndex; }

  // The element size of any array.
  static short elementSizeOf(const MARRAY& array) { return array.*(&LINKED_ARRAY::sizeElem); }
};

}  // namespace KRD

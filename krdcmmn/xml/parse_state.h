// What the parser's handlers share: process-wide, one parse at a time, kept from one parse to the
// next. Private to the library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "krdcmmn/xml/document.h"

namespace kr {

// Bytes that are appended in small pieces; emptying keeps the memory.
class CharBuffer {
 public:
  void Append(const char* bytes, std::size_t count) {
    if (count > bytes_.size() - used_) {
      bytes_.resize(std::max(2 * bytes_.size(), used_ + count));
    }
    if (count == 1) {
      bytes_[used_] = *bytes;  // line ends and references come one by one
    } else {
      std::memcpy(bytes_.data() + used_, bytes, count);
    }
    used_ += count;
  }
  void Clear() { used_ = 0; }
  const char* data() const { return bytes_.data(); }
  std::size_t size() const { return used_; }

 private:
  std::vector<char> bytes_;  // all of its size is room
  std::size_t used_ = 0;
};

extern XmlNode currentNode;             // the element being filled
extern std::vector<XmlNode> nodeStack;  // the open elements' parents
extern CharBuffer textBuffer;           // character data since the last tag, UTF-8

}  // namespace kr

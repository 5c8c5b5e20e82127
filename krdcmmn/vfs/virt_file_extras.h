// What a file holds beside its stream: the arrays that it took over, and its packed form between
// its closing and the save.
#pragma once

#include <deque>
#include <vector>

#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/vfs/linked_array.h"
#include "krdcmmn/vfs/virt_file.h"

namespace KRD {

// The link at `offset` of the stream stands for `array`.
struct virt_file::LINK {
  explicit LINK(int at_offset) : offset(at_offset) {}
  LINK(int at_offset, short size_elem, unsigned char size_index)
      : offset(at_offset), array(size_elem, size_index) {}
  LINK(const LINK&) = delete;
  LINK& operator=(const LINK&) = delete;

  int offset;
  LINKED_ARRAY array;
};

// Visits the links from `first` on, as a reader of the saved file will find them. A chain that was
// bent by hand ends where it leaves the links.
template <class Visit>
void virt_file::eachLink(Visit visit) {
  int behind = 0;
  for (int offset = first(); offset >= behind; offset = next(offset)) {
    LINK* link = findLink(offset);
    if (link == nullptr) {
      return;
    }
    visit(*link);
    behind = offset + 1;
  }
}

struct virt_file::EXTRAS {
  std::deque<LINK> links;           // by offset; an array stays where it is when links are added
  std::vector<PackedBlock> packed;  // the blocks as they go to the host file, or nothing
};

}  // namespace KRD

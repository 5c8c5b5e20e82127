// Finds names in long directories. Holds, for a table whose tree does not change behind its back,
// every directory's entries by name; the entries of one name in the order of their directory's
// list.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "krdcmmn/vfs/virt_file.h"

namespace KRD {

class NAME_INDEX {
 public:
  using ENTRIES = std::vector<std::unique_ptr<virt_file>>;

  explicit NAME_INDEX(const ENTRIES& entries) : entries_(entries) {}

  // The table has changed in ways that `insert` and `erase` did not tell: built anew when needed.
  void invalidate() { valid_ = false; }
  // Entry `index` is the new head of directory `dir`, or leaves it.
  void insert(int index, int dir);
  void erase(int index);
  // The first visible entry of `dir`'s list with this name, or -1. `first_root` heads the root.
  int find(const char* name, int dir, int first_root);

 private:
  struct NODE {
    std::uint32_t hash = 0;
    int dir = -1;
    int next = -1;  // in the bucket
    bool listed = false;
  };

  static std::uint32_t hashOf(const char* name, int dir);
  const virt_file& entry(int index) const { return *entries_[static_cast<std::size_t>(index)]; }
  int& bucket(std::uint32_t hash) { return buckets_[hash & (buckets_.size() - 1)]; }
  void build(int first_root);
  void addDirectory(int head, int dir, std::vector<int>& scratch);
  void grow();

  const ENTRIES& entries_;
  std::vector<int> buckets_;  // entry, or -1; a power of two
  std::vector<NODE> nodes_;   // by entry
  std::size_t listed_ = 0;
  bool valid_ = false;
};

// Whether vfaccess may find an entry of this state.
inline bool IsVisible(int state) {
  return state != virt_file::kRemoved && state != virt_file::kConsumed;
}

}  // namespace KRD

// What memory.cpp knows of its ranges: those in use, and small ones that wait to be used again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>
#include <tuple>
#include <utility>
#include <vector>

inline namespace krplatform {

struct Range {
  std::size_t size = 0;
  std::size_t page = 0;            // the host's, or what it pretends to be
  std::size_t top = 0;             // end of the last page that was committed
  std::size_t open = 0;            // everything below is accessible
  std::size_t reach = 0;           // nothing from here on is accessible
  std::vector<std::size_t> seams;  // offsets between which the host sees one mapping
};

inline std::uintptr_t AddressOf(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

inline char* PointerAt(std::uintptr_t address) {
  return reinterpret_cast<char*>(address);
}

// All ranges of the process by their start. Different threads own different ranges, so the lock is
// held for the look-up alone; entries of a map stay where they are.
class RangeTable {
 public:
  using Entry = std::pair<const std::uintptr_t, Range>;

  void Add(std::uintptr_t start, const Range& range) {
    const std::lock_guard lock(mutex_);
    ranges_.emplace(start, range);
  }

  // The range that [address, address + size) lies in, or null.
  Entry* Find(std::uintptr_t address, std::size_t size) {
    const std::lock_guard lock(mutex_);
    auto after = ranges_.upper_bound(address);
    if (after == ranges_.begin()) {
      return nullptr;
    }
    Entry& entry = *std::prev(after);
    const std::size_t offset = address - entry.first;
    const bool inside = offset < entry.second.size && size <= entry.second.size - offset;
    return inside ? &entry : nullptr;
  }

  void Remove(std::uintptr_t start) {
    const std::lock_guard lock(mutex_);
    ranges_.erase(start);
  }

 private:
  std::mutex mutex_;
  std::map<std::uintptr_t, Range> ranges_;
};

// Small ranges that were released and will soon be asked for again: an array a file, one after the
// other. Mapping and unmapping them, and their faults, would cost more than filling them.
class SpareRanges {
 public:
  // A range of this size as if it were new, its open part cleared; 0 when there is none.
  std::uintptr_t Take(Range& range) {
    Range spare;
    std::uintptr_t start = 0;
    {
      const std::lock_guard lock(mutex_);
      for (std::size_t i = count_; i-- > 0 && start == 0;) {
        if (spares_[i].second.size == range.size && spares_[i].second.page == range.page) {
          std::tie(start, spare) = spares_[i];
          spares_[i] = spares_[--count_];
        }
      }
    }
    if (start != 0) {
      std::memset(PointerAt(start), 0, spare.open);
      spare.top = 0;
      range = spare;
    }
    return start;
  }

  // False when the range is not one to keep.
  bool Keep(std::uintptr_t start, const Range& range) {
    const std::lock_guard lock(mutex_);
    if (range.size > kSpareSize || range.open == 0 || range.open != range.reach ||
        !range.seams.empty() || count_ == kSpares) {
      return false;
    }
    spares_[count_++] = {start, range};
    return true;
  }

 private:
  static constexpr std::size_t kSpareSize = 0x40000;  // bytes, at most
  static constexpr std::size_t kSpares = 16;

  std::mutex mutex_;
  std::pair<std::uintptr_t, Range> spares_[kSpares];
  std::size_t count_ = 0;
};

}  // namespace krplatform

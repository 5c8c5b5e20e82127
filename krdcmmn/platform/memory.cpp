#include "krdcmmn/platform/memory.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/memory_ranges.h"

// A range is one mapping without access rights; committing opens it for access. Most ranges grow
// page by page from their start, so the open part runs ahead of what was committed, a step at a
// time, and most commits cost no call of the host:
//
//   start            top        open              size
//     |  committed    |  ahead   |  no access      |
//
// The step is brought into memory at once, which is far cheaper than a fault a page, and it is the
// whole price in memory: at most one step beyond what was committed, beside 16 small ranges at most
// that wait, open, to be used again. Large pages of the host would be faster still once they are
// warm, but their price swings by a factor of ten.

inline namespace krplatform {

namespace {

constexpr std::size_t kPage = 0x1000;
constexpr std::size_t kStep = 0x10000;               // of the part that is opened ahead
constexpr std::size_t kUnit = 0x10000;               // of reservations
constexpr std::size_t kTable = 0x200000;             // alignment that moves whole page tables
constexpr std::size_t kMost = std::size_t{1} << 46;  // more than the host's address space

constexpr std::size_t Down(std::size_t value, std::size_t unit) {
  return value & ~(unit - 1);
}

constexpr std::size_t Up(std::size_t value, std::size_t unit) {
  return Down(value + unit - 1, unit);
}

std::size_t TruePage() {
  static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return page;
}

class HookBox {
 public:
  void Set(MemoryHook hook) {
    const std::lock_guard lock(mutex_);
    set_ = static_cast<bool>(hook);
    hook_ = std::move(hook);
  }

  bool Allows(MemoryStep step, std::size_t size) {
    if (!set_) {
      return true;
    }
    MemoryHook hook;
    {
      const std::lock_guard lock(mutex_);
      hook = hook_;
    }
    return !hook || hook(step, size);
  }

 private:
  std::atomic<bool> set_ = false;
  std::mutex mutex_;
  MemoryHook hook_;
};

std::atomic<std::size_t> pretended_page = 0;

// None is ever destroyed: arrays of static objects use them to the very end.
HookBox& Hook() {
  static auto* hook = new HookBox;
  return *hook;
}

RangeTable& Ranges() {
  static auto* table = new RangeTable;
  return *table;
}

SpareRanges& Spares() {
  static auto* spares = new SpareRanges;
  return *spares;
}

bool Map(std::uintptr_t address, std::size_t size, int placement) {
  return mmap(PointerAt(address), size, PROT_NONE,
              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | placement, -1, 0) != MAP_FAILED;
}

bool Protect(std::uintptr_t address, std::size_t size, int rights) {
  return size == 0 || mprotect(PointerAt(address), size, rights) == 0;
}

// An aligned range; 0 when there is no room. The host often gives one by itself, next to the last;
// else more is mapped than asked for and cut down.
std::uintptr_t MapAligned(std::size_t size, std::size_t alignment) {
  const auto map = [](std::size_t bytes) {
    void* const mapped =
        mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return mapped != MAP_FAILED ? AddressOf(mapped) : 0;
  };
  const std::uintptr_t exact = map(size);
  if (exact == 0 || Down(exact, alignment) == exact) {
    return exact;
  }
  munmap(PointerAt(exact), size);
  const std::uintptr_t first = map(size + alignment);
  if (first == 0) {
    return 0;
  }
  const std::uintptr_t start = Up(first, alignment);
  if (start != first) {
    munmap(PointerAt(first), start - first);
  }
  munmap(PointerAt(start + size), first + alignment - start);
  return start;
}

void* Reserve(std::size_t size) {
  if (size == 0 || size > kMost) {
    return nullptr;
  }
  Range range;
  range.page = std::max(TruePage(), pretended_page.load());
  range.size = Up(size, std::max(kUnit, range.page));
  const std::size_t alignment =
      std::max({kUnit, range.page, range.size >= kTable ? kTable : std::size_t{0}});
  std::uintptr_t start = Spares().Take(range);
  if (start == 0) {
    start = MapAligned(range.size, alignment);
  }
  if (start == 0) {
    return nullptr;
  }
  try {
    Ranges().Add(start, range);
  } catch (const std::bad_alloc&) {
    munmap(PointerAt(start), range.size);
    return nullptr;
  }
  return PointerAt(start);
}

// Opens [from, to) of a range, offsets in host pages. Small growth at the end of the open part goes
// ahead by a step.
bool Open(std::uintptr_t start, Range& range, std::size_t from, std::size_t to) {
  if (from > range.open) {  // apart from the rest
    if (!Protect(start + from, to - from, PROT_READ | PROT_WRITE)) {
      return false;
    }
    range.reach = std::max(range.reach, to);
    return true;
  }
  if (to <= range.open) {
    return true;
  }
  const std::size_t ahead = std::min(range.size, Up(to, std::max(kStep, range.page)));
  const std::size_t old = range.open;
  if (Protect(start + old, ahead - old, PROT_READ | PROT_WRITE)) {
    range.open = ahead;
  } else if (Protect(start + old, to - old, PROT_READ | PROT_WRITE)) {
    range.open = to;
  } else {
    return false;
  }
  range.reach = std::max(range.reach, range.open);
  if (to - old <= kStep && old != 0) {
    madvise(PointerAt(start + old), range.open - old, MADV_POPULATE_WRITE);
  }
  return true;
}

bool Commit(std::uintptr_t address, std::size_t size) {
  auto* const entry = Ranges().Find(address, size);
  if (entry == nullptr) {
    return false;
  }
  auto& [start, range] = *entry;
  const std::size_t from = Down(address - start, kPage);
  const std::size_t to = Up(address - start + size, kPage);
  if (!Open(start, range, Down(from, range.page), Up(to, range.page))) {
    return false;
  }
  range.top = std::max(range.top, to);
  return true;
}

// Clears the bytes of [from, to), which lie in one host page that stays in use.
bool Clear(std::uintptr_t start, const Range& range, std::size_t from, std::size_t to) {
  if (from >= to) {
    return true;
  }
  // Beyond the open part the page is perhaps accessible, perhaps not.
  if (to > range.open &&
      !Protect(start + Down(from, range.page), range.page, PROT_READ | PROT_WRITE)) {
    return false;
  }
  std::memset(PointerAt(start + from), 0, to - from);
  return true;
}

// Everything from `from` on goes: nothing behind it is committed.
bool DropTail(std::uintptr_t start, Range& range, std::size_t from) {
  const std::size_t inner = Up(from, range.page);
  if (!Clear(start, range, from, std::min(inner, range.reach))) {
    return false;
  }
  range.top = std::min(range.top, from);
  if (inner >= range.reach) {
    return true;
  }
  if (madvise(PointerAt(start + inner), range.reach - inner, MADV_DONTNEED) != 0) {
    return false;
  }
  const std::size_t keep = std::min(Up(inner, std::max(kStep, range.page)), range.reach);
  if (!Protect(start + keep, range.reach - keep, PROT_NONE)) {
    return false;
  }
  range.open = std::min(range.open, keep);
  range.reach = keep;
  return true;
}

bool Decommit(std::uintptr_t address, std::size_t size) {
  auto* const entry = Ranges().Find(address, size);
  if (entry == nullptr) {
    return false;
  }
  auto& [start, range] = *entry;
  if (size == 0) {
    return address == start && DropTail(start, range, 0);
  }
  const std::size_t from = Down(address - start, kPage);
  const std::size_t to = std::min(Up(address - start + size, kPage), range.reach);
  if (from >= to) {
    return true;
  }
  if (to >= range.top) {
    return DropTail(start, range, from);
  }
  const std::size_t inner_from = Up(from, range.page);
  const std::size_t inner_to = Down(to, range.page);
  if (inner_from > inner_to) {
    return Clear(start, range, from, to);
  }
  if (!Clear(start, range, from, inner_from) || !Clear(start, range, inner_to, to)) {
    return false;
  }
  return inner_from == inner_to ||
         madvise(PointerAt(start + inner_from), inner_to - inner_from, MADV_DONTNEED) == 0;
}

bool Release(std::uintptr_t address) {
  auto* const entry = Ranges().Find(address, 0);
  if (entry == nullptr || entry->first != address) {
    return false;
  }
  const Range range = std::move(entry->second);
  Ranges().Remove(address);
  return Spares().Keep(address, range) || munmap(PointerAt(address), range.size) == 0;
}

// Moves the host pages of one mapping; `from` stays reserved. False, with both ranges as they were,
// when the host does not do that.
bool MovePiece(std::uintptr_t to, std::uintptr_t from, std::size_t size) {
  void* const moved = mremap(PointerAt(from), size, size,
                             MREMAP_MAYMOVE | MREMAP_FIXED | MREMAP_DONTUNMAP, PointerAt(to));
  if (moved == MAP_FAILED) {
    Map(to, size, MAP_FIXED_NOREPLACE);  // in case the host has cleared the place already
    return false;
  }
  return Map(from, size, MAP_FIXED);
}

// Where the pages cannot be moved: copies them step by step and gives each step back at once.
bool CopyPiece(std::uintptr_t to, std::uintptr_t from, std::size_t size) {
  for (std::size_t done = 0; done < size; done += kStep) {
    const std::size_t step = std::min(kStep, size - done);
    if (!Commit(to + done, step) || !Commit(from + done, step)) {
      return false;
    }
    std::memcpy(PointerAt(to + done), PointerAt(from + done), step);
    if (!Decommit(from + done, step)) {
      return false;
    }
  }
  return true;
}

// The ends of the pieces that [offset, offset + size) of `range` consists of, as lengths from
// `offset`.
std::vector<std::size_t> PieceEnds(const Range& range, std::size_t offset, std::size_t size) {
  std::vector<std::size_t> ends{size};
  for (const std::size_t seam : range.seams) {
    if (seam > offset && seam < offset + size) {
      ends.push_back(seam - offset);
    }
  }
  std::sort(ends.begin(), ends.end());
  ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
  return ends;
}

// Moves [offset, offset + size) of `from` to the start of `to`, one piece at a time.
bool MovePieces(RangeTable::Entry& to, RangeTable::Entry& from, std::size_t offset,
                std::size_t size) {
  auto& [to_start, target] = to;
  auto& [from_start, source] = from;
  const std::vector<std::size_t> ends = PieceEnds(source, offset, size);
  std::size_t done = 0;
  for (const std::size_t end : ends) {
    const std::uintptr_t piece = from_start + offset + done;
    if (MovePiece(to_start + done, piece, end - done)) {
      target.open = std::max(target.open, end);
      target.reach = std::max(target.reach, end);
      target.top = std::max(target.top, end);
    } else if (!CopyPiece(to_start + done, piece, end - done)) {
      return false;
    }
    done = end;
  }
  std::erase_if(source.seams, [&](std::size_t s) { return s >= offset && s <= offset + size; });
  source.seams.insert(source.seams.end(), {offset, offset + size});
  std::erase_if(target.seams, [&](std::size_t s) { return s <= size; });
  target.seams.insert(target.seams.end(), ends.begin(), ends.end());
  source.open = std::min(source.open, offset);
  if (source.top <= offset + size) {
    source.top = std::min(source.top, offset);
  }
  return true;
}

bool Move(std::uintptr_t to_address, std::uintptr_t from_address, std::size_t size) {
  auto* const to = Ranges().Find(to_address, size);
  auto* const from = Ranges().Find(from_address, size);
  if (to == nullptr || from == nullptr || to == from || to_address != to->first ||
      Down(size, kPage) != size) {
    return false;
  }
  const std::size_t offset = from_address - from->first;
  std::size_t whole = 0;
  if (Down(offset, from->second.page) == offset && from->second.page == to->second.page &&
      offset + size <= from->second.open) {
    whole = Down(size, to->second.page);
  }
  return (whole == 0 || MovePieces(*to, *from, offset, whole)) &&
         CopyPiece(to_address + whole, from_address + whole, size - whole);
}

BOOL Told(bool good) {
  if (!good) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  }
  return good ? TRUE : FALSE;
}

}  // namespace

void* VirtualAlloc(void* address, std::size_t size, DWORD type, DWORD /*protection*/) {
  if (type == MEM_RESERVE && address == nullptr) {
    void* const start = Hook().Allows(MemoryStep::kReserve, size) ? Reserve(size) : nullptr;
    Told(start != nullptr);
    return start;
  }
  if (type == MEM_COMMIT) {
    const bool good = Hook().Allows(MemoryStep::kCommit, size) && Commit(AddressOf(address), size);
    return Told(good) != FALSE ? address : nullptr;
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return nullptr;
}

BOOL VirtualFree(void* address, std::size_t size, DWORD type) {
  if (type == MEM_DECOMMIT) {
    return Told(Hook().Allows(MemoryStep::kDecommit, size) && Decommit(AddressOf(address), size));
  }
  if (type == MEM_RELEASE && size == 0) {
    return Told(Hook().Allows(MemoryStep::kRelease, size) && Release(AddressOf(address)));
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

BOOL VirtualMove(void* to, void* from, std::size_t size) {
  try {
    return Told(Hook().Allows(MemoryStep::kMove, size) &&
                (size == 0 || Move(AddressOf(to), AddressOf(from), size)));
  } catch (const std::bad_alloc&) {  // of the seams
    return Told(false);
  }
}

void SetMemoryHook(MemoryHook hook) {
  Hook().Set(std::move(hook));
}

void SetHostPageSize(std::size_t size) {
  pretended_page = size;
}

}  // namespace krplatform

#include "krdcmmn/platform/gdi_table.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>

namespace krgdi {

namespace {

// A handle's bits: generation, 36; slot, 24; then 4 that are never all 0, so that no handle is
// null.
constexpr std::uint64_t kTag = 0xc;
constexpr int kSlotShift = 4;
constexpr int kGenerationShift = 28;
constexpr std::uint32_t kChunk = 4096;
constexpr std::uint32_t kChunks = 4096;

struct Slot {
  std::atomic<std::uint64_t> handle{0};  // 0 while free
  Object* object = nullptr;
  std::uint64_t generation = 0;
  std::uint32_t next_free = 0;
};

// Chunks never move and are never freed, so that a lookup needs no lock.
std::atomic<Slot*> chunks[kChunks];
std::mutex guard;  // of what follows
std::uint32_t used = 0;
std::uint32_t first_free = 0;  // slot number plus 1; 0: none
int entered = 0;

Slot& SlotAt(std::uint32_t index) {
  return chunks[index / kChunk].load(std::memory_order_acquire)[index % kChunk];
}

std::uint32_t SlotOf(std::uint64_t handle) {
  return static_cast<std::uint32_t>(handle >> kSlotShift) & (kChunk * kChunks - 1);
}

std::uint64_t Bits(const void* handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

// A free slot's number plus 1, or 0.
std::uint32_t TakeSlot() {
  if (first_free != 0) {
    const std::uint32_t taken = first_free;
    first_free = SlotAt(taken - 1).next_free;
    return taken;
  }
  if (used == kChunk * kChunks) {
    return 0;
  }
  if (used % kChunk == 0) {
    Slot* chunk = new (std::nothrow) Slot[kChunk];
    if (chunk == nullptr) {
      return 0;
    }
    chunks[used / kChunk].store(chunk, std::memory_order_release);
  }
  return ++used;
}

}  // namespace

bool Enter(Object* object) {
  const std::lock_guard lock(guard);
  const std::uint32_t taken = TakeSlot();
  if (taken == 0) {
    return false;
  }
  Slot& slot = SlotAt(taken - 1);
  const std::uint64_t handle =
      ++slot.generation << kGenerationShift | std::uint64_t{taken - 1} << kSlotShift | kTag;
  slot.object = object;
  slot.handle.store(handle, std::memory_order_release);
  object->handle = reinterpret_cast<void*>(static_cast<std::uintptr_t>(handle));
  entered += object->stock ? 0 : 1;
  return true;
}

void Remove(Object* object) {
  const std::lock_guard lock(guard);
  const std::uint32_t index = SlotOf(Bits(object->handle));
  Slot& slot = SlotAt(index);
  slot.handle.store(0, std::memory_order_release);
  slot.object = nullptr;
  slot.next_free = first_free;
  first_free = index + 1;
  entered -= object->stock ? 0 : 1;
}

Object* Find(const void* handle) {
  const std::uint64_t bits = Bits(handle);
  const std::uint32_t index = SlotOf(bits);
  const Slot* chunk = chunks[index / kChunk].load(std::memory_order_acquire);
  if (chunk == nullptr || bits == 0) {
    return nullptr;
  }
  const Slot& slot = chunk[index % kChunk];
  return slot.handle.load(std::memory_order_acquire) == bits ? slot.object : nullptr;
}

int CountEntered() {
  const std::lock_guard lock(guard);
  return entered;
}

}  // namespace krgdi

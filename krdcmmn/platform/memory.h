// Address space in two steps: reserve a range that uses no memory, then commit parts of it.
//
// The page of these calls is fixed at 0x1000 bytes whatever the host's own page is: on a host with
// larger pages a commit rounds outward and a decommit inward, and the bytes that stay behind in a
// shared host page read as zero after they are committed again.
//
// A commit uses no memory by itself: pages take it as they are touched. Where a range grows page by
// page at its end, one step of 64 KiB ahead of it is brought into memory too. Up to such a step
// behind the committed part, and in gaps that were decommitted before its end, a stray access is
// not caught; anywhere else an access to a page that is not committed faults. Different threads may
// work on different ranges.
#pragma once

#include <functional>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr DWORD MEM_COMMIT = 0x1000;
inline constexpr DWORD MEM_RESERVE = 0x2000;
inline constexpr DWORD MEM_DECOMMIT = 0x4000;
inline constexpr DWORD MEM_RELEASE = 0x8000;
inline constexpr DWORD PAGE_READWRITE = 4;

// `type` MEM_RESERVE with a null `address`: a new range of `size` bytes, rounded up to 0x10000 and
// aligned to 0x10000. MEM_COMMIT: makes the pages of [address, address + size) of a reserved range
// usable; pages that are committed already keep their contents, new ones are zero. Gives the
// address, or null with ERROR_NOT_ENOUGH_MEMORY (nothing has changed then), which is also the
// answer to an address that lies in no range.
KRDCMMN_API void* VirtualAlloc(void* address, std::size_t size, DWORD type, DWORD protection);

// MEM_DECOMMIT: gives the memory of [address, address + size) back while the range stays reserved;
// size 0 at the start of a range covers all of it. MEM_RELEASE (size 0, start of a range): gives
// the whole range back; up to 16 ranges of at most 256 KiB stay with the layer for the next
// reservations of their size. FALSE on failure.
KRDCMMN_API BOOL VirtualFree(void* address, std::size_t size, DWORD type);

// Moves the pages of [from, from + size) to the start `to` of another reserved range. The pages
// move, their bytes are not copied, so no more memory is held at any moment than before; where the
// host cannot move them they are copied and given back 0x10000 bytes at a time. Afterwards [to,
// to + size) is committed and [from, from + size) is not. `size` is a multiple of 0x1000. FALSE
// when the target cannot be had; both ranges must then be released only.
KRDCMMN_API BOOL VirtualMove(void* to, void* from, std::size_t size);

// Test hook: asked before every call of this family with the kind of step and its size in bytes;
// false makes the call fail as if the host had no memory. An empty function removes the hook.
enum class MemoryStep { kReserve, kCommit, kDecommit, kRelease, kMove };
using MemoryHook = std::function<bool(MemoryStep step, std::size_t size)>;
KRDCMMN_API void SetMemoryHook(MemoryHook hook);

// Test hook: pretends that the host's page is `size` bytes (a power of two, at least the host's
// own), so that the rounding of larger pages can be tried; 0 restores the truth. For ranges that
// are reserved afterwards.
KRDCMMN_API void SetHostPageSize(std::size_t size);

}  // namespace krplatform

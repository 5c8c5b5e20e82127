// Handles of drawing objects and contexts. A handle names a slot of a table and the slot's
// generation, and is never followed as a pointer: a dead handle, or one that never was, is found
// out by one comparison.
//
// Making and freeing is safe between threads; a lookup takes no lock. An object, and a context with
// all that it holds, is for one thread at a time.
#pragma once

#include <cstdint>

#include "krdcmmn/platform/types.h"

namespace krgdi {

enum class Kind : std::uint8_t { context = 1, pen, brush, font, bitmap };

// The base of everything that has a handle.
struct Object {
  explicit Object(Kind k) : kind(k) {}

  Kind kind;
  bool stock = false;        // never freed, not counted
  std::int32_t holders = 0;  // contexts in which it is selected; not kept for stock objects
  void* handle = nullptr;
};

// Enters an object and sets its handle; false when the table is full or memory is short.
bool Enter(Object* object);
// The handle is dead from here on. The object stays the caller's.
void Remove(Object* object);
// The object of a handle, or null.
Object* Find(const void* handle);
// Objects entered and not removed, stock left out.
int CountEntered();

}  // namespace krgdi

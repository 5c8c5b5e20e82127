// Elements to byte planes and back, several planes in one pass over the elements.
#pragma once

#include <cstddef>

namespace KRD {

// Plane `first` + g of the `count` elements of `stride` bytes goes to planes + g * pitch, for g in
// [0, planes_wanted). `pitch` is at least `count`.
void GatherPlanes(char* planes, std::size_t pitch, const char* elements, std::size_t count,
                  std::size_t stride, std::size_t first, std::size_t planes_wanted);

// The way back; other planes of the elements stay as they are.
void ScatterPlanes(char* elements, const char* planes, std::size_t pitch, std::size_t count,
                   std::size_t stride, std::size_t first, std::size_t planes_given);

}  // namespace KRD

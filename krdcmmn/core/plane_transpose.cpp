#include "krdcmmn/core/plane_transpose.h"

namespace KRD {

void GatherPlanes(char* planes, std::size_t pitch, const char* elements, std::size_t count,
                  std::size_t stride, std::size_t first, std::size_t planes_wanted) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t g = 0; g < planes_wanted; ++g) {
      planes[g * pitch + i] = elements[i * stride + first + g];
    }
  }
}

void ScatterPlanes(char* elements, const char* planes, std::size_t pitch, std::size_t count,
                   std::size_t stride, std::size_t first, std::size_t planes_given) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t g = 0; g < planes_given; ++g) {
      elements[i * stride + first + g] = planes[g * pitch + i];
    }
  }
}

}  // namespace KRD

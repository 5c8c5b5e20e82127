#include <initializer_list>

#include "krdcmmn/core/plane_coder.h"
#include "krdcmmn/core/plane_encoder.h"

namespace KRD {

#if defined(KRD_AVX2)
std::size_t PackPlaneAvx2(std::uint8_t* out, const std::uint8_t* plane, std::size_t count);
#endif

namespace {

using Packer = std::size_t (*)(std::uint8_t*, const std::uint8_t*, std::size_t);

template <class Windows>
std::size_t Pack(std::uint8_t* out, const std::uint8_t* plane, std::size_t count) {
  return out != nullptr ? PlaneEncoder<Windows, true>::Run(out, plane, count)
                        : PlaneEncoder<Windows, false>::Run(out, plane, count);
}

// The packer with vectors of so many bytes, or null.
Packer PackerWith(int vector_bytes) {
#if defined(KRD_AVX2)
  if (vector_bytes == 32 && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")) {
    return PackPlaneAvx2;
  }
#endif
#if defined(__SSE2__)
  if (vector_bytes == 16) {
    return Pack<Sse2Windows>;
  }
#endif
  return vector_bytes == 0 ? Pack<PortableWindows> : nullptr;
}

Packer BestPacker() {
  for (const int vector_bytes : {32, 16}) {
    if (const Packer packer = PackerWith(vector_bytes)) {
      return packer;
    }
  }
  return PackerWith(0);
}

std::uint8_t* Bytes(char* bytes) {
  return reinterpret_cast<std::uint8_t*>(bytes);
}

const std::uint8_t* Bytes(const char* bytes) {
  return reinterpret_cast<const std::uint8_t*>(bytes);
}

}  // namespace

std::size_t PackPlane(char* out, const char* plane, std::size_t count) {
  static const Packer best = BestPacker();
  return best(Bytes(out), Bytes(plane), count);
}

std::ptrdiff_t PackPlaneWith(int vector_bytes, char* out, const char* plane, std::size_t count) {
  const Packer packer = PackerWith(vector_bytes);
  return packer != nullptr ? static_cast<std::ptrdiff_t>(packer(Bytes(out), Bytes(plane), count))
                           : -1;
}

}  // namespace KRD

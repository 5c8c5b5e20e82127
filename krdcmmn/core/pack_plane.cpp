#include "krdcmmn/core/plane_coder.h"
#include "krdcmmn/core/plane_encoder.h"

namespace KRD {

#if defined(KRD_AVX2)
std::size_t PackPlaneAvx2(std::uint8_t* out, const std::uint8_t* plane, std::size_t count);
#endif

namespace {

template <class Windows>
std::size_t Pack(std::uint8_t* out, const std::uint8_t* plane, std::size_t count) {
  return out != nullptr ? PlaneEncoder<Windows, true>::Run(out, plane, count)
                        : PlaneEncoder<Windows, false>::Run(out, plane, count);
}

using Packer = std::size_t (*)(std::uint8_t*, const std::uint8_t*, std::size_t);

Packer BestPacker() {
#if defined(KRD_AVX2)
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")) {
    return PackPlaneAvx2;
  }
#endif
#if defined(__SSE2__)
  return Pack<Sse2Windows>;
#else
  return Pack<PortableWindows>;
#endif
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

std::size_t PackPlanePortable(char* out, const char* plane, std::size_t count) {
  return Pack<PortableWindows>(Bytes(out), Bytes(plane), count);
}

}  // namespace KRD

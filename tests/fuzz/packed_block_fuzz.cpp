// Any bytes as the payload of a packed block, for any count and size of elements: decoding ends
// inside both, and what it refuses stays as it was. What was decoded packs and comes back; a plane
// of these bytes gives the stream of the plain coder.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/core/plane_coder.h"

#include "tests/core/reference_coder.h"

namespace {

void Require(bool good) {
  if (!good) {
    std::abort();
  }
}

void CheckRoundTrip(const char* elements, int count, int size_elem) {
  const KRD::PackedBlock block(elements, count, size_elem);
  Require(block.size() == KRD::PackedSize(elements, count, size_elem));
  std::vector<char> back(static_cast<std::size_t>(count * size_elem), 'b');
  Require(KRD::UnpackPayload(block.bytes() + KRD::kLengthSize, block.size() - KRD::kBlockOverhead,
                             back.data(), count, size_elem));
  Require(std::memcmp(back.data(), elements, back.size()) == 0);
}

void CheckStream(const std::string& plane) {
  const std::string expected = krtest::ReferenceCoder::Pack(plane);
  for (const int vector_bytes : {0, 16, 32}) {
    std::string stream(KRD::PackPlaneBound(plane.size()), '\0');
    const auto length = KRD::PackPlaneWith(vector_bytes, stream.data(), plane.data(), plane.size());
    Require(length < 0 || stream.substr(0, static_cast<std::size_t>(length)) == expected);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) {
    return 0;
  }
  const int count = KRD::kRawElements + 1 + data[0] + (data[1] & 3) * 500;
  const int sizes[] = {1, 2, 3, 4, 5, 8, 12, 16, 17, 20, 31, 32, 33, 64, 65, 100};
  const int size_elem = sizes[data[1] >> 4];
  const std::string payload(reinterpret_cast<const char*>(data + 2), size - 2);

  const std::vector<char> untouched(static_cast<std::size_t>(count * size_elem), 'u');
  std::vector<char> elements = untouched;
  if (KRD::UnpackPayload(payload.data(), payload.size(), elements.data(), count, size_elem)) {
    CheckRoundTrip(elements.data(), count, size_elem);
  } else {
    Require(elements == untouched);
  }
  CheckStream(payload);
  return 0;
}

// The checksum of packed blocks: from kChecksumStart on, each byte rotates the sum left by one bit
// and is added to it, modulo 2 to the power 32.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KRD {

std::uint32_t BlockChecksum(const char* bytes, std::size_t count);

}  // namespace KRD

#include "apps/common/store_names.h"

#include <array>
#include <cstring>

#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"

namespace kr_app {
namespace {

constexpr int kMagicBytes = 4;
constexpr int kHashDigits = 12;

using HeaderBytes = std::array<char, kStoreHeaderBytes>;

HeaderBytes Encode(const StoreHeader& header) {
  HeaderBytes bytes;
  std::memcpy(bytes.data(), header.magic, kMagicBytes);
  KRD::StoreU32(bytes.data() + kMagicBytes, header.version);
  return bytes;
}

}  // namespace

bool ReadStoreHeader(void* file, std::int32_t size, const StoreHeader& expected) {
  HeaderBytes bytes;
  return size == kStoreHeaderBytes &&
         KRD::ReadFile(file, bytes.data(), kStoreHeaderBytes) == kStoreHeaderBytes &&
         bytes == Encode(expected);
}

bool WriteStoreHeader(void* file, const StoreHeader& header) {
  const HeaderBytes bytes = Encode(header);
  return KRD::WriteFile(file, bytes.data(), kStoreHeaderBytes) == kStoreHeaderBytes;
}

// FNV-1a of the full name, as digits whose case does not matter.
std::string TableName(const std::string& name, int number) {
  std::uint64_t hash = 14695981039346656037u;
  for (char c : name) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  }
  hash ^= hash >> 32;
  std::string text;
  for (int i = 0; i < kHashDigits; ++i, hash >>= 5) {
    text += "0123456789abcdefghijklmnopqrstuv"[hash & 31];
  }
  return number == 0 ? text : text + '~' + std::to_string(number);
}

}  // namespace kr_app

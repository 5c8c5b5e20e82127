// What the apps' storages have in common: an owner's header of magic and version, and full names
// behind the short ones of a container's table.
#pragma once

#include <cstdint>
#include <string>

namespace kr_app {

// The owner's header: a magic of four characters and a version, 4 bytes each, little-endian.
inline constexpr int kStoreHeaderBytes = 8;

struct StoreHeader {
  char magic[5];
  std::uint32_t version;
};

// Reads the owner's header of `size` bytes at the host file's position; false for another one.
bool ReadStoreHeader(void* file, std::int32_t size, const StoreHeader& expected);
// False when it could not be written.
bool WriteStoreHeader(void* file, const StoreHeader& header);

// A name in a container's table holds 15 bytes and ignores case, so entries stand there under a
// hash of their full name. Names with one hash get a number behind it, up to this many.
inline constexpr int kSameHash = 4;
std::string TableName(const std::string& name, int number);

}  // namespace kr_app

// Looks a container file over without changing it: the header words, the table, the tree's links,
// the order of the contents, and every block with its checksum.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "krdcmmn/platform/export.h"

namespace KRD {

struct CONTAINER_DAMAGE {
  std::int32_t entry;  // table index, or -1 for the container as a whole
  std::string name;    // of that entry, as far as it can be read
  std::string text;    // what is wrong
};

// Everything that is wrong with the file at `path`, in table order; nothing for a sound container
// or an empty file. Of a damaged table nothing but the damage is told, since the rest cannot be
// found. Throws krerr::Win32Ecept when the file cannot be opened or read.
KRDCMMN_API std::vector<CONTAINER_DAMAGE> CheckContainer(const char* path);

}  // namespace KRD

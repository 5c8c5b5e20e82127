// The two file calls of the array and storage code. A file is a host file handle.
#pragma once

#include <cstdint>

#include "krdcmmn/platform/export.h"

namespace KRD {

// One transfer at the file position; gives the bytes transferred, which may be fewer. Throws
// krerr::Win32Ecept by value when the host's call fails.
KRDCMMN_API std::uint32_t ReadFile(void* file, void* buffer, std::uint32_t size);
KRDCMMN_API std::uint32_t WriteFile(void* file, const void* buffer, std::uint32_t size);

}  // namespace KRD

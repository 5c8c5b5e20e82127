#include "krdcmmn/core/block_io.h"

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/files.h"

namespace KRD {

std::uint32_t ReadFile(void* file, void* buffer, std::uint32_t size) {
  DWORD done = 0;
  if (!krplatform::ReadFile(file, buffer, size, &done, nullptr)) {
    throw krerr::Win32Ecept();
  }
  return done;
}

std::uint32_t WriteFile(void* file, const void* buffer, std::uint32_t size) {
  DWORD done = 0;
  if (!krplatform::WriteFile(file, buffer, size, &done, nullptr)) {
    throw krerr::Win32Ecept();
  }
  return done;
}

}  // namespace KRD

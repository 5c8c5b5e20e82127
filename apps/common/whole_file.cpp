#include "apps/common/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "apps/common/errors.h"

namespace kr_app {

namespace {

// The mode that a new file gets.
mode_t NewFileMode() {
  const mode_t masked = umask(0);
  umask(masked);
  return 0666 & ~masked;
}

[[noreturn]] void Fail(const std::string& path, int error) {
  throw Failure(path + ": cannot be written: " + std::strerror(error));
}

// 0, or the error.
int WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      return errno;
    }
    bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  return 0;
}

// The same, and the descriptor is closed in any case.
int WriteAndClose(int file, std::string_view bytes) {
  const int error = WriteAll(file, bytes);
  return close(file) != 0 && error == 0 ? errno : error;
}

}  // namespace

void WriteWholeFile(const std::string& path, std::string_view bytes) {
  if (path == "-") {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    return;
  }
  struct stat there {};
  const bool exists = stat(path.c_str(), &there) == 0;
  if (exists && !S_ISREG(there.st_mode)) {
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    const int error = file < 0 ? errno : WriteAndClose(file, bytes);
    if (error != 0) {
      Fail(path, error);
    }
    return;
  }
  std::string temporary = path + ".XXXXXX";
  const int file = mkostemp(temporary.data(), O_CLOEXEC);
  if (file < 0) {
    Fail(path, errno);
  }
  fchmod(file, exists ? there.st_mode & 0777 : NewFileMode());
  int error = WriteAndClose(file, bytes);
  if (error == 0 && std::rename(temporary.c_str(), path.c_str()) != 0) {
    error = errno;
  }
  if (error != 0) {
    unlink(temporary.c_str());
    Fail(path, error);
  }
}

}  // namespace kr_app

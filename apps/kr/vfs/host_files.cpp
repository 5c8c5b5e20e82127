#include "apps/kr/vfs/host_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "apps/common/errors.h"

namespace kr_app {
namespace {

constexpr std::size_t kPartBytes = 0x4000000;
constexpr std::size_t kFirstPartBytes = 0x10000;
constexpr mode_t kKeptMode = 0777;  // no set-id bits come out of a storage

[[noreturn]] void FailErrno(const std::string& path) {
  throw Failure(path + ": " + std::strerror(errno));
}

std::string Join(const std::string& directory, const std::string& name) {
  return directory.empty() || directory.back() == '/' ? directory + name : directory + '/' + name;
}

class Handle {
 public:
  explicit Handle(int handle) : handle_(handle) {}
  ~Handle() { ::close(handle_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  int get() const { return handle_; }

 private:
  int handle_;
};

HostEntry Describe(const struct stat& info, const std::string& path) {
  HostEntry entry;
  entry.kind = S_ISREG(info.st_mode)   ? HostKind::kFile
               : S_ISDIR(info.st_mode) ? HostKind::kDirectory
               : S_ISLNK(info.st_mode) ? HostKind::kLink
                                       : HostKind::kSpecial;
  entry.attributes.name = std::filesystem::path(path).filename().string();
  entry.attributes.directory = entry.kind == HostKind::kDirectory;
  entry.attributes.mode = info.st_mode & 07777;
  entry.attributes.seconds = info.st_mtim.tv_sec;
  entry.attributes.nanoseconds = static_cast<std::uint32_t>(info.st_mtim.tv_nsec);
  entry.device = info.st_dev;
  entry.node = info.st_ino;
  return entry;
}

// Access and change times for futimens.
void SetTimes(int handle, const Attributes& attributes) {
  constexpr std::uint32_t kNanosecondsMost = 999999999;
  timespec times[2];
  times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(attributes.seconds);
  times[0].tv_nsec = times[1].tv_nsec = std::min(attributes.nanoseconds, kNanosecondsMost);
  // A file system that cannot hold a time keeps its own; the file's bytes are right all the same.
  static_cast<void>(::futimens(handle, times));
}

}  // namespace

HostEntry LookAt(const std::string& path, Links links) {
  struct stat info;
  const int flags = links == Links::kTell ? AT_SYMLINK_NOFOLLOW : 0;
  if (::fstatat(AT_FDCWD, path.c_str(), &info, flags) != 0) {
    FailErrno(path);
  }
  return Describe(info, path);
}

std::vector<std::string> NamesIn(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path.c_str()), ::closedir);
  if (directory == nullptr) {
    FailErrno(path);
  }
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") {
      names.push_back(name);
    }
  }
  if (errno != 0) {
    FailErrno(path);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::deque<Bytes> ReadHostFile(const std::string& path, Attributes& attributes) {
  const Handle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat info;
  if (file.get() < 0 || ::fstat(file.get(), &info) != 0) {
    FailErrno(path);
  }
  if (!S_ISREG(info.st_mode)) {
    throw Failure(path + ": not a regular file any more");
  }
  std::deque<Bytes> parts;
  auto expected = static_cast<std::size_t>(info.st_size);
  attributes.size = 0;
  for (;;) {
    Bytes part;
    // One byte more than is expected, to see the end.
    part.setNElem(static_cast<unsigned>(
        std::min(kPartBytes, std::max(expected + 1, parts.empty() ? 1 : kFirstPartBytes))));
    std::size_t have = 0;
    while (have < part.count()) {
      const ssize_t n = ::read(file.get(), part.elements() + have, part.count() - have);
      if (n < 0 && errno != EINTR) {
        FailErrno(path);
      }
      if (n == 0) {
        break;
      }
      have += static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    const bool end = have < part.count();
    attributes.size += have;
    expected -= std::min(expected, have);
    if (have != 0) {
      part.setNElem(static_cast<unsigned>(have));
      part.put(parts.emplace_back());
    }
    if (end) {
      return parts;
    }
  }
}

HostDirectory::HostDirectory(int handle, std::string path)
    : handle_(handle), path_(std::move(path)) {}

HostDirectory::HostDirectory(const std::string& path) : handle_(-1), path_(path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  handle_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle_ < 0) {
    FailErrno(path);
  }
}

HostDirectory::HostDirectory(HostDirectory&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)), path_(std::move(other.path_)) {}

HostDirectory::~HostDirectory() {
  if (handle_ >= 0) {
    ::close(handle_);
  }
}

HostDirectory HostDirectory::enter(const std::string& name) {
  const std::string inner = Join(path_, name);
  if (::mkdirat(handle_, name.c_str(), 0700) != 0 && errno != EEXIST) {
    FailErrno(inner);
  }
  const int handle =
      ::openat(handle_, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (handle < 0) {
    if (errno == ENOTDIR || errno == ELOOP) {
      throw Failure(inner + ": in the way of a directory; move it, or extract elsewhere with -C");
    }
    FailErrno(inner);
  }
  return HostDirectory(handle, inner);
}

void HostDirectory::finish(const Attributes& attributes) {
  if (::fchmod(handle_, attributes.mode & kKeptMode) != 0) {
    FailErrno(path_);
  }
  SetTimes(handle_, attributes);
}

HostFileWriter::HostFileWriter(HostDirectory& directory, const Attributes& attributes)
    : directory_(directory), attributes_(attributes), handle_(-1) {
  for (unsigned i = 0; handle_ < 0; ++i) {
    temporary_ = ".kr-" + std::to_string(::getpid()) + '-' + std::to_string(i);
    handle_ = ::openat(directory.handle_, temporary_.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (handle_ < 0 && errno != EEXIST) {
      fail();
    }
  }
}

HostFileWriter::~HostFileWriter() {
  if (handle_ >= 0) {
    ::close(handle_);
    ::unlinkat(directory_.handle_, temporary_.c_str(), 0);
  }
}

void HostFileWriter::fail() {
  FailErrno(Join(directory_.path_, attributes_.name));
}

void HostFileWriter::write(const char* bytes, std::size_t size) {
  while (size != 0) {
    const ssize_t n = ::write(handle_, bytes, size);
    if (n < 0 && errno != EINTR) {
      fail();
    }
    bytes += std::max<ssize_t>(n, 0);
    size -= static_cast<std::size_t>(std::max<ssize_t>(n, 0));
  }
}

void HostFileWriter::finish() {
  if (::fchmod(handle_, attributes_.mode & kKeptMode) != 0) {
    fail();
  }
  SetTimes(handle_, attributes_);
  if (::renameat(directory_.handle_, temporary_.c_str(), directory_.handle_,
                 attributes_.name.c_str()) != 0) {
    fail();
  }
  // A late error of the write shows here.
  if (::close(std::exchange(handle_, -1)) != 0) {
    fail();
  }
}

}  // namespace kr_app

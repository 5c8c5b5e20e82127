#include "krdcmmn/platform/file_sharing.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

inline namespace krplatform {

namespace {

constexpr off_t kAreaSize = 0x1000000;
constexpr off_t kFirstArea = 0x7fffffff00000000;
constexpr std::chrono::milliseconds kGatePatience{5000};

enum Area { kReads, kWrites, kNoReading, kNoWriting };

struct flock AreaLock(Area area, short type) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = kFirstArea + area * kAreaSize;
  lock.l_len = kAreaSize;
  return lock;
}

bool KnowsNoLocks(int error) {
  return error == EINVAL || error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP;
}

// 0 when no other handle has a mark in `area`.
int AskArea(int fd, Area area) {
  struct flock lock = AreaLock(area, F_WRLCK);
  if (Carry([&] { return fcntl(fd, F_OFD_GETLK, &lock); }) != 0) {
    return KnowsNoLocks(errno) ? 0 : errno;
  }
  return lock.l_type == F_UNLCK ? 0 : EBUSY;
}

// A readable descriptor shares the area's first byte with the others; one that is not takes a byte
// of its own.
int MarkArea(int fd, Area area, bool readable) {
  struct flock lock = AreaLock(area, readable ? F_RDLCK : F_WRLCK);
  lock.l_len = 1;
  const off_t end = lock.l_start + kAreaSize;
  while (Carry([&] { return fcntl(fd, F_OFD_SETLK, &lock); }) != 0) {
    if (KnowsNoLocks(errno)) {
      return 0;
    }
    if ((errno != EAGAIN && errno != EACCES) || readable || ++lock.l_start == end) {
      return errno == EAGAIN || errno == EACCES ? EBUSY : errno;
    }
  }
  return 0;
}

}  // namespace

SharingGate::SharingGate(int fd) : fd_(fd) {
  const auto give_up = std::chrono::steady_clock::now() + kGatePatience;
  std::chrono::microseconds pause{50};
  while (Carry([&] { return flock(fd_, LOCK_EX | LOCK_NB); }) != 0) {
    if (errno != EWOULDBLOCK) {
      error_ = KnowsNoLocks(errno) ? 0 : errno;
      return;
    }
    if (std::chrono::steady_clock::now() > give_up) {
      error_ = EBUSY;
      return;
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(2 * pause, std::chrono::microseconds{2000});
  }
}

SharingGate::~SharingGate() {
  flock(fd_, LOCK_UN);
}

int WinSharing(const OpenFile& file, DWORD share, bool readable, bool empty) {
  const DWORD access = file.access;
  const int fd = file.fd();
  const std::pair<Area, bool> rows[] = {
      {kReads, (access & GENERIC_READ) != 0},
      {kWrites, (access & GENERIC_WRITE) != 0},
      {kNoReading, (share & FILE_SHARE_READ) == 0},
      {kNoWriting, (share & FILE_SHARE_WRITE) == 0},
  };
  constexpr Area kOpposite[] = {kNoReading, kNoWriting, kReads, kWrites};
  if (const int error = empty ? AskArea(fd, kNoWriting) : 0; error != 0) {
    return error;
  }
  for (const auto& [area, holds] : rows) {
    if (const int error = holds ? AskArea(fd, kOpposite[area]) : 0; error != 0) {
      return error;
    }
  }
  for (const auto& [area, holds] : rows) {
    if (const int error = holds ? MarkArea(fd, area, readable) : 0; error != 0) {
      return error;
    }
  }
  return 0;
}

// A mapping keeps the open file description and with it the locks, so they end here by name.
void EndSharing(const OpenFile& file) {
  if (file.owner != getpid()) {
    return;  // a process that was forked off later leaves its parent's alone
  }
  struct flock all = {};
  all.l_type = F_UNLCK;
  all.l_whence = SEEK_SET;
  all.l_start = kFirstArea;
  all.l_len = 4 * kAreaSize;
  fcntl(file.fd(), F_OFD_SETLK, &all);
}

}  // namespace krplatform

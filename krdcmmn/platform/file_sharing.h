// How open files of all processes keep out of each other's way.
//
// Sharing rests on locks of the open file description: they hold between processes and between two
// handles of one process alike, belong to the file whatever path led to it, and end with the
// process. Four areas far behind any real byte stand for what the open handles do and forbid:
//
//   area         locked by every handle that      an open fails on it when it
//   reads        has read access                  does not share reading
//   writes       has write access                 does not share writing
//   no reading   does not share reading           wants to read
//   no writing   does not share writing           wants to write
//
// Marks are shared locks, which any readable descriptor may take, so an exclusive reader of a
// read-only file shuts out everybody as well; whether others hold a mark is asked without taking a
// lock. Asking, marking and emptying are one step: meanwhile the opener holds the file's gate, an
// flock, which needs no access right at all and is never kept beyond the open.
//
// Pipes and devices have no sharing, nor has a file system that knows no locks.
#pragma once

#include "krdcmmn/platform/file_handles.h"

inline namespace krplatform {

// Holds a file's gate. A process that is stopped inside its own open, or a foreign program that
// keeps such a lock, is not waited for without end.
class SharingGate {
 public:
  explicit SharingGate(int fd);
  ~SharingGate();
  SharingGate(const SharingGate&) = delete;
  SharingGate& operator=(const SharingGate&) = delete;

  // 0, or why the gate is not held.
  int error() const { return error_; }

 private:
  int fd_;
  int error_ = 0;
};

// Checks the marks of others against the access and sharing of `file`, and sets its own. The caller
// holds the gate. `readable` tells whether the descriptor is; `empty` that the file is about to be
// emptied, which whoever does not share writing stands in the way of. 0 or an error; EBUSY is a
// clash.
int WinSharing(const OpenFile& file, DWORD share, bool readable, bool empty);

// Takes the marks away.
void EndSharing(const OpenFile& file);

}  // namespace krplatform

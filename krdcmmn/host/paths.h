// Relative and absolute paths of the form C:\DIR\FILE: pure work on text, no file is touched.
//
// The one separator is the backslash; the one relative step is "..\". A base is the path of a file,
// or of a directory with a backslash at its end: what follows its last backslash does not count.
// Paths may have any length. A null path reads as empty. Safe on any thread.
#pragma once

#include <cstdio>

#include "krdcmmn/platform/export.h"

namespace TOOLS {

// fopen; `flag` has no effect. Null when it fails.
KRDCMMN_API std::FILE* OpenFile(const char* path, const char* mode, int flag);

// Both write their result with its terminator to the `size` bytes at `out`, which may be one of the
// inputs, and give 0; with too little room they give the size to ask for and leave `out` untouched.
// An empty path gives an empty result.

// `path` as seen from `base`, found without regard to case (of the ANSI code page) and with the
// case of `path`. A path on another drive stays as it is. A result with a backslash in common asks
// for one byte more than it fills.
KRDCMMN_API int Abs2RelPath(const char* path, char* out, int size, const char* base);

// The reverse. A path that begins with a drive, a colon and a backslash stays as it is, and the
// rest of `out` is filled with zeros. Otherwise each "..\" of `path` goes up one directory, and
// what stands in front of the last of them is dropped. Steps beyond the root of `base` leave its
// first byte.
KRDCMMN_API int Rel2AbsPath(const char* path, char* out, int size, const char* base);

}  // namespace TOOLS

// Host files by handle: opening with access, sharing and disposition, transfer at a position,
// truncation, flush, size and mapping.
//
// Sharing holds between processes and inside one: an open succeeds only if its access is allowed by
// the sharing of every other open handle of the file and its sharing allows their access. The file
// counts, not the path that led to it, and nobody sees an open half done. Pipes and devices have no
// sharing, nor has a file system without locks. A handle that was inherited by a forked process is
// the parent's: its sharing ends when the parent closes it.
//
// Every call sets the thread's last error when it fails. A handle that is not open, or no longer,
// is ERROR_INVALID_HANDLE; a call that needs access the handle was not opened with is
// ERROR_ACCESS_DENIED.
#pragma once

#include <functional>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xffffffff;
inline constexpr DWORD INVALID_FILE_SIZE = 0xffffffff;
inline constexpr DWORD PAGE_READONLY = 2;  // PAGE_READWRITE stands in memory.h
inline constexpr DWORD FILE_MAP_WRITE = 2;
inline constexpr DWORD FILE_MAP_READ = 4;

// Opens `path`. CREATE_ALWAYS empties or creates, OPEN_ALWAYS opens or creates, OPEN_EXISTING only
// opens; a file is emptied only after its sharing has been won. `security` and `template_file` are
// null; `access` names reading, writing or both. A directory is not a file here. Gives a handle for
// CloseHandle, or INVALID_HANDLE_VALUE; ERROR_SHARING_VIOLATION tells that another handle stands in
// the way.
KRDCMMN_API HANDLE CreateFileA(const char* path, DWORD access, DWORD share, void* security,
                               DWORD disposition, DWORD attributes, HANDLE template_file);

// Releases a file or mapping handle. FALSE for anything else.
KRDCMMN_API BOOL CloseHandle(HANDLE handle);

// One transfer at the file position, which moves on by the bytes that were transferred. A read at
// the end of the file gives TRUE and 0 bytes. A call interrupted by the host is carried on inside.
// On FALSE `*done` tells the bytes that were transferred before the failure.
KRDCMMN_API BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* done, void* overlapped);
KRDCMMN_API BOOL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* done,
                           void* overlapped);

// Moves the file position; `method` is FILE_BEGIN, FILE_CURRENT or FILE_END. With `high` null the
// distance is a signed 32-bit number (FILE_BEGIN: unsigned); else `*high` holds its upper half and
// receives that of the new position. Gives the low 32 bits of the new position. A result of
// INVALID_SET_FILE_POINTER is a failure unless `high` is given and GetLastError is 0. Positions
// past the end are legal.
KRDCMMN_API DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method);

// Makes the current position the end of the file.
KRDCMMN_API BOOL SetEndOfFile(HANDLE file);

// Takes the file's data to the medium.
KRDCMMN_API BOOL FlushFileBuffers(HANDLE file);

// The low 32 bits of the file's length; `*high`, if given, receives the rest.
KRDCMMN_API DWORD GetFileSize(HANDLE file, DWORD* high);

// Makes sure that writing the first `size` bytes of the file cannot fail for want of space. Neither
// the file's length nor its contents change. FALSE when the space is not there; a file system that
// cannot promise gives TRUE.
KRDCMMN_API BOOL ReserveFileSpace(HANDLE file, std::uint64_t size);

// What the host knows of a path. The size is 32 bits wide: a larger file makes the call fail.
struct STAT64I32 {
  std::int32_t st_size;
  std::int64_t st_mtime_seconds;
};
// 0, or -1 when there is no such file or its size does not fit.
KRDCMMN_API int _stat64i32(const char* path, STAT64I32* out);

// A mapping of the first bytes of the file, which `size_high` and `size_low` count; 0 is all of it.
// The file is never lengthened: a size beyond its end is a failure. `security` and `name` are null.
// Null for an empty file or a failure.
KRDCMMN_API HANDLE CreateFileMappingA(HANDLE file, void* security, DWORD protection,
                                      DWORD size_high, DWORD size_low, const char* name);

// A view of the whole mapping (offset 0, `size` 0). It outlives the handles of mapping and file;
// the sharing that the file was opened with does not.
KRDCMMN_API void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                                std::size_t size);
KRDCMMN_API BOOL UnmapViewOfFile(const void* view);

// Test hook: asked before every transfer, truncation, flush and reservation. `error` other than 0
// makes the call fail with that code; a transfer is cut to `limit` bytes and then succeeds, short.
enum class FileStep { kRead, kWrite, kTruncate, kFlush, kReserve };
struct FileVerdict {
  DWORD error = 0;
  DWORD limit = 0xffffffff;
};
using FileHook = std::function<FileVerdict(FileStep step, std::uint64_t position, DWORD size)>;
KRDCMMN_API void SetFileHook(FileHook hook);  // empty removes it

}  // namespace krplatform

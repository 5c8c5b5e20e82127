// Modules: loading at run time, resources by type name and number, string resources.
//
// A module is the main program or a shared library. Its resources are compiled into it by the CMake
// function krd_add_resources (cmake/KrdResources.cmake) and register with the layer when the module
// is loaded, ahead of every static constructor of the module; they leave with it. A static library
// is part of the module that it is linked into, and so are its resources.
#pragma once

#include <cerrno>
#include <functional>
#include <string>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr DWORD ERROR_MOD_NOT_FOUND = ENOENT;
inline constexpr DWORD ERROR_BAD_MODULE = ELIBBAD;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = ENOSYS;

// The main program for a null `name`; else the loaded module of that file name, as LoadLibraryA
// would find it, or null.
KRDCMMN_API HMODULE GetModuleHandleA(const char* name);

// The module that holds the code or data at `address`: how a library names itself.
KRDCMMN_API HMODULE ModuleOfAddress(const void* address);

// Path of a module's file (null: the running executable), cut to `size` - 1 bytes and terminated.
// Gives the length of what it wrote, or 0.
KRDCMMN_API DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);

// Loads a shared library by name or path; each success takes one FreeLibrary. A file of exactly
// that path is taken first. Otherwise a name as the library's code asks for it, NAME.dll, means
// this host's NAME.so.1, NAME.so, or NAME.so with another version from 0 to 9: in the directory
// that the path names, if one of them is there, then where the host's loader looks. Null with the
// last error set: ERROR_MOD_NOT_FOUND, or ERROR_BAD_MODULE for a file that is there and cannot be
// loaded.
KRDCMMN_API HMODULE LoadLibraryA(const char* path);
// The address of a function or variable of a module; null with ERROR_PROC_NOT_FOUND.
KRDCMMN_API void* GetProcAddress(HMODULE module, const char* name);
KRDCMMN_API BOOL FreeLibrary(HMODULE module);

// Test hook: asked for each name that LoadLibraryA and GetProcAddress are given. It may change the
// name, and by FALSE it makes the call fail as if nothing of that name were there.
enum class LibraryStep { kLoad, kFunction };
using LibraryHook = std::function<bool(LibraryStep step, std::string& name)>;
KRDCMMN_API void SetLibraryHook(LibraryHook hook);  // empty removes it

// A resource of a module. The handles are borrowed: they live as long as the module. Types compare
// without case of ASCII letters. The type "STRINGS" holds string resources, as bytes of text in the
// ANSI code page: a line each, with the number, one blank or tab, and the text, in which \n \r \t
// and \\ stand for line feed, carriage return, tab and backslash. Empty lines and lines that begin
// with # count for nothing.
using HRSRC = const struct RESOURCE*;
struct RESOURCE {
  const char* type;           // "KR_MSG", "SHP", "STRINGS", ...
  std::uint32_t number;       // 16 bits are used
  const unsigned char* data;  // `size` bytes
  std::uint32_t size;
  const RESOURCE* next;  // of the same module
};

// Null `module` is the main program. Null, with ERROR_RESOURCE_NOT_FOUND, when it has no such
// resource. Of two with one type and number the one that registered first counts.
KRDCMMN_API HRSRC FindResourceA(HMODULE module, std::uint32_t number, const char* type);
KRDCMMN_API const RESOURCE* LoadResource(HMODULE module, HRSRC resource);
KRDCMMN_API const void* LockResource(const RESOURCE* loaded);
KRDCMMN_API DWORD SizeofResource(HMODULE module, HRSRC resource);

// Copies string resource `id` of `module` (null: the main program) into `buffer`, cut to `size` - 1
// bytes and terminated. Gives the bytes copied; 0, and an empty text, when there is no such string.
KRDCMMN_API int LoadStringA(HINSTANCE module, UINT id, char* buffer, int size);

// Called by generated code when a module is loaded and unloaded: `first` is a chain that belongs to
// the module, `anchor` any address in it.
KRDCMMN_API void RegisterResources(const void* anchor, const RESOURCE* first);
KRDCMMN_API void UnregisterResources(const RESOURCE* first);

// Order of what runs by itself when a module of the library is loaded, as priorities of static
// construction (the lower, the earlier; destruction goes the other way round). Everything else of
// the process, static constructors of the program that links the static library included, comes
// behind.
inline constexpr int kResourcesPriority = 101;  // the first that is free for programs
inline constexpr int kTraceStreamPriority = 201;
inline constexpr int kTraceNamePriority = 202;
inline constexpr int kNodeStackPriority = 203;
inline constexpr int kTextBufferPriority = 204;
inline constexpr int kAttachPriority = 301;

}  // namespace krplatform

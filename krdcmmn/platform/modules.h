// Modules: loading at run time, resources by type name and number, string resources.
//
// A module is the main program or a shared library. Its resources are compiled into it by the CMake
// function krd_add_resources (cmake/KrdResources.cmake) and register with the layer when the module
// is loaded; they leave with it.
#pragma once

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

// The main program for a null `name`; else the module whose file name is `name`, or null.
KRDCMMN_API HMODULE GetModuleHandleA(const char* name);

// The module that holds the code or data at `address`: how a library names itself.
KRDCMMN_API HMODULE ModuleOfAddress(const void* address);

// Path of a module's file (null: the running executable), cut to `size` - 1 bytes. Gives its
// length, or 0.
KRDCMMN_API DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);

// Loads a shared library by name or path. A name as the library's code asks for it ("libexpat.dll")
// is turned into this host's: in the directory that the path names first, then where the host's
// loader looks. Null with the last error set; LoaderText tells what the loader said.
KRDCMMN_API HMODULE LoadLibraryA(const char* path);
KRDCMMN_API void* GetProcAddress(HMODULE module, const char* name);
KRDCMMN_API BOOL FreeLibrary(HMODULE module);

// A resource of a module. The handles are borrowed: they live as long as the module.
using HRSRC = const struct RESOURCE*;
struct RESOURCE {
  const char* type;           // "KR_MSG", "SHP", "STRING", ... compared without case
  std::uint32_t number;       // 16 bits are used
  const unsigned char* data;  // `size` bytes
  std::uint32_t size;
  const RESOURCE* next;  // of the same module
};

// Null `module` is the main program. Null, with the last error set, when it has no such resource.
KRDCMMN_API HRSRC FindResourceA(HMODULE module, std::uint32_t number, const char* type);
KRDCMMN_API const RESOURCE* LoadResource(HMODULE module, HRSRC resource);
KRDCMMN_API const void* LockResource(const RESOURCE* loaded);
KRDCMMN_API DWORD SizeofResource(HMODULE module, HRSRC resource);

// Copies string resource `id` of `module` (null: the main program) into `buffer`, cut to `size` - 1
// bytes and terminated. Gives the bytes copied, 0 when there is no such string.
KRDCMMN_API int LoadStringA(HINSTANCE module, UINT id, char* buffer, int size);

// Called by generated code when a module is loaded and unloaded: `first` is a chain that belongs to
// the module, `anchor` any address in it.
KRDCMMN_API void RegisterResources(const void* anchor, const RESOURCE* first);
KRDCMMN_API void UnregisterResources(const RESOURCE* first);

}  // namespace krplatform

#include "krdcmmn/platform/modules.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/errors.h"

inline namespace krplatform {

namespace {

LibraryHook& Hook() {
  static LibraryHook hook;
  return hook;
}

// What a call is to look for when it is asked for `name`; false when the hook refuses it.
bool AskHook(LibraryStep step, std::string& name) {
  return !Hook() || Hook()(step, name);
}

// The loader's handle of a module is the address of its link map.
HMODULE ModuleOfHandle(void* handle) {
  return static_cast<HMODULE>(handle);
}

bool FileExists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

// This host's file names for a library's name, the likeliest first.
std::vector<std::string> HostNames(const std::string& name) {
  constexpr std::string_view kSuffix = ".dll";
  if (name.size() <= kSuffix.size() ||
      _stricmp(name.c_str() + name.size() - kSuffix.size(), kSuffix.data()) != 0) {
    return {name};
  }
  const std::string stem = name.substr(0, name.size() - kSuffix.size()) + ".so";
  std::vector<std::string> names = {stem + ".1", stem};
  for (const char* version : {".0", ".2", ".3", ".4", ".5", ".6", ".7", ".8", ".9"}) {
    names.push_back(stem + version);
  }
  return names;
}

// Opens the module that `path` means by `flags`, as LoadLibraryA's comment tells.
void* OpenModule(const std::string& path, int flags) {
  const std::string directory = DirectoryOf(path);
  const std::vector<std::string> names = HostNames(path.substr(directory.size()));
  std::vector<std::string> here = {path};
  for (const std::string& name : names) {
    here.push_back(directory + name);
  }
  for (const std::string& file : here) {
    if (!directory.empty() && FileExists(file)) {
      void* handle = dlopen(file.c_str(), flags);
      if (handle == nullptr) {
        SetLastError(ERROR_BAD_MODULE);
      }
      return handle;
    }
  }
  for (const std::string& name : names) {
    if (void* handle = dlopen(name.c_str(), flags)) {
      return handle;
    }
  }
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

// Copies as much of `text` as `size` bytes hold with a terminator; gives its length.
std::size_t CopyCut(std::string_view text, char* to, std::size_t size) {
  const std::size_t length = std::min(text.size(), size - 1);
  std::memcpy(to, text.data(), length);
  to[length] = '\0';
  return length;
}

}  // namespace

void SetLibraryHook(LibraryHook hook) {
  Hook() = std::move(hook);
}

HMODULE GetModuleHandleA(const char* name) {
  void* handle = nullptr;
  if (name == nullptr) {
    handle = dlopen(nullptr, RTLD_LAZY);
  } else {
    handle = OpenModule(name, RTLD_LAZY | RTLD_NOLOAD);
  }
  if (handle == nullptr) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  dlclose(handle);  // the handle is borrowed: it takes no count
  return ModuleOfHandle(handle);
}

HMODULE ModuleOfAddress(const void* address) {
  Dl_info info = {};
  link_map* module = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) == 0) {
    return nullptr;
  }
  return ModuleOfHandle(module);
}

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size) {
  if (path == nullptr || size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const char* file = "";
  if (module != nullptr) {
    file = reinterpret_cast<const link_map*>(module)->l_name;
  }
  char executable[PATH_MAX];
  if (file[0] == '\0') {  // the main program has no name in the loader's list
    const ssize_t length = readlink("/proc/self/exe", executable, sizeof executable);
    if (length <= 0) {
      SetLastError(static_cast<DWORD>(errno));
      return 0;
    }
    return static_cast<DWORD>(CopyCut({executable, static_cast<std::size_t>(length)}, path, size));
  }
  return static_cast<DWORD>(CopyCut(file, path, size));
}

HMODULE LoadLibraryA(const char* path) {
  std::string name = path != nullptr ? path : "";
  if (!AskHook(LibraryStep::kLoad, name) || name.empty()) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  return ModuleOfHandle(OpenModule(name, RTLD_NOW | RTLD_LOCAL));
}

void* GetProcAddress(HMODULE module, const char* name) {
  std::string function = name != nullptr ? name : "";
  void* address = nullptr;
  if (module != nullptr && AskHook(LibraryStep::kFunction, function)) {
    address = dlsym(module, function.c_str());
  }
  if (address == nullptr) {
    SetLastError(ERROR_PROC_NOT_FOUND);
  }
  return address;
}

BOOL FreeLibrary(HMODULE module) {
  if (module == nullptr || dlclose(module) != 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return TRUE;
}

}  // namespace krplatform

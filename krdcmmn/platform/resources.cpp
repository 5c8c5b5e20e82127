// Resources of modules, as platform/modules.h declares them. What generated code calls here may run
// before any static constructor of the process, so everything is ready without one.

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <string_view>

#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/modules.h"

inline namespace krplatform {

namespace {

constexpr std::uint32_t kNumberMask = 0xffff;
constexpr char kStringsType[] = "STRINGS";

// What one call of RegisterResources left, in the order of the calls.
struct Registration {
  HMODULE module;
  const RESOURCE* first;
  Registration* next;
};

constinit Registration* registrations = nullptr;
constinit std::mutex registering;

HMODULE MainIfNull(HMODULE module) {
  return module != nullptr ? module : GetModuleHandleA(nullptr);
}

// The first resource of `module` that `wanted` accepts, or null.
template <typename Predicate>
const RESOURCE* Search(HMODULE module, Predicate wanted) {
  HMODULE owner = MainIfNull(module);
  const std::lock_guard lock(registering);
  for (const Registration* entry = registrations; entry != nullptr; entry = entry->next) {
    if (entry->module != owner) {
      continue;
    }
    for (const RESOURCE* resource = entry->first; resource != nullptr; resource = resource->next) {
      if (wanted(*resource)) {
        return resource;
      }
    }
  }
  return nullptr;
}

// Takes the next line from `text`, without its line end.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  return line;
}

// True, with the text behind the number in `line`, when the line begins with the number `id`.
bool TakeNumber(std::string_view& line, UINT id) {
  std::uint64_t number = 0;
  std::size_t digits = 0;
  while (digits < line.size() && line[digits] >= '0' && line[digits] <= '9' &&
         number <= UINT32_MAX) {
    number = number * 10 + static_cast<unsigned>(line[digits++] - '0');
  }
  const bool ended = digits == line.size() || line[digits] == ' ' || line[digits] == '\t';
  if (digits == 0 || !ended || number != id) {
    return false;
  }
  line.remove_prefix(std::min(digits + 1, line.size()));
  return true;
}

// The byte that stands at the start of `text`, which is not empty; takes it off.
char TakeByte(std::string_view& text) {
  const char byte = text[0];
  text.remove_prefix(1);
  if (byte != '\\' || text.empty()) {
    return byte;
  }
  const char escape = text[0];
  text.remove_prefix(1);
  switch (escape) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return escape;
  }
}

// The text behind number `id` in a table of strings, escapes and all.
bool FindLine(const RESOURCE& table, UINT id, std::string_view& found) {
  std::string_view rest(reinterpret_cast<const char*>(table.data), table.size);
  while (!rest.empty()) {
    std::string_view line = TakeLine(rest);
    if (TakeNumber(line, id)) {
      found = line;
      return true;
    }
  }
  return false;
}

}  // namespace

void RegisterResources(const void* anchor, const RESOURCE* first) {
  auto* entry = new (std::nothrow) Registration{ModuleOfAddress(anchor), first, nullptr};
  if (entry == nullptr) {
    std::abort();  // the module is being loaded: nobody is there to be told
  }
  const std::lock_guard lock(registering);
  Registration** end = &registrations;
  while (*end != nullptr) {
    end = &(*end)->next;
  }
  *end = entry;
}

void UnregisterResources(const RESOURCE* first) {
  const std::lock_guard lock(registering);
  for (Registration** link = &registrations; *link != nullptr; link = &(*link)->next) {
    if ((*link)->first == first) {
      Registration* entry = *link;
      *link = entry->next;
      delete entry;
      return;
    }
  }
}

HRSRC FindResourceA(HMODULE module, std::uint32_t number, const char* type) {
  const RESOURCE* found = nullptr;
  if (type != nullptr) {
    found = Search(module, [&](const RESOURCE& resource) {
      return (resource.number & kNumberMask) == (number & kNumberMask) &&
             _stricmp(resource.type, type) == 0;
    });
  }
  if (found == nullptr) {
    SetLastError(ERROR_RESOURCE_NOT_FOUND);
  }
  return found;
}

const RESOURCE* LoadResource(HMODULE, HRSRC resource) {
  if (resource == nullptr) {
    SetLastError(ERROR_RESOURCE_NOT_FOUND);
  }
  return resource;
}

const void* LockResource(const RESOURCE* loaded) {
  if (loaded == nullptr) {
    SetLastError(ERROR_RESOURCE_NOT_FOUND);
    return nullptr;
  }
  return loaded->data;
}

DWORD SizeofResource(HMODULE, HRSRC resource) {
  return resource != nullptr ? resource->size : 0;
}

int LoadStringA(HINSTANCE module, UINT id, char* buffer, int size) {
  if (buffer == nullptr || size <= 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  buffer[0] = '\0';
  std::string_view text;
  const RESOURCE* table = Search(module, [&](const RESOURCE& resource) {
    return _stricmp(resource.type, kStringsType) == 0 && FindLine(resource, id, text);
  });
  if (table == nullptr) {
    SetLastError(ERROR_RESOURCE_NOT_FOUND);
    return 0;
  }
  int length = 0;
  while (!text.empty() && length < size - 1) {
    buffer[length++] = TakeByte(text);
  }
  buffer[length] = '\0';
  return length;
}

}  // namespace krplatform

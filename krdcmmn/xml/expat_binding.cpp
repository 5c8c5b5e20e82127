#include "krdcmmn/xml/expat_binding.h"

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/modules.h"

namespace kr {

namespace {

constexpr char kExpat[] = "libexpat.dll";
constexpr DWORD kMaxPath = 260;

std::string BesideExecutable(const std::string& name) {
  char path[kMaxPath] = "";
  const std::string executable(path, GetModuleFileNameA(nullptr, path, kMaxPath));
  return executable.substr(0, executable.find_last_of("/\\") + 1) + name;
}

template <class Function>
void Bind(const DynamicLibrary& library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(library.function(name));
}

}  // namespace

DynamicLibrary::~DynamicLibrary() {
  free();
}

void DynamicLibrary::load(const std::string& name, bool beside) {
  free();
  const std::string path = beside ? BesideExecutable(name) : name;
  module = LoadLibraryA(path.c_str());
  if (module == nullptr) {
    throw DllException(("Failed to load library " + path).c_str());
  }
  owned = true;
}

void DynamicLibrary::free() {
  if (owned && module != nullptr) {
    FreeLibrary(module);
  }
  module = nullptr;
  owned = false;
}

void* DynamicLibrary::function(const char* name) const {
  void* address = GetProcAddress(module, name);
  if (address == nullptr) {
    throw DllException((std::string("Failed to find function '") + name + "' by name").c_str());
  }
  return address;
}

ExpatBinding::ExpatBinding() {
  library.load(kExpat, true);
  Bind(library, "XML_ParserCreate", ParserCreate);
  Bind(library, "XML_SetElementHandler", SetElementHandler);
  Bind(library, "XML_SetCharacterDataHandler", SetCharacterDataHandler);
  Bind(library, "XML_Parse", Parse);
  Bind(library, "XML_ParserFree", ParserFree);
  Bind(library, "XML_GetErrorCode", GetErrorCode);
  Bind(library, "XML_ErrorString", ErrorString);
  Bind(library, "XML_GetCurrentLineNumber", GetCurrentLineNumber);
  Bind(library, "XML_GetCurrentColumnNumber", GetCurrentColumnNumber);
  Bind(library, "XML_SetUserData", SetUserData);
}

ExpatBinding::~ExpatBinding() {
  FreeParser();
}

void ExpatBinding::FreeParser() {
  if (parser != nullptr) {
    ParserFree(parser);
    parser = nullptr;
  }
}

}  // namespace kr

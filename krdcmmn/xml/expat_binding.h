// The XML parser's library, bound at run time: loaded by name, reached through ten functions, freed
// with the object. expat.h gives the types only. Private to the library.
#pragma once

#include <expat.h>
#include <string>

#include "krdcmmn/platform/types.h"

namespace kr {

// One shared library, freed with the object.
class DynamicLibrary {
 public:
  DynamicLibrary() = default;
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  // Loads `name`, from the directory of the running executable when `beside` is set. A library that
  // is held is freed first. Throws DllException "Failed to load library PATH".
  void load(const std::string& name, bool beside);
  void free();

  // Throws DllException "Failed to find function 'NAME' by name".
  void* function(const char* name) const;

 private:
  HMODULE module = nullptr;
  bool owned = false;  // loaded here, to be freed here
};

// The functions, and the parser of the parse that is running.
struct ExpatBinding {
  // Throws DllException; nothing stays loaded then.
  ExpatBinding();
  ~ExpatBinding();
  ExpatBinding(const ExpatBinding&) = delete;
  ExpatBinding& operator=(const ExpatBinding&) = delete;

  void FreeParser();

  DynamicLibrary library;

  decltype(&::XML_ParserCreate) ParserCreate;
  decltype(&::XML_SetElementHandler) SetElementHandler;
  decltype(&::XML_SetCharacterDataHandler) SetCharacterDataHandler;
  decltype(&::XML_Parse) Parse;
  decltype(&::XML_ParserFree) ParserFree;
  decltype(&::XML_GetErrorCode) GetErrorCode;
  decltype(&::XML_ErrorString) ErrorString;
  decltype(&::XML_GetCurrentLineNumber) GetCurrentLineNumber;
  decltype(&::XML_GetCurrentColumnNumber) GetCurrentColumnNumber;
  decltype(&::XML_SetUserData) SetUserData;

  XML_Parser parser = nullptr;
};

}  // namespace kr

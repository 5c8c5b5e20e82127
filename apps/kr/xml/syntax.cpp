#include "apps/kr/xml/syntax.h"

#include <algorithm>
#include <expat.h>
#include <limits>

#include "krdcmmn/platform/modules.h"

namespace kr_app {
namespace {

// The parser that the library loads too.
class Expat {
 public:
  Expat() : module_(LoadLibraryA("libexpat.dll")) {}
  ~Expat() {
    if (module_ != nullptr) {
      FreeLibrary(module_);
    }
  }
  Expat(const Expat&) = delete;
  Expat& operator=(const Expat&) = delete;

  bool is_loaded() const { return module_ != nullptr; }

  template <class Function>
  bool find(const char* name, Function& function) const {
    function = reinterpret_cast<Function>(GetProcAddress(module_, name));
    return function != nullptr;
  }

 private:
  HMODULE module_;
};

}  // namespace

std::optional<std::string> SyntaxError(std::string_view text) {
  const Expat expat;
  decltype(&XML_ParserCreate) create;
  decltype(&XML_Parse) parse;
  decltype(&XML_ParserFree) free;
  decltype(&XML_GetErrorCode) code;
  decltype(&XML_ErrorString) describe;
  decltype(&XML_GetCurrentLineNumber) line;
  decltype(&XML_GetCurrentColumnNumber) column;
  if (!expat.is_loaded() || !expat.find("XML_ParserCreate", create) ||
      !expat.find("XML_Parse", parse) || !expat.find("XML_ParserFree", free) ||
      !expat.find("XML_GetErrorCode", code) || !expat.find("XML_ErrorString", describe) ||
      !expat.find("XML_GetCurrentLineNumber", line) ||
      !expat.find("XML_GetCurrentColumnNumber", column)) {
    return std::nullopt;
  }
  XML_Parser parser = create(nullptr);
  if (parser == nullptr) {
    return std::nullopt;
  }
  constexpr std::size_t kPiece = 1 << 24;
  std::optional<std::string> error;
  bool last = false;
  while (!last && !error) {
    const std::size_t piece = std::min(text.size(), kPiece);
    last = piece == text.size();
    if (parse(parser, text.data(), static_cast<int>(piece), last) != XML_STATUS_OK) {
      error = std::to_string(line(parser)) + ":" + std::to_string(column(parser) + 1) + ": " +
              describe(code(parser));
    }
    text.remove_prefix(piece);
  }
  free(parser);
  return error;
}

}  // namespace kr_app

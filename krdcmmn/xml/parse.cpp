#include "krdcmmn/xml/parse.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <string>

#include "krdcmmn/host/file.h"
#include "krdcmmn/host/mapfile.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/modules.h"
#include "krdcmmn/xml/access.h"
#include "krdcmmn/xml/builder.h"
#include "krdcmmn/xml/expat_binding.h"
#include "krdcmmn/xml/parse_state.h"
#include "krdcmmn/xml/tag_positions.h"

namespace kr {

namespace {

constexpr char kMessageType[] = "KR_MSG";
constexpr int kParsed = 1;

// One parse of one text. An exception never travels through the parser's frames: a handler keeps
// it, no further event counts, and it is thrown again behind the parser's end.
class ParseRun {
 public:
  ParseRun(ExpatBinding& expat, XmlDocument& doc, const char* text, int length)
      : expat_(expat),
        doc_(doc),
        text_(text),
        length_(length),
        builder_(doc),
        positions_(expat, text, length > 0 ? static_cast<std::size_t>(length) : 0) {}

  bool Run() {
    expat_.parser = expat_.ParserCreate(nullptr);
    if (expat_.parser == nullptr) {
      throw std::exception();
    }
    expat_.SetElementHandler(expat_.parser, OnStart, OnEnd);
    expat_.SetCharacterDataHandler(expat_.parser, OnCharacters);
    expat_.SetUserData(expat_.parser, this);
    nodeStack.clear();
    currentNode = doc_.Root();
    const int status = expat_.Parse(expat_.parser, text_, length_, 1);
    Guarded([this] { builder_.Finish(); });
    if (!failed_ && status != kParsed) {
      std::printf("Error: %s \n", expat_.ErrorString(expat_.GetErrorCode(expat_.parser)));
    }
    expat_.FreeParser();
    if (failed_) {
      std::rethrow_exception(failure_);
    }
    return status == kParsed;
  }

 private:
  template <class Work>
  void Guarded(Work work) {
    try {
      work();
    } catch (...) {
      if (!failed_) {
        failure_ = std::current_exception();
      }
      failed_ = true;
    }
  }

  template <class Work>
  static void Handle(void* user_data, Work work) {
    auto* run = static_cast<ParseRun*>(user_data);
    if (!run->failed_) {
      run->Guarded([&] { work(*run); });
    }
  }

  static void XMLCALL OnStart(void* user_data, const XML_Char* name, const XML_Char** attributes) {
    Handle(user_data, [&](ParseRun& run) { run.Start(name, attributes); });
  }
  static void XMLCALL OnEnd(void* user_data, const XML_Char*) {
    Handle(user_data, [](ParseRun& run) { run.End(); });
  }
  static void XMLCALL OnCharacters(void* user_data, const XML_Char* bytes, int count) {
    Handle(user_data, [&](ParseRun& run) {
      run.positions_.Characters(bytes, static_cast<std::size_t>(count));
      textBuffer.Append(bytes, static_cast<std::size_t>(count));
    });
  }

  void Start(const XML_Char* name, const XML_Char** attributes) {
    builder_.Text(textBuffer.data(), textBuffer.size());
    textBuffer.Clear();
    const XmlBuilder::Name element = builder_.NameOf(name);
    const TagPosition at = positions_.StartTag(name, element.length);
    nodeStack.push_back(currentNode);
    currentNode = XmlAccess::Node(doc_, builder_.Open(element.id, at.line, at.column));
    for (const XML_Char** pair = attributes; *pair != nullptr; pair += 2) {
      const XmlBuilder::Name attr = builder_.NameOf(pair[0]);
      const std::size_t length = std::strlen(pair[1]);
      positions_.Attribute(attr.length, length);
      builder_.Attr(attr.id, pair[1], length);
    }
    positions_.StartTagEnd();
  }

  void End() {
    builder_.Close(textBuffer.data(), textBuffer.size());
    textBuffer.Clear();
    positions_.EndTag();
    currentNode = nodeStack.back();
    nodeStack.pop_back();
  }

  ExpatBinding& expat_;
  XmlDocument& doc_;
  const char* text_;
  int length_;
  XmlBuilder builder_;
  TagPositions positions_;
  bool failed_ = false;
  std::exception_ptr failure_;
};

// A whole text that may be too long for the parser's one call.
bool ParseWhole(ExpatBinding& expat, const char* text, std::size_t length, XmlDocument& doc) {
  if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    std::printf("Error: %s \n", expat.ErrorString(XML_ERROR_NO_MEMORY));
    return false;
  }
  return ParseRun(expat, doc, text, static_cast<int>(length)).Run();
}

// Whatever `work` throws becomes a MapExcept that names the file; the thread's last error still
// tells why.
template <class Work>
void Naming(const char* path, Work work) {
  try {
    work();
  } catch (const std::exception&) {
    throw mapfile::MapExcept(path);
  }
}

}  // namespace

bool ParseXMLString(const char* text, int length, XmlDocument& doc) {
  ExpatBinding expat;
  return ParseRun(expat, doc, text, length).Run();
}

bool ParseXMLFile(const char* path, XmlDocument& doc) {
  ExpatBinding expat;
  // A view shuts nobody out; the open file does, until the parse has ended.
  file held;
  mapfile view;
  Naming(path, [&] { held.open(path, false, true, false); });
  Naming(path, [&] { view.open(held, false); });
  return ParseWhole(expat, static_cast<const char*>(view.data()), view.size(), doc);
}

bool LoadXMLFromResources(HINSTANCE module, std::uint32_t id, XmlDocument& doc) {
  const HRSRC found = FindResourceA(module, id & 0xffffu, kMessageType);
  const RESOURCE* loaded = found != nullptr ? LoadResource(module, found) : nullptr;
  const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (bytes == nullptr) {
    throw krerr::Win32Ecept();
  }
  const std::string text(static_cast<const char*>(bytes), SizeofResource(module, found));
  ExpatBinding expat;
  return ParseWhole(expat, text.data(), text.size(), doc);
}

}  // namespace kr

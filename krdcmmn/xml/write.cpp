#include "krdcmmn/xml/write.h"

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "krdcmmn/host/codepage.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/xml/access.h"

namespace kr {

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kBufferSize = 0x40000;

struct Entity {
  char byte;
  std::string_view form;
};
constexpr Entity kEntities[] = {
    {'"', "&quot;"}, {'&', "&amp;"}, {'\'', "&apos;"}, {'<', "&lt;"}, {'>', "&gt;"},
};

// A new file, written in large pieces. After a failure the rest goes nowhere.
class Output {
 public:
  explicit Output(const char* path)
      : file_(CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)),
        buffer_(kBufferSize) {}
  ~Output() {
    if (IsOpen()) {
      Flush();
      CloseHandle(file_);
    }
  }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  bool IsOpen() const { return file_ != nullptr && file_ != INVALID_HANDLE_VALUE; }

  void Put(std::string_view bytes) {
    while (bytes.size() > buffer_.size() - used_) {
      const std::size_t part = buffer_.size() - used_;
      Copy(bytes.substr(0, part));
      bytes.remove_prefix(part);
      Flush();
    }
    Copy(bytes);
  }
  void Put(char byte) {
    if (used_ == buffer_.size()) {
      Flush();
    }
    buffer_[used_++] = byte;
  }

 private:
  void Copy(std::string_view bytes) {
    std::memcpy(buffer_.data() + used_, bytes.data(), bytes.size());
    used_ += bytes.size();
  }

  void Flush() {
    std::size_t at = 0;
    while (!failed_ && at < used_) {
      DWORD done = 0;
      failed_ = WriteFile(file_, buffer_.data() + at, static_cast<DWORD>(used_ - at), &done,
                          nullptr) == FALSE ||
                done == 0;
      at += done;
    }
    used_ = 0;
  }

  HANDLE file_;
  std::vector<char> buffer_;
  std::size_t used_ = 0;
  bool failed_ = false;
};

// What the bytes of a text become: the ANSI code page has one byte a character, so that each byte
// has its own form.
class OutputForms {
 public:
  OutputForms() {
    const bool ascii_stays = AnsiHoldsAscii() != FALSE;
    for (int byte = 1; byte < 0x80; ++byte) {
      stays_[static_cast<std::size_t>(byte)] = ascii_stays;
    }
    for (const Entity& entity : kEntities) {
      const std::size_t i = Index(entity.byte);
      stays_[i] = false;
      forms_[i] = Convert(entity.form);
    }
  }

  void Put(Output& out, const char* text) {
    for (;;) {
      const char* p = text;
      while (stays_[Index(*p)]) {
        ++p;
      }
      out.Put(std::string_view(text, static_cast<std::size_t>(p - text)));
      if (*p == '\0') {
        return;
      }
      std::string& form = forms_[Index(*p)];
      if (form.empty()) {
        form = Convert(std::string_view(p, 1));
      }
      out.Put(std::string_view(form));
      text = p + 1;
    }
  }

 private:
  static std::size_t Index(char byte) { return static_cast<unsigned char>(byte); }
  static std::string Convert(std::string_view text) {
    return AnsiToUtf8(text.data(), static_cast<unsigned>(text.size()));
  }

  std::array<bool, 256> stays_{};  // false for the terminator
  std::array<std::string, 256> forms_;
};

class Writer {
 public:
  Writer(const XmlDocument& doc, Output& out) : doc_(doc), out_(out) {}

  // A node is entered once and left once; those in between are on the stack.
  void PutTree() {
    std::vector<int> open;
    int node = XmlAccess::Child(doc_, XmlAccess::Root(doc_));
    for (;;) {
      while (node >= 0) {
        if (PutStart(node)) {
          open.push_back(node);
          node = XmlAccess::Child(doc_, node);
        } else {
          node = XmlAccess::Next(doc_, node);
        }
      }
      if (open.empty()) {
        return;
      }
      PutEnd(open.back());
      node = XmlAccess::Next(doc_, open.back());
      open.pop_back();
    }
  }

 private:
  // The node's start tag and text, and its end when it has no child. True when it has one.
  bool PutStart(int node) {
    out_.Put('<');
    PutName(XmlAccess::NameId(doc_, node));
    for (int a = XmlAccess::Attrs(doc_, node); a >= 0; a = XmlAccess::AttrNext(doc_, a)) {
      out_.Put(' ');
      PutName(XmlAccess::AttrNameId(doc_, a));
      out_.Put("=\"");
      forms_.Put(out_, XmlAccess::Value(doc_, a));
      out_.Put('"');
    }
    const bool has_child = XmlAccess::Child(doc_, node) >= 0;
    const char* text = XmlAccess::Data(doc_, node);
    if (*text == '\0' && !has_child) {
      out_.Put("/>\r\n");
      return false;
    }
    out_.Put('>');
    if (*text != '\0') {
      forms_.Put(out_, text);
    } else {
      out_.Put(kLineEnd);
    }
    if (!has_child) {
      PutEnd(node);
    }
    return has_child;
  }

  void PutEnd(int node) {
    out_.Put("</");
    PutName(XmlAccess::NameId(doc_, node));
    out_.Put(">\r\n");
  }

  void PutName(int id) { out_.Put(std::string_view(XmlAccess::Name(doc_, id))); }

  const XmlDocument& doc_;
  Output& out_;
  OutputForms forms_;
};

}  // namespace

bool WriteXMLDocument(const char* path, const XmlDocument& doc) {
  if (path == nullptr) {
    return false;
  }
  Output out(path);
  if (!out.IsOpen()) {
    return false;
  }
  out.Put(kDeclaration);
  Writer(doc, out).PutTree();
  return true;
}

}  // namespace kr

#include "krdcmmn/xml/builder.h"

#include <cstring>
#include <string>

#include "krdcmmn/host/codepage.h"
#include "krdcmmn/platform/codepage.h"

namespace kr {

namespace {

bool IsAscii(const char* text, std::size_t length) {
  unsigned char bits = 0;
  for (std::size_t i = 0; i < length; ++i) {
    bits |= static_cast<unsigned char>(text[i]);
  }
  return bits < 0x80;
}

}  // namespace

XmlBuilder::XmlBuilder(XmlDocument& doc) : doc_(doc), ascii_stays_(AnsiHoldsAscii()) {
  recent_.fill(-1);
}

// A document has few names and many elements: most names are found here, by one comparison.
int XmlBuilder::NameId(const char* name) {
  const std::size_t length = std::strlen(name);
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
  const std::size_t slot =
      length == 0 ? 0
                  : (length * 7 + byte(0) * 31u + byte(length / 2) * 5u + byte(length - 1)) %
                        recent_.size();
  if (recent_[slot] < 0 || std::strcmp(doc_.Name(recent_[slot]), name) != 0) {
    recent_[slot] = doc_.names.add(name);
  }
  return recent_[slot];
}

int XmlBuilder::AddNode(int parent, const char* name, int line, int pos) {
  return doc_.AddNode(parent, NameId(name), line, pos);
}

void XmlBuilder::AddAttr(int node, const char* name, const char* value) {
  const int name_id = NameId(name);
  const std::size_t length = std::strlen(value);
  if (ascii_stays_ && IsAscii(value, length)) {
    doc_.AddAttr(node, name_id, value);
  } else {
    doc_.AddAttr(node, name_id, Utf8ToAnsi(value, static_cast<unsigned>(length)).c_str());
  }
}

void XmlBuilder::SetText(int node, const char* text, std::size_t length) {
  doc_.SetData(node, Utf8ToAnsi(text, static_cast<unsigned>(length)).c_str());
}

void XmlBuilder::EmptyText(int node) {
  if (doc_.nodeData.len(static_cast<unsigned>(node)) > 1) {
    doc_.SetData(node, "");
  }
}

void XmlBuilder::Finish() {
  doc_.nodeData.settle();
  doc_.attrData.settle();
}

}  // namespace kr

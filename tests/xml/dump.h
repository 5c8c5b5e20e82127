// A tree as one line of text, and what tests of the XML room share.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "krdcmmn/xml/document.h"
#include "krdcmmn/xml/parse.h"
#include "krdcmmn/xml/write.h"

#include "tests/support/temp_dir.h"

namespace krtest {

enum class Places { kNo, kYes };

// name@line:pos[attr=value ...]"text"{children}, the places only if asked for and what is empty
// left out. Siblings are divided by a blank.
inline void DumpNode(kr::XmlNodeConst node, Places places, std::string& out);

inline void DumpChildren(kr::XmlNodeConst node, Places places, std::string& out) {
  bool first = true;
  for (kr::XmlNodeConst child = node.child(); !child.end(); ++child) {
    out += first ? "" : " ";
    first = false;
    DumpNode(child, places, out);
  }
}

inline void DumpNode(kr::XmlNodeConst node, Places places, std::string& out) {
  struct Mutable : kr::XmlNode {
    explicit Mutable(const kr::XmlNodeConst& n) : kr::XmlNode(n) {}
  };
  out += node.name();
  if (places == Places::kYes) {
    const Mutable at(node);
    out += "@" + std::to_string(at.line()) + ":" + std::to_string(at.Pos());
  }
  if (!node.attrs().end()) {
    out += "[";
    for (kr::XmlAttrConst attr = node.attrs(); !attr.end(); ++attr) {
      out += attr.getID() == node.attrs().getID() ? "" : " ";
      out += std::string(attr.name()) + "=" + attr.data();
    }
    out += "]";
  }
  if (*node.data() != '\0') {
    out += "\"" + std::string(node.data()) + "\"";
  }
  if (!node.child().end()) {
    out += "{";
    DumpChildren(node, places, out);
    out += "}";
  }
}

inline std::string Dump(kr::XmlNodeConst node, Places places = Places::kNo) {
  std::string out;
  DumpNode(node, places, out);
  return out;
}

// What stands below the root, and the root's own text.
inline std::string Dump(const kr::XmlDocument& doc, Places places = Places::kNo) {
  std::string out;
  DumpChildren(doc.Root(), places, out);
  return *doc.Root().data() == '\0' ? out : out + " root:\"" + doc.Root().data() + "\"";
}

// Parses and gives the parser's verdict; what it prints is dropped.
inline bool Parse(const std::string& text, kr::XmlDocument& doc) {
  testing::internal::CaptureStdout();
  bool parsed = false;
  try {
    parsed = kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
  } catch (...) {
    testing::internal::GetCapturedStdout();
    throw;
  }
  testing::internal::GetCapturedStdout();
  return parsed;
}

// The parser keeps text that a rejected parse left unused; this takes it away.
inline void ForgetText() {
  kr::XmlDocument doc;
  Parse("<a/>", doc);
}

inline std::string Parsed(const std::string& text, Places places = Places::kNo) {
  kr::XmlDocument doc;
  const bool parsed = Parse(text, doc);
  if (!parsed) {
    ForgetText();
  }
  return (parsed ? "" : "rejected: ") + Dump(doc, places);
}

inline std::string Written(const kr::XmlDocument& doc) {
  const TempDir dir;
  EXPECT_TRUE(kr::WriteXMLDocument(dir.file("out.xml").c_str(), doc));
  return ReadBytes(dir.file("out.xml"));
}

}  // namespace krtest

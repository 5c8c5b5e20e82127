// A tree as one line of text.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "krdcmmn/xml/document.h"

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

}  // namespace krtest

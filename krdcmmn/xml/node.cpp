// The handles' operations.
#include <string>
#include <vector>

#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/xml/document.h"

namespace kr {

XmlNodeConst XmlNodeConst::child() const {
  return live() ? XmlNodeConst(doc, XmlDocument::At(doc->nodeChild, id)) : XmlNodeConst();
}

XmlAttrConst XmlNodeConst::attrs() const {
  return live() ? XmlAttrConst(doc, XmlDocument::At(doc->nodeAttrs, id)) : XmlAttrConst();
}

const char* XmlNodeConst::name() const {
  return live() ? doc->Name(XmlDocument::At(doc->nodeName, id)) : nullptr;
}

const char* XmlNodeConst::data() const {
  return live() ? doc->nodeData(static_cast<unsigned>(id)) : nullptr;
}

bool XmlNodeConst::isNameEq(const char* text) const {
  return live() && text != nullptr && lstrcmpA(name(), text) == 0;
}

bool XmlNodeConst::isDataEq(const char* text) const {
  return live() && text != nullptr && lstrcmpA(data(), text) == 0;
}

XmlNodeConst XmlNodeConst::findNodeConst(const char* name, bool deep) const {
  const int name_id = live() && name != nullptr ? doc->names(name) : -1;
  return name_id >= 0 ? _findNode(name_id, deep) : XmlNodeConst();
}

XmlAttrConst XmlNodeConst::findAttrConst(const char* name) const {
  const int name_id = live() && name != nullptr ? doc->names(name) : -1;
  return name_id >= 0 ? _findAttr(name_id) : XmlAttrConst();
}

// Each node's children are looked through when the walk enters it, and entered one after the other
// only if none of them matches.
XmlNodeConst XmlNodeConst::_findNode(int nameId, bool deep) const {
  std::vector<int> later;  // siblings at which the walk goes on
  int node = id;
  for (;;) {
    const int first = XmlDocument::At(doc->nodeChild, node);
    for (int k = first; k >= 0; k = XmlDocument::At(doc->nodeNext, k)) {
      if (XmlDocument::At(doc->nodeName, k) == nameId) {
        return {doc, k};
      }
    }
    if (!deep) {
      return {};
    }
    if (first >= 0) {
      node = first;
    } else if (!later.empty()) {
      node = later.back();
      later.pop_back();
    } else {
      return {};
    }
    const int next = XmlDocument::At(doc->nodeNext, node);
    if (next >= 0) {
      later.push_back(next);
    }
  }
}

XmlAttrConst XmlNodeConst::_findAttr(int nameId) const {
  for (int a = XmlDocument::At(doc->nodeAttrs, id); a >= 0; a = XmlDocument::At(doc->attrNext, a)) {
    if (XmlDocument::At(doc->attrName, a) == nameId) {
      return {doc, a};
    }
  }
  return {};
}

XmlNode XmlNode::addNode(const char* name, int line, int pos) {
  if (!live()) {
    return {};
  }
  return {doc, doc->AddNode(id, doc->names.add(name != nullptr ? name : ""), line, pos)};
}

XmlAttr XmlNode::addAttr(const char* name, const char* value) {
  if (!live()) {
    return {};
  }
  name = name != nullptr ? name : "";
  const XmlAttrConst found = findAttrConst(name);
  if (!found.end()) {
    doc->SetValue(found.id, value);
    return found;
  }
  // A new name can move the names, and the value may be one of them.
  const std::string own(value != nullptr ? value : "");
  return XmlAttrConst(doc, doc->AddAttr(id, doc->names.add(name), own.c_str()));
}

XmlNode XmlNode::delChildNode(const XmlNode& node) {
  if (!live() || !node.live() || node.doc != doc) {
    return {};
  }
  const int gone = node.id;
  int before = -1;
  int at = XmlDocument::At(doc->nodeChild, id);
  while (at >= 0 && at != gone) {
    before = at;
    at = XmlDocument::At(doc->nodeNext, at);
  }
  if (at < 0) {
    return {};
  }
  std::int32_t& link = XmlDocument::At(doc->nodeNext, gone);
  const int next = link;
  doc->DeleteChildNodes(gone);
  doc->DeleteAttrs(gone);
  (before >= 0 ? XmlDocument::At(doc->nodeNext, before) : XmlDocument::At(doc->nodeChild, id)) =
      next;
  if (XmlDocument::At(doc->nodeLastChild, id) == gone) {
    XmlDocument::At(doc->nodeLastChild, id) = before;
  }
  link = doc->freeNodes;
  doc->freeNodes = gone;
  return {doc, next};
}

void XmlNode::setData(const char* text) {
  if (live()) {
    doc->SetData(id, text);
  }
}

int XmlNode::line() const {
  return live() ? XmlDocument::At(doc->nodeLine, id) : -1;
}

int XmlNode::Pos() const {
  return live() ? XmlDocument::At(doc->nodePos, id) : -1;
}

}  // namespace kr

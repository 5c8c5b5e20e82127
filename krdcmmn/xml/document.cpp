#include "krdcmmn/xml/document.h"

#include <initializer_list>

namespace kr {

namespace {

constexpr char kRootName[] = "###root###";

const char* Given(const char* text) {
  return text != nullptr ? text : "";
}

// Of the entry that was appended last; others wait beside the pool, where a text costs its own
// length and not that of all texts behind it.
void Replace(KRD::BASE_TEXT& texts, int i, const char* text) {
  if (i == texts.nElem() - 1) {
    texts.set(i, Given(text));
  } else {
    texts.setLater(i, Given(text));
  }
}

}  // namespace

XmlDocument::XmlDocument() : root(-1), freeNodes(-1), freeAttrs(-1) {
  clear();
}

XmlDocument::XmlDocument(const XmlDocument&) : XmlDocument() {}

XmlDocument& XmlDocument::operator=(const XmlDocument&) {
  return *this;
}

XmlDocument::~XmlDocument() = default;

void XmlDocument::clear() {
  names.empty();
  root = -1;
  for (INTS* array : {&nodeName, &nodeNext, &nodeChild, &nodeLastChild, &nodeAttrs, &nodeLastAttr,
                      &nodeLine, &nodePos, &attrNext, &attrName}) {
    array->empty();
  }
  nodeData.empty();
  attrData.empty();
  freeNodes = -1;
  freeAttrs = -1;
  root = CreateNode(kRootName, -1, -1);
}

XmlNode XmlDocument::Root() {
  return {this, root};
}

XmlNodeConst XmlDocument::Root() const {
  return {const_cast<XmlDocument*>(this), root};
}

int XmlDocument::CreateNode(const char* name, int line, int pos) {
  return TakeNode(names.add(Given(name)), line, pos);
}

int XmlDocument::CreateAttr(const char* name, const char* value) {
  return TakeAttr(names.add(Given(name)), value);
}

int XmlDocument::TakeNode(int name_id, int line, int pos) {
  if (freeNodes >= 0) {
    const int id = freeNodes;
    Replace(nodeData, id, "");
    freeNodes = At(nodeNext, id);
    At(nodeName, id) = name_id;
    At(nodeLine, id) = line;
    At(nodePos, id) = pos;
    return id;
  }
  // The text comes last and counts the slots: after a failure in between, the next creation finds
  // arrays that are long enough already.
  const int id = NodeSlots();
  Extend(nodeName, id, name_id);
  Extend(nodeNext, id, -1);
  Extend(nodeChild, id, -1);
  Extend(nodeLastChild, id, -1);
  Extend(nodeAttrs, id, -1);
  Extend(nodeLastAttr, id, -1);
  Extend(nodeLine, id, line);
  Extend(nodePos, id, pos);
  nodeData.add("");
  return id;
}

int XmlDocument::TakeAttr(int name_id, const char* value) {
  if (freeAttrs >= 0) {
    const int id = freeAttrs;
    Replace(attrData, id, value);
    freeAttrs = At(attrNext, id);
    At(attrName, id) = name_id;
    return id;
  }
  const int id = AttrSlots();
  Extend(attrNext, id, -1);
  Extend(attrName, id, name_id);
  attrData.add(Given(value));
  return id;
}

void XmlDocument::Extend(INTS& array, int id, std::int32_t value) {
  array.setNElem(static_cast<unsigned>(id) + 1);
  At(array, id) = value;
}

int XmlDocument::AddNode(int parent, int name_id, int line, int pos) {
  const int id = TakeNode(name_id, line, pos);
  const int last = At(nodeLastChild, parent);
  (last >= 0 ? At(nodeNext, last) : At(nodeChild, parent)) = id;
  At(nodeLastChild, parent) = id;
  At(nodeNext, id) = -1;
  return id;
}

int XmlDocument::AddAttr(int node, int name_id, const char* value) {
  const int id = TakeAttr(name_id, value);
  const int last = At(nodeLastAttr, node);
  (last >= 0 ? At(attrNext, last) : At(nodeAttrs, node)) = id;
  At(nodeLastAttr, node) = id;
  At(attrNext, id) = -1;
  return id;
}

void XmlDocument::DeleteAttr(int id) {
  At(attrNext, id) = freeAttrs;
  freeAttrs = id;
}

void XmlDocument::DeleteAttrs(int node) {
  const int first = At(nodeAttrs, node);
  const int last = At(nodeLastAttr, node);
  if (first < 0 || last < 0) {
    return;
  }
  At(attrNext, last) = freeAttrs;
  freeAttrs = first;
  At(nodeAttrs, node) = -1;
  At(nodeLastAttr, node) = -1;
}

// Children in order, each with its attributes and then all below it; the list of children goes onto
// the chain after what is below it. A node on the way down has given its attributes away, so the
// field of the first one holds the way back.
void XmlDocument::DeleteChildNodes(int node) {
  int owner = node;
  int child = At(nodeChild, owner);
  for (;;) {
    while (child >= 0) {
      DeleteAttrs(child);
      if (At(nodeChild, child) >= 0) {
        At(nodeAttrs, child) = owner;
        owner = child;
        child = At(nodeChild, owner);
      } else {
        child = At(nodeNext, child);
      }
    }
    if (At(nodeChild, owner) >= 0) {
      At(nodeNext, At(nodeLastChild, owner)) = freeNodes;
      freeNodes = At(nodeChild, owner);
      At(nodeChild, owner) = -1;
      At(nodeLastChild, owner) = -1;
    }
    if (owner == node) {
      return;
    }
    const int above = At(nodeAttrs, owner);
    At(nodeAttrs, owner) = -1;
    child = At(nodeNext, owner);
    owner = above;
  }
}

void XmlDocument::SetData(int node, const char* text) {
  Replace(nodeData, node, text);
}

void XmlDocument::SetValue(int attr, const char* value) {
  Replace(attrData, attr, value);
}

}  // namespace kr

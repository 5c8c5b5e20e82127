// The library's own way to a document's tables and from slots to handles, for the parts that work
// on slots: the parser, the writer and the merge. Not for users.
#pragma once

#include "krdcmmn/xml/document.h"

namespace kr {

struct XmlAccess {
  using INTS = XmlDocument::INTS;

  static XmlNode Node(XmlDocument& doc, int slot) { return {&doc, slot}; }
  static XmlNodeConst Node(const XmlDocument& doc, int slot) {
    return {const_cast<XmlDocument*>(&doc), slot};
  }
  static XmlDocument* Document(const XmlNodeConst& node) { return node.doc; }
  static bool IsLive(const XmlNodeConst& node) { return node.live(); }

  static int NodeSlots(const XmlDocument& doc) { return doc.NodeSlots(); }
  static int AttrSlots(const XmlDocument& doc) { return doc.AttrSlots(); }

  static int Root(const XmlDocument& doc) { return doc.root; }
  static int NameId(const XmlDocument& doc, int node) { return At(doc.nodeName, node); }
  static int Next(const XmlDocument& doc, int node) { return At(doc.nodeNext, node); }
  static int Child(const XmlDocument& doc, int node) { return At(doc.nodeChild, node); }
  static int Attrs(const XmlDocument& doc, int node) { return At(doc.nodeAttrs, node); }
  static int AttrNext(const XmlDocument& doc, int attr) { return At(doc.attrNext, attr); }
  static int AttrNameId(const XmlDocument& doc, int attr) { return At(doc.attrName, attr); }
  static const char* Name(const XmlDocument& doc, int id) { return doc.Name(id); }
  static const char* Data(const XmlDocument& doc, int node) {
    return doc.nodeData(static_cast<unsigned>(node));
  }
  static const char* Value(const XmlDocument& doc, int attr) {
    return doc.attrData(static_cast<unsigned>(attr));
  }

  static KRD::HASH_TEXT& Names(XmlDocument& doc) { return doc.names; }
  static const KRD::HASH_TEXT& Names(const XmlDocument& doc) { return doc.names; }

  static int AddNode(XmlDocument& doc, int parent, int name_id, int line, int pos) {
    return doc.AddNode(parent, name_id, line, pos);
  }
  static int AddAttr(XmlDocument& doc, int node, int name_id, const char* value) {
    return doc.AddAttr(node, name_id, value);
  }
  static void SetData(XmlDocument& doc, int node, const char* text) { doc.SetData(node, text); }
  // Writes texts that wait beside the pools into their places.
  static void Settle(XmlDocument& doc) {
    doc.nodeData.settle();
    doc.attrData.settle();
  }

 private:
  static std::int32_t At(const INTS& array, int i) { return XmlDocument::At(array, i); }
};

}  // namespace kr

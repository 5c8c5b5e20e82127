// XmlDocument: a whole XML tree in parallel integer arrays and three text tables, and the handles
// through which it is read and changed.
//
// A node or an attribute is a small integer, its slot in the arrays. A handle is the pair of slot
// and document: two words, passed by value, owning nothing. The empty handle is -1 and null.
//
//   for (kr::XmlNode n = doc.Root().child(); !n.end(); ++n) { ... }
//
// The model holds elements only: a name, attributes and children in order, and one text (`data`).
// The root is a container, "###root###"; the outermost element of a parsed file is its child.
//
// Slots never move, so handles stay right while other nodes come and go. A deleted node's slot goes
// on a free chain, last in first out, and a later creation takes it; a handle to a deleted node is
// not detected and reads whatever the slot holds. A handle beyond the slots of a document that was
// cleared acts like the empty one. Pointers from `name` and `data` last until the next call that
// changes the document. One thread at a time; const operations side by side only without writers.
// Null reads as the empty text wherever a name, a value or a text is given. The arrays' and text
// tables' exceptions pass through.
#pragma once

#include <cstdint>

#include "krdcmmn/core/tarray.h"
#include "krdcmmn/platform/export.h"
#include "krdcmmn/text/hash_text.h"

namespace kr {

class XmlAttr;
class XmlAttrConst;
class XmlNode;
class XmlNodeConst;

class KRDCMMN_API XmlDocument {
 public:
  // A document with only the root: line -1, position -1, no text.
  XmlDocument();
  ~XmlDocument();

  // Back to a document with only the root, which is slot 0 again. Memory stays for reuse.
  void clear();

  XmlNode Root();
  XmlNodeConst Root() const;

  // Completes the tree below `target` with what the tree below `source` has and it lacks, and
  // changes nothing that is there. A child corresponds to the first target child with its name and
  // the same values of all its attributes, but those that "attrs_to_be_ignored" names: an attribute
  // of the reference tree, names separated by `|`, that rules its node and all below until a deeper
  // one replaces it, and that is never copied. What has no counterpart is added behind the target's
  // children, with line and position -1. The handles may belong to any documents; inside one
  // document the reference is what it was when the call began. Time is about proportional to the
  // children looked at; the depth of the trees is limited by memory alone. An exception leaves in
  // the target what was merged up to then.
  void ResurrectNodes(XmlNode target, XmlNodeConst source);

 protected:
  // A document is not copied: the copy starts as a new document, assignment does nothing.
  XmlDocument(const XmlDocument&);
  XmlDocument& operator=(const XmlDocument&);

  // A slot for a node or an attribute that is linked nowhere yet. A reused node slot keeps its
  // `nodeNext` for the caller to set.
  int CreateNode(const char* name, int line, int pos);
  int CreateAttr(const char* name, const char* value);

  // Puts one attribute slot on the free chain; unlinks it from nothing.
  void DeleteAttr(int id);
  // Frees the node's attributes as one piece, in list order.
  void DeleteAttrs(int node);
  // Frees all descendants with their attributes. Needs no memory, whatever the depth.
  void DeleteChildNodes(int node);

  void SetData(int node, const char* text);

 private:
  friend class XmlNodeConst;
  friend class XmlNode;
  friend class XmlAttrConst;
  friend struct XmlAccess;
  friend class XmlBuilder;

  using INTS = KRD::TARRAY<std::int32_t>;

  static std::int32_t& At(INTS& array, int i) { return array[static_cast<unsigned>(i)]; }
  static std::int32_t At(const INTS& array, int i) { return array[static_cast<unsigned>(i)]; }
  int NodeSlots() const { return nodeData.nElem(); }
  int AttrSlots() const { return attrData.nElem(); }
  const char* Name(int id) const { return names(static_cast<unsigned>(id)); }

  // The creations behind CreateNode and addNode, CreateAttr and addAttr, for a name that is
  // interned; the last two link the new slot as the last one of its owner.
  int TakeNode(int name_id, int line, int pos);
  int TakeAttr(int name_id, const char* value);
  int AddNode(int parent, int name_id, int line, int pos);
  int AddAttr(int node, int name_id, const char* value);
  void SetValue(int attr, const char* value);
  static void Extend(INTS& array, int id, std::int32_t value);

  KRD::HASH_TEXT names;  // element and attribute names, once each; the index is the name's id
  int root;

  INTS nodeName;            // name id
  INTS nodeNext;            // next sibling, of a free slot the next free one; -1 at the end
  INTS nodeChild;           // first child, -1 for none, as in the three below
  INTS nodeLastChild;       // last child
  INTS nodeAttrs;           // first attribute
  INTS nodeLastAttr;        // last attribute
  INTS nodeLine;            // line of the start tag, or what addNode was given
  INTS nodePos;             // column of the start tag, or what addNode was given
  KRD::BASE_TEXT nodeData;  // entry i is the text of node i

  INTS attrNext;            // next attribute, of a free slot the next free one; -1 at the end
  INTS attrName;            // name id
  KRD::BASE_TEXT attrData;  // entry i is the value of attribute i

  int freeNodes;  // heads of the chains of free slots, -1 for none
  int freeAttrs;
};

// A read-only attribute handle. On the empty handle and at the end `name` and `data` give null.
class KRDCMMN_API XmlAttrConst {
 public:
  XmlAttrConst() = default;

  bool end() const { return id < 0 || doc == nullptr; }
  // The next attribute of the node. Does nothing at the end.
  void operator++() {
    if (live()) {
      id = XmlDocument::At(doc->attrNext, id);
    }
  }
  const char* name() const {
    return live() ? doc->Name(XmlDocument::At(doc->attrName, id)) : nullptr;
  }
  const char* data() const { return live() ? doc->attrData(static_cast<unsigned>(id)) : nullptr; }
  // The slot, -1 at the end.
  int getID() const { return id; }

 protected:
  XmlAttrConst(XmlDocument* document, int slot) : id(slot), doc(document) {}

 private:
  friend class XmlNodeConst;
  friend class XmlNode;
  friend struct XmlAccess;

  bool live() const { return !end() && id < doc->AttrSlots(); }

  int id = -1;
  XmlDocument* doc = nullptr;
};

class KRDCMMN_API XmlAttr : public XmlAttrConst {
 public:
  XmlAttr() = default;
  XmlAttr(const XmlAttrConst& other) : XmlAttrConst(other) {}
};

// A read-only node handle. Operations on the empty handle and at the end of a walk give the empty
// handle, null or false.
class KRDCMMN_API XmlNodeConst {
 public:
  XmlNodeConst() = default;
  XmlNodeConst(const XmlNodeConst&) = default;
  void operator=(const XmlNodeConst& other) {
    id = other.id;
    doc = other.doc;
  }

  bool end() const { return id < 0 || doc == nullptr; }
  // The next sibling. A finished walk holds -1 and the document; does nothing then.
  void operator++() {
    if (live()) {
      id = XmlDocument::At(doc->nodeNext, id);
    }
  }
  // The first child, the first attribute; -1 and the document when there is none.
  XmlNodeConst child() const;
  XmlAttrConst attrs() const;

  const char* name() const;
  const char* data() const;  // empty when the node has no text
  // The same bytes.
  bool isNameEq(const char* text) const;
  bool isDataEq(const char* text) const;

  // The first child of that name. With `deep`: else the first hit of the same search in each child
  // in turn, so that a direct child goes before any deeper node and the first child's subtree
  // before the second's. No walk for a name that the document never held.
  XmlNodeConst findNodeConst(const char* name, bool deep) const;
  XmlAttrConst findAttrConst(const char* name) const;

  // The slot, -1 for the empty handle.
  int getID() const { return id; }

 protected:
  XmlNodeConst(XmlDocument* document, int slot) : id(slot), doc(document) {}

  // The searches by name id; need a handle that is not at its end.
  XmlNodeConst _findNode(int nameId, bool deep) const;
  XmlAttrConst _findAttr(int nameId) const;

  bool live() const { return !end() && id < doc->NodeSlots(); }

  int id = -1;
  XmlDocument* doc = nullptr;

 private:
  friend class XmlDocument;
  friend struct XmlAccess;
};

// A node handle that can change the document.
class KRDCMMN_API XmlNode : public XmlNodeConst {
 public:
  XmlNode() = default;
  XmlNode(const XmlNode&) = default;
  void operator=(const XmlNode& other) { XmlNodeConst::operator=(other); }

  XmlNode child() const { return XmlNode(XmlNodeConst::child()); }
  XmlAttr attrs() const { return XmlAttr(XmlNodeConst::attrs()); }
  XmlNode findNode(const char* name, bool deep) const { return XmlNode(findNodeConst(name, deep)); }
  XmlAttr findAttr(const char* name) const { return XmlAttr(findAttrConst(name)); }

  // A new last child; gives its handle.
  XmlNode addNode(const char* name, int line, int pos);
  // A new last attribute, or a new value of the attribute of that name, which keeps its place;
  // gives its handle.
  XmlAttr addAttr(const char* name, const char* value);
  // Removes a child with its subtree and gives the handle of the sibling behind it, -1 and the
  // document after the last. A node that is not a child of this one gives the empty handle, with
  // nothing changed.
  XmlNode delChildNode(const XmlNode& node);
  // Replaces the text. Takes time in proportion to `text`.
  void setData(const char* text);

  // What the start tag's place was, or what addNode was given; -1 at the end.
  int line() const;
  int Pos() const;

 protected:
  XmlNode(XmlDocument* document, int slot) : XmlNodeConst(document, slot) {}
  explicit XmlNode(const XmlNodeConst& other) : XmlNodeConst(other) {}
  void operator=(const XmlNodeConst& other) { XmlNodeConst::operator=(other); }

 private:
  friend class XmlDocument;
  friend struct XmlAccess;
};

}  // namespace kr

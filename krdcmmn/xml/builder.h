// Fills a document from the events of a parse. Private to the library.
//
// What a caller sees afterwards is what addNode, addAttr and setData would have made, event by
// event. But every child's end empties its parent's text, which lies in front of the child's in the
// pool: so the texts of open elements wait beside the document, and what a parent keeps at its own
// end is put into its place at the end of the parse, for all parents in one pass. The arrays grow
// in pieces and are cut to their length then.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "krdcmmn/xml/document.h"

namespace kr {

class XmlBuilder {
 public:
  // Elements are added below the root. Until Finish the document is not to be used.
  explicit XmlBuilder(XmlDocument& doc);

  // An interned name.
  struct Name {
    int id;
    std::uint32_t length;
  };
  Name NameOf(const char* name);

  // A start tag: gives the slot of a new last child of the open element.
  int Open(int name_id, int line, int pos);
  // An attribute of the element that was opened last; the name is new there.
  void Attr(int name_id, const char* value, std::size_t length);
  // Character data that replaces the open element's text; no data leaves it as it is.
  void Text(const char* text, std::size_t length);
  // An end tag: the open element takes this text, or keeps its own when there is none, and its
  // parent's becomes empty.
  void Close(const char* text, std::size_t length);

  // Brings all texts into their places. After an exception too, so that the tree is whole.
  void Finish();

 private:
  using INTS = XmlDocument::INTS;

  // An open element. Its text lies in open_text_ from `mark` to the mark of the next one.
  struct Frame {
    int node;
    std::uint32_t mark;
    bool changed;  // the text, since the element was opened
  };

  // A text that waits for the end of the parse.
  struct Waiting {
    int node;
    std::uint32_t start;
    std::uint32_t length;
  };

  // The arrays' elements, at the addresses that are good until they grow; null before they grow for
  // the first time.
  struct Nodes {
    std::int32_t *name, *next, *child, *last_child, *attrs, *last_attr, *line, *pos, *text;
  };
  struct Attrs {
    std::int32_t *next, *name, *value;
  };

  // A text table's pool, and the end of the strings in it.
  struct Pool {
    KRD::TARRAY<char>& array;
    std::size_t used;
  };

  int AppendNode(int parent, int name_id, int line, int pos);
  Name HashedName(const char* name);
  static void Reserve(Pool& pool, std::size_t size);
  static void Append(Pool& pool, const char* text, std::size_t length);
  void AppendUtf8(Pool& pool, const char* text, std::size_t length);
  void GrowNodes();
  void GrowAttrs();
  void Trim();
  void Wait(const Frame& frame, std::size_t end);
  void PutWaitingTexts();

  XmlDocument& doc_;
  const bool ascii_stays_;  // ASCII text needs no conversion
  const int first_new_;     // slots below were there before

  int node_count_;
  int node_room_;
  int attr_count_;
  int attr_room_;
  Nodes nodes_{};
  Attrs attrs_{};
  Pool texts_;
  Pool values_;

  std::vector<Frame> frames_;  // from the root to the element that is open
  std::vector<char> open_text_;
  std::vector<Waiting> waiting_;
  std::vector<char> waiting_text_;

  // Names that were seen lately: by the address of the parser's string, which it uses again and
  // again, and by a short hash of the text. Each is compared before it is used.
  std::array<Name, 256> by_address_;
  std::array<Name, 256> by_text_;
};

}  // namespace kr

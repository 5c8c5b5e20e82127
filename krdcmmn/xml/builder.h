// Fills a document from UTF-8 text: interns names, converts values and texts to the ANSI code page.
// Private to the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "krdcmmn/xml/access.h"

namespace kr {

class XmlBuilder {
 public:
  explicit XmlBuilder(XmlDocument& doc);

  // As addNode, addAttr (for a name that the node does not have) and setData do.
  int AddNode(int parent, const char* name, int line, int pos);
  void AddAttr(int node, const char* name, const char* value);
  void SetText(int node, const char* text, std::size_t length);
  void EmptyText(int node);

  // Writes texts that wait beside the pools into their places.
  void Finish();

 private:
  int NameId(const char* name);

  XmlDocument& doc_;
  bool ascii_stays_;                      // ASCII text needs no conversion
  std::array<std::int32_t, 256> recent_;  // ids of names seen last, by a short hash; -1 for none
};

}  // namespace kr

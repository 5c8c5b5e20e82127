// Looks up, among the children of one node, the first that corresponds to a node of another tree.
// Private to the library.
#pragma once

#include <memory>
#include <vector>

#include "krdcmmn/xml/document.h"

namespace kr {

// What a child must have: this name, and these attributes with these values. Ids are those of the
// document that is searched, -1 for a name that it does not hold.
struct Wanted {
  struct Attr {
    int name_id;
    const char* name;
    const char* value;
  };

  const char* name = "";
  int name_id = -1;
  std::vector<Attr> attrs;  // by rising name id
  // No name is empty. The name table does not keep the empty name unique, so that then texts
  // are compared instead of ids.
  bool by_id = true;
};

// A child and its place among its siblings; -1 for none.
struct Counterpart {
  int node = -1;
  int place = -1;
};

// Gives at each moment what a search through the children from the first to the last would give.
// The first searches are just that; once they get long, children are found by a hash of their name
// and compared values, one index for each set of compared names. Children may only be added at the
// end, and attributes only be added, while the object lives.
class Counterparts {
 public:
  // Children of `parent`, not null.
  Counterparts(const XmlDocument& doc, int parent);
  ~Counterparts();
  Counterparts(Counterparts&&) noexcept;

  // `more`: further searches follow, so that an index may pay.
  Counterpart Find(const Wanted& wanted, bool more);

  // A child that was found has got further attributes.
  void AttributesAdded(const Counterpart& child);

 private:
  class Index;

  Index* IndexFor(const Wanted& wanted, bool make);

  const XmlDocument& doc_;
  int parent_;
  std::unique_ptr<std::vector<Index>> indices_;  // null until a search gets long
};

}  // namespace kr

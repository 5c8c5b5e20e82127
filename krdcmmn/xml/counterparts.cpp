#include "krdcmmn/xml/counterparts.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include "krdcmmn/xml/access.h"

namespace kr {

namespace {

constexpr int kShortWalk = 16;           // children that are looked at without an index
constexpr std::size_t kMaxIndices = 16;  // further sets of compared names are searched for
constexpr std::size_t kFirstEntries = 64;
constexpr std::uint64_t kGoldenRatio = 0x9e3779b97f4a7c15u;  // multiplicative hashing (Knuth)

int FindAttr(const XmlDocument& doc, int node, int name_id) {
  int a = XmlAccess::Attrs(doc, node);
  while (a >= 0 && XmlAccess::AttrNameId(doc, a) != name_id) {
    a = XmlAccess::AttrNext(doc, a);
  }
  return a;
}

bool MatchesByText(const XmlDocument& doc, int node, const Wanted& wanted) {
  const XmlNodeConst child = XmlAccess::Node(doc, node);
  if (!child.isNameEq(wanted.name)) {
    return false;
  }
  return std::all_of(wanted.attrs.begin(), wanted.attrs.end(), [&](const Wanted::Attr& attr) {
    const XmlAttrConst found = child.findAttrConst(attr.name);
    return !found.end() && std::strcmp(found.data(), attr.value) == 0;
  });
}

bool Matches(const XmlDocument& doc, int node, const Wanted& wanted) {
  if (!wanted.by_id) {
    return MatchesByText(doc, node, wanted);
  }
  if (XmlAccess::NameId(doc, node) != wanted.name_id) {
    return false;
  }
  return std::all_of(wanted.attrs.begin(), wanted.attrs.end(), [&](const Wanted::Attr& attr) {
    const int a = FindAttr(doc, node, attr.name_id);
    return a >= 0 && std::strcmp(XmlAccess::Value(doc, a), attr.value) == 0;
  });
}

}  // namespace

// The children that have all of a set of attributes, by their name and the values of these. Of
// children with the same ones the first is kept.
class Counterparts::Index {
 public:
  Index(const XmlDocument& doc, int parent, const Wanted& wanted)
      : doc_(doc), parent_(parent), entries_(kFirstEntries, Entry{0, -1, -1}) {
    for (const Wanted::Attr& attr : wanted.attrs) {
      name_ids_.push_back(attr.name_id);
    }
  }

  bool IsFor(const Wanted& wanted) const {
    return std::equal(name_ids_.begin(), name_ids_.end(), wanted.attrs.begin(), wanted.attrs.end(),
                      [](int id, const Wanted::Attr& attr) { return id == attr.name_id; });
  }

  Counterpart Find(const Wanted& wanted) {
    TakeNewChildren();
    values_.clear();
    for (const Wanted::Attr& attr : wanted.attrs) {
      values_.push_back(attr.value);
    }
    const Entry& entry = EntryFor(Hash(wanted.name_id), wanted.name_id);
    return {entry.node, entry.place};
  }

  void AttributesAdded(const Counterpart& child) {
    if (child.place <= last_place_) {
      Insert(child.node, child.place);
    }
  }

 private:
  struct Entry {
    std::uint32_t hash;
    int node;  // -1: free
    int place;
  };

  void TakeNewChildren() {
    for (;;) {
      const int node = last_ >= 0 ? XmlAccess::Next(doc_, last_) : XmlAccess::Child(doc_, parent_);
      if (node < 0) {
        return;
      }
      last_ = node;
      Insert(node, ++last_place_);
    }
  }

  void Insert(int node, int place) {
    if (!TakeValues(node)) {
      return;
    }
    const int name_id = XmlAccess::NameId(doc_, node);
    const std::uint32_t hash = Hash(name_id);
    Entry& entry = EntryFor(hash, name_id);
    if (entry.node >= 0) {
      if (place < entry.place) {
        entry.node = node;
        entry.place = place;
      }
      return;
    }
    entry = {hash, node, place};
    if (++used_ * 2 > entries_.size()) {
      Grow();
    }
  }

  // Makes `values_` the node's; false when it has not all of the attributes.
  bool TakeValues(int node) {
    values_.clear();
    for (const int name_id : name_ids_) {
      const int a = FindAttr(doc_, node, name_id);
      if (a < 0) {
        return false;
      }
      values_.push_back(XmlAccess::Value(doc_, a));
    }
    return true;
  }

  std::uint32_t Hash(int name_id) const {
    std::uint64_t hash = static_cast<std::uint64_t>(name_id) + 1;
    for (const char* value : values_) {
      hash = hash * kGoldenRatio + std::hash<std::string_view>()(value);
    }
    return static_cast<std::uint32_t>((hash * kGoldenRatio) >> 32);
  }

  // The entry of a name and `values_`, or the free one where it belongs.
  Entry& EntryFor(std::uint32_t hash, int name_id) {
    const std::size_t mask = entries_.size() - 1;
    std::size_t i = hash & mask;
    while (entries_[i].node >= 0 &&
           !(entries_[i].hash == hash && HasKey(entries_[i].node, name_id))) {
      i = (i + 1) & mask;
    }
    return entries_[i];
  }

  bool HasKey(int node, int name_id) const {
    if (XmlAccess::NameId(doc_, node) != name_id) {
      return false;
    }
    for (std::size_t i = 0; i < values_.size(); ++i) {
      const int a = FindAttr(doc_, node, name_ids_[i]);
      if (std::strcmp(XmlAccess::Value(doc_, a), values_[i]) != 0) {
        return false;
      }
    }
    return true;
  }

  void Grow() {
    std::vector<Entry> entries(entries_.size() * 2, Entry{0, -1, -1});
    for (const Entry& entry : entries_) {
      if (entry.node >= 0) {
        std::size_t i = entry.hash & (entries.size() - 1);
        while (entries[i].node >= 0) {
          i = (i + 1) & (entries.size() - 1);
        }
        entries[i] = entry;
      }
    }
    entries_ = std::move(entries);
  }

  const XmlDocument& doc_;
  int parent_;
  std::vector<int> name_ids_;   // of the attributes, rising
  std::vector<Entry> entries_;  // a power of two, probed one by one
  std::size_t used_ = 0;
  std::vector<const char*> values_;  // of the key that is being looked at
  int last_ = -1;                    // the last child that was taken, and its place
  int last_place_ = -1;
};

Counterparts::Counterparts(const XmlDocument& doc, int parent) : doc_(doc), parent_(parent) {}

Counterparts::~Counterparts() = default;

Counterparts::Counterparts(Counterparts&&) noexcept = default;

Counterpart Counterparts::Find(const Wanted& wanted, bool more) {
  if (wanted.by_id &&
      (wanted.name_id < 0 || (!wanted.attrs.empty() && wanted.attrs.front().name_id < 0))) {
    return {};
  }
  if (Index* index = IndexFor(wanted, false)) {
    return index->Find(wanted);
  }
  int place = 0;
  for (int node = XmlAccess::Child(doc_, parent_); node >= 0; node = XmlAccess::Next(doc_, node)) {
    if (Matches(doc_, node, wanted)) {
      return {node, place};
    }
    if (++place == kShortWalk && more) {
      if (Index* index = IndexFor(wanted, true)) {
        return index->Find(wanted);
      }
    }
  }
  return {};
}

Counterparts::Index* Counterparts::IndexFor(const Wanted& wanted, bool make) {
  if (!wanted.by_id || (indices_ == nullptr && !make)) {
    return nullptr;
  }
  if (indices_ == nullptr) {
    indices_ = std::make_unique<std::vector<Index>>();
  }
  for (Index& index : *indices_) {
    if (index.IsFor(wanted)) {
      return &index;
    }
  }
  if (!make || indices_->size() == kMaxIndices) {
    return nullptr;
  }
  return &indices_->emplace_back(doc_, parent_, wanted);
}

void Counterparts::AttributesAdded(const Counterpart& child) {
  if (indices_ != nullptr) {
    for (Index& index : *indices_) {
      index.AttributesAdded(child);
    }
  }
}

}  // namespace kr

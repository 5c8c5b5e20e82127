// Merging a reference tree into a target tree.
#include <algorithm>
#include <string>
#include <vector>

#include "krdcmmn/xml/access.h"
#include "krdcmmn/xml/counterparts.h"
#include "krdcmmn/xml/document.h"

namespace kr {

namespace {

constexpr char kIgnoredAttrs[] = "attrs_to_be_ignored";
constexpr char kSeparator = '|';

// Name ids of one document for those of another. A name that is missing there is asked for again
// each time, since it may come.
class NameIds {
 public:
  NameIds(const XmlDocument& from, XmlDocument& to) : from_(from), to_(to) {}

  int Find(int id) {
    return Known(id, [&](const char* name) { return XmlAccess::Names(to_)(name); });
  }
  int Add(int id) {
    return Known(id, [&](const char* name) { return XmlAccess::Names(to_).add(name); });
  }

 private:
  template <class Ask>
  int Known(int id, Ask ask) {
    const char* name = XmlAccess::Name(from_, id);
    if (*name == '\0') {
      return ask(name);  // a name table can forget the empty name
    }
    int& known = Entry(id);
    if (known < 0) {
      known = ask(name);
    }
    return known;
  }

  int& Entry(int id) {
    const auto i = static_cast<std::size_t>(id);
    if (i >= ids_.size()) {
      ids_.resize(i + 1, -1);
    }
    return ids_[i];
  }

  const XmlDocument& from_;
  XmlDocument& to_;
  std::vector<int> ids_;
};

// One merge of two trees in different documents; holds the stack of ignored attributes. Nodes are
// slots, the target's first.
class ResurrectContext {
 public:
  ResurrectContext(XmlDocument& target, const XmlDocument& source)
      : target_(target),
        source_(source),
        name_ids_(source, target),
        special_(XmlAccess::Names(source)(kIgnoredAttrs)) {}

  void Merge(int target, int source) {
    PushIgnored(source);
    CopyAttributes(target, source);
    Push(target, XmlAccess::Child(source_, source));
    while (!frames_.empty()) {
      Frame& frame = frames_.back();
      if (frame.child < 0) {
        frames_.pop_back();
        if (!frames_.empty()) {
          LeaveChild(frames_.back());
        }
      } else {
        EnterChild(frame);
      }
    }
  }

 private:
  using NameSet = std::vector<std::string>;  // sorted

  // A pair of corresponding nodes whose children are being merged.
  struct Frame {
    int target;
    int child;    // of the source: the one whose turn it is, -1 at the end
    bool pushed;  // `child` has put a set on the stack
    Counterparts counterparts;
  };

  void Push(int target, int child) {
    frames_.push_back({target, child, false, Counterparts(target_, target)});
  }

  void EnterChild(Frame& frame) {
    const int child = frame.child;
    frame.pushed = PushIgnored(child);
    Want(child);
    Counterpart found = frame.counterparts.Find(wanted_, XmlAccess::Next(source_, child) >= 0);
    if (found.node < 0) {
      found.node = AddCopy(frame.target, child);
      CopyAttributes(found.node, child);
    } else if (CopyAttributes(found.node, child)) {
      frame.counterparts.AttributesAdded(found);
    }
    const int below = XmlAccess::Child(source_, child);
    if (below >= 0) {
      Push(found.node, below);
    } else {
      LeaveChild(frame);
    }
  }

  void LeaveChild(Frame& frame) {
    if (frame.pushed) {
      ignoreStack.pop_back();
    }
    frame.child = XmlAccess::Next(source_, frame.child);
  }

  // The reference node's own set, if it has one.
  bool PushIgnored(int source) {
    int a = special_ >= 0 ? XmlAccess::Attrs(source_, source) : -1;
    while (a >= 0 && XmlAccess::AttrNameId(source_, a) != special_) {
      a = XmlAccess::AttrNext(source_, a);
    }
    if (a < 0) {
      return false;
    }
    NameSet set;
    const std::string value = XmlAccess::Value(source_, a);
    for (std::size_t at = 0; at != std::string::npos;) {
      const std::size_t end = value.find(kSeparator, at);
      set.push_back(value.substr(at, end - at));
      at = end == std::string::npos ? end : end + 1;
    }
    std::sort(set.begin(), set.end());
    ignoreStack.push_back(std::move(set));
    return true;
  }

  bool IsIgnored(const char* name) const {
    return !ignoreStack.empty() &&
           std::binary_search(ignoreStack.back().begin(), ignoreStack.back().end(), name);
  }

  // Makes `wanted_` what the counterpart of a reference node must have.
  void Want(int source) {
    const int name_id = XmlAccess::NameId(source_, source);
    wanted_.name = XmlAccess::Name(source_, name_id);
    wanted_.name_id = name_ids_.Find(name_id);
    wanted_.by_id = *wanted_.name != '\0';
    wanted_.attrs.clear();
    for (int a = XmlAccess::Attrs(source_, source); a >= 0; a = XmlAccess::AttrNext(source_, a)) {
      const int id = XmlAccess::AttrNameId(source_, a);
      const char* name = XmlAccess::Name(source_, id);
      if (id != special_ && !IsIgnored(name)) {
        wanted_.attrs.push_back({name_ids_.Find(id), name, XmlAccess::Value(source_, a)});
        wanted_.by_id = wanted_.by_id && *name != '\0';
      }
    }
    std::sort(wanted_.attrs.begin(), wanted_.attrs.end(),
              [](const Wanted::Attr& a, const Wanted::Attr& b) { return a.name_id < b.name_id; });
  }

  int AddCopy(int parent, int source) {
    const int name_id = XmlAccess::NameId(source_, source);
    const int node = XmlAccess::AddNode(target_, parent, name_ids_.Add(name_id), -1, -1);
    const char* data = XmlAccess::Data(source_, source);
    if (*data != '\0') {
      XmlAccess::SetData(target_, node, data);
    }
    return node;
  }

  // Adds what is missing; true when something was.
  bool CopyAttributes(int target, int source) {
    bool added = false;
    for (int a = XmlAccess::Attrs(source_, source); a >= 0; a = XmlAccess::AttrNext(source_, a)) {
      const int id = XmlAccess::AttrNameId(source_, a);
      if (id != special_ && !HasAttr(target, id)) {
        XmlAccess::AddAttr(target_, target, name_ids_.Add(id), XmlAccess::Value(source_, a));
        added = true;
      }
    }
    return added;
  }

  bool HasAttr(int target, int source_name_id) {
    const int id = name_ids_.Find(source_name_id);
    int a = id >= 0 ? XmlAccess::Attrs(target_, target) : -1;
    while (a >= 0 && XmlAccess::AttrNameId(target_, a) != id) {
      a = XmlAccess::AttrNext(target_, a);
    }
    return a >= 0;
  }

  XmlDocument& target_;
  const XmlDocument& source_;
  NameIds name_ids_;
  int special_;  // name id of the attribute with the sets, -1 when the source never held it
  std::vector<NameSet> ignoreStack;
  std::vector<Frame> frames_;
  Wanted wanted_;
};

// A copy of a subtree below the root of an empty document; gives its slot there.
int CopyTree(const XmlDocument& from, int node, XmlDocument& to) {
  NameIds name_ids(from, to);
  const auto copy = [&](int original, int parent) {
    const int name_id = name_ids.Add(XmlAccess::NameId(from, original));
    const int made = XmlAccess::AddNode(to, parent, name_id, -1, -1);
    XmlAccess::SetData(to, made, XmlAccess::Data(from, original));
    for (int a = XmlAccess::Attrs(from, original); a >= 0; a = XmlAccess::AttrNext(from, a)) {
      XmlAccess::AddAttr(to, made, name_ids.Add(XmlAccess::AttrNameId(from, a)),
                         XmlAccess::Value(from, a));
    }
    return made;
  };
  struct Siblings {
    int original;  // the next one to copy
    int parent;    // of the copies
  };
  const int top = copy(node, XmlAccess::Root(to));
  std::vector<Siblings> open{{XmlAccess::Child(from, node), top}};
  while (!open.empty()) {
    const Siblings now = open.back();
    if (now.original < 0) {
      open.pop_back();
      continue;
    }
    open.back().original = XmlAccess::Next(from, now.original);
    const int made = copy(now.original, now.parent);
    if (XmlAccess::Child(from, now.original) >= 0) {
      open.push_back({XmlAccess::Child(from, now.original), made});
    }
  }
  return top;
}

}  // namespace

void XmlDocument::ResurrectNodes(XmlNode target, XmlNodeConst source) {
  if (!XmlAccess::IsLive(target) || !XmlAccess::IsLive(source)) {
    return;
  }
  XmlDocument& into = *XmlAccess::Document(target);
  const XmlDocument& from = *XmlAccess::Document(source);
  if (&into != &from) {
    ResurrectContext(into, from).Merge(target.getID(), source.getID());
    return;
  }
  XmlDocument copy;
  const int top = CopyTree(from, source.getID(), copy);
  ResurrectContext(into, copy).Merge(target.getID(), top);
}

}  // namespace kr

#include "krdcmmn/xml/document.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/xml/parsed.h"

namespace {

using krtest::Dump;

static_assert(sizeof(kr::XmlNode) == 2 * sizeof(void*) && sizeof(kr::XmlAttr) == 2 * sizeof(void*));
static_assert(std::is_trivially_copy_constructible_v<kr::XmlNode>);

TEST(Document, NewOneHasOnlyTheRoot) {
  kr::XmlDocument doc;
  EXPECT_EQ(Dump(doc.Root(), krtest::Places::kYes), "###root###@-1:-1");
  EXPECT_TRUE(doc.Root().child().end());
  EXPECT_EQ(doc.Root().getID(), 0);
}

TEST(Document, EmptyAndFinishedHandlesAreHarmless) {
  kr::XmlDocument doc;
  kr::XmlNode finished = doc.Root().child();
  for (kr::XmlNode node : {kr::XmlNode(), finished}) {
    ++node;
    EXPECT_EQ(node.getID(), -1);
    EXPECT_TRUE(node.child().end() && node.attrs().end());
    EXPECT_EQ(node.name(), nullptr);
    EXPECT_EQ(node.data(), nullptr);
    EXPECT_EQ(node.attrs().data(), nullptr);
    EXPECT_FALSE(node.isNameEq("a") || node.isDataEq(""));
    EXPECT_TRUE(node.addNode("a", 1, 1).end() && node.addAttr("a", "b").end());
    EXPECT_TRUE(node.findNode("###root###", true).end() && node.findAttr("a").end());
    EXPECT_TRUE(node.delChildNode(doc.Root()).end());
    node.setData("x");
  }
  EXPECT_EQ(Dump(doc.Root()), "###root###");
  // After a clear, handles beyond the slots act like empty ones.
  const kr::XmlNode late = doc.Root().addNode("a", 1, 1).addNode("b", 2, 2);
  doc.clear();
  EXPECT_EQ(late.name(), nullptr);
  EXPECT_EQ(doc.Root().addNode("c", 7, 8).line(), 7);
  EXPECT_EQ(doc.Root().findNode("a", true).getID(), -1);
}

TEST(Document, AttributesKeepTheirPlaceWhenTheirValueChanges) {
  kr::XmlDocument doc;
  kr::XmlNode a = doc.Root().addNode("a", 1, 0);
  const int x = a.addAttr("x", "1").getID();
  a.addAttr("y", "2");
  a.addNode("b", 1, 0).addAttr("x", "behind");
  EXPECT_EQ(a.addAttr("x", "a much longer value").getID(), x);
  EXPECT_EQ(Dump(doc), "a[x=a much longer value y=2]{b[x=behind]}");
  a.addAttr("x", "");
  EXPECT_EQ(Dump(doc), "a[x= y=2]{b[x=behind]}");
  EXPECT_STREQ(a.findAttrConst("y").data(), "2");
  a.addAttr(std::string(5000, 'n').c_str(), a.name());  // a value that moves with the names
  EXPECT_STREQ(a.findAttrConst(std::string(5000, 'n').c_str()).data(), "a");
  EXPECT_TRUE(a.findAttr("b").end());  // a name, but no attribute
  EXPECT_TRUE(a.findAttr("X").end());
  EXPECT_TRUE(a.findNode("x", true).end());
}

TEST(Document, DeepSearchGoesLevelByLevelInsideEachBranch) {
  kr::XmlDocument doc;
  ASSERT_TRUE(
      krtest::Parse("<r><p><q><t n='1'/></q></p><s><t n='2'/></s><u><t n='3'/></u></r>", doc));
  const kr::XmlNode r = doc.Root().child();
  EXPECT_TRUE(r.findNode("t", false).end());
  EXPECT_STREQ(r.findNode("t", true).findAttr("n").data(), "1");
  kr::XmlNode(r).addNode("t", 0, 0);
  EXPECT_TRUE(r.findNode("t", true).findAttr("n").end());  // the direct child
}

TEST(Document, DeletingWhileWalkingEmptiesTheList) {
  kr::XmlDocument doc;
  ASSERT_TRUE(krtest::Parse("<r><a/><b/><c/></r>", doc));
  kr::XmlNode r = doc.Root().child();
  for (kr::XmlNode n = r.child(); !n.end();) {
    n = r.delChildNode(n);
  }
  EXPECT_TRUE(r.child().end());
  r.addNode("d", 1, 2);
  EXPECT_EQ(Dump(doc), "r{d}");
  // Not a child: refused.
  EXPECT_EQ(doc.Root().delChildNode(r.child()).getID(), -1);
  kr::XmlDocument other;
  EXPECT_TRUE(other.Root().addNode("x", 0, 0).delChildNode(r.child()).end());
  EXPECT_EQ(Dump(doc), "r{d}");
}

// The document's rules written down plainly, with recursion: slots, chains and searches of ours
// must agree with it after any edit.
class Model {
 public:
  struct Node {
    std::string name, data;
    int next = -1, child = -1, last = -1, attrs = -1, last_attr = -1;
  };
  struct Attr {
    std::string name, value;
    int next = -1;
  };

  Model() { Create("###root###"); }

  int Add(int parent, const std::string& name) {
    const int id = Create(name);
    (At(parent).last >= 0 ? At(At(parent).last).next : At(parent).child) = id;
    At(parent).last = id;
    At(id).next = -1;
    return id;
  }

  int SetAttr(int node, const std::string& name, const std::string& value) {
    for (int a = At(node).attrs; a >= 0; a = attrs_[Index(a)].next) {
      if (attrs_[Index(a)].name == name) {
        attrs_[Index(a)].value = value;
        return a;
      }
    }
    int id = free_attrs_;
    if (id >= 0) {
      free_attrs_ = attrs_[Index(id)].next;
    } else {
      id = static_cast<int>(attrs_.size());
      attrs_.emplace_back();
    }
    attrs_[Index(id)] = {name, value, -1};
    (At(node).last_attr >= 0 ? attrs_[Index(At(node).last_attr)].next : At(node).attrs) = id;
    At(node).last_attr = id;
    return id;
  }

  int Delete(int parent, int node) {
    const int next = At(node).next;
    DeleteBelow(node);
    DeleteAttrs(node);
    int before = -1;
    for (int k = At(parent).child; k != node; k = At(k).next) {
      before = k;
    }
    (before >= 0 ? At(before).next : At(parent).child) = next;
    if (At(parent).last == node) {
      At(parent).last = before;
    }
    At(node).next = free_nodes_;
    free_nodes_ = node;
    return next;
  }

  int Find(int node, const std::string& name, bool deep) {
    for (int k = At(node).child; k >= 0; k = At(k).next) {
      if (At(k).name == name) {
        return k;
      }
    }
    for (int k = At(node).child; deep && k >= 0; k = At(k).next) {
      const int found = Find(k, name, true);
      if (found >= 0) {
        return found;
      }
    }
    return -1;
  }

  Node& At(int id) { return nodes_[Index(id)]; }
  Attr& AttrAt(int id) { return attrs_[Index(id)]; }

 private:
  static std::size_t Index(int id) { return static_cast<std::size_t>(id); }

  int Create(const std::string& name) {
    int id = free_nodes_;
    if (id >= 0) {
      free_nodes_ = At(id).next;
    } else {
      id = static_cast<int>(nodes_.size());
      nodes_.emplace_back();
    }
    At(id).name = name;
    At(id).data.clear();
    return id;
  }

  void DeleteAttrs(int node) {
    if (At(node).attrs >= 0) {
      attrs_[Index(At(node).last_attr)].next = free_attrs_;
      free_attrs_ = At(node).attrs;
      At(node).attrs = At(node).last_attr = -1;
    }
  }

  void DeleteBelow(int node) {
    for (int k = At(node).child; k >= 0; k = At(k).next) {
      DeleteAttrs(k);
      DeleteBelow(k);
    }
    if (At(node).child >= 0) {
      At(At(node).last).next = free_nodes_;
      free_nodes_ = At(node).child;
      At(node).child = At(node).last = -1;
    }
  }

  std::vector<Node> nodes_;
  std::vector<Attr> attrs_;
  int free_nodes_ = -1;
  int free_attrs_ = -1;
};

// The live node of ours with the slot `id`, by a walk.
void Walk(kr::XmlNode node, std::vector<kr::XmlNode>& parents, std::vector<kr::XmlNode>& nodes) {
  for (kr::XmlNode k = node.child(); !k.end(); ++k) {
    parents.push_back(node);
    nodes.push_back(k);
    Walk(k, parents, nodes);
  }
}

void ExpectSame(kr::XmlNodeConst ours, Model& model, int id) {
  ASSERT_EQ(ours.getID(), id);
  const Model::Node& node = model.At(id);
  ASSERT_EQ(ours.name(), node.name);
  ASSERT_EQ(ours.data(), node.data);
  kr::XmlAttrConst attr = ours.attrs();
  for (int a = node.attrs; a >= 0; a = model.AttrAt(a).next, ++attr) {
    ASSERT_EQ(attr.getID(), a);
    ASSERT_EQ(attr.name() + std::string("=") + attr.data(),
              model.AttrAt(a).name + "=" + model.AttrAt(a).value);
  }
  ASSERT_TRUE(attr.end());
  kr::XmlNodeConst child = ours.child();
  for (int k = node.child; k >= 0; k = model.At(k).next, ++child) {
    ExpectSame(child, model, k);
  }
  ASSERT_TRUE(child.end());
}

TEST(DocumentModel, RandomEditsGiveTheSameSlotsAndChains) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const auto word = [&] { return std::string(1 + pick(9), static_cast<char>('a' + pick(4))); };
    kr::XmlDocument doc;
    Model model;
    for (int step = 0; step < 400; ++step) {
      std::vector<kr::XmlNode> parents{kr::XmlNode()};
      std::vector<kr::XmlNode> nodes{doc.Root()};
      Walk(doc.Root(), parents, nodes);
      const std::size_t i = pick(nodes.size());
      kr::XmlNode node = nodes[i];
      const std::string name = word();
      const std::string text = word();
      switch (pick(8)) {
        case 0:
          if (i != 0) {
            ASSERT_EQ(parents[i].delChildNode(node).getID(),
                      model.Delete(parents[i].getID(), node.getID()));
          }
          break;
        case 1:
        case 2:
          ASSERT_EQ(node.addAttr(name.c_str(), text.c_str()).getID(),
                    model.SetAttr(node.getID(), name, text));
          break;
        case 3:
          node.setData(text.c_str());
          model.At(node.getID()).data = text;
          break;
        case 4:
          ASSERT_EQ(node.findNode(name.c_str(), true).getID(),
                    model.Find(node.getID(), name, true));
          ASSERT_EQ(node.findNodeConst(name.c_str(), false).getID(),
                    model.Find(node.getID(), name, false));
          break;
        default:
          ASSERT_EQ(node.addNode(name.c_str(), 1, 2).getID(), model.Add(node.getID(), name));
      }
    }
    ExpectSame(doc.Root(), model, 0);
  }
}

// A million levels: no operation uses the stack for the depth of the tree.
TEST(DocumentDepth, AMillionLevelsAreParsedSearchedWrittenMergedAndDeleted) {
  constexpr int kDepth = 1000000;
  constexpr std::size_t kHeadAndLeaves = 40 + 2 * 6;
  std::string text;
  for (int i = 0; i < kDepth; ++i) {
    text += "<e>";
  }
  text += "<f/>";
  for (int i = 0; i < kDepth; ++i) {
    text += "</e>";
  }
  kr::XmlDocument doc;
  ASSERT_TRUE(krtest::Parse(text, doc));
  EXPECT_EQ(doc.Root().findNode("f", true).getID(), kDepth + 1);
  doc.Root().addNode("g", 0, 0);
  EXPECT_EQ(doc.Root().findNode("g", true).getID(), kDepth + 2);
  doc.Root().child().delChildNode(kr::XmlNode());
  EXPECT_EQ(krtest::Written(doc).size(), kHeadAndLeaves + kDepth * 11u);

  kr::XmlDocument target;
  target.ResurrectNodes(target.Root(), doc.Root());
  EXPECT_FALSE(target.Root().findNode("f", true).end());
  target.ResurrectNodes(target.Root().child(), target.Root());  // inside one document
  EXPECT_TRUE(target.Root().delChildNode(target.Root().child()).isNameEq("g"));
  EXPECT_EQ(Dump(target), "g");
  EXPECT_EQ(target.Root().addNode("h", 0, 0).getID(), 1);
}

}  // namespace

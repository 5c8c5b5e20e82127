#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/xml/parsed.h"

namespace {

using krtest::Dump;

std::string Merged(const std::string& target, const std::string& source) {
  kr::XmlDocument into;
  kr::XmlDocument from;
  EXPECT_TRUE(krtest::Parse(target, into) && krtest::Parse(source, from));
  into.ResurrectNodes(into.Root().child(), from.Root().child());
  return Dump(into);
}

TEST(Merge, WhatIsMissingComesBack) {
  struct Row {
    const char* target;
    const char* source;
    const char* merged;
  };
  const Row rows[] = {
      {"<r a='1'/>", "<q a='2' b='3'/>", "r[a=1 b=3]"},
      {"<r><n>kept</n></r>", "<r><n>other</n><m>new</m></r>", "r{n\"kept\" m\"new\"}"},
      {"<r><n/></r>", "<r><n>not even into an empty text</n></r>", "r{n}"},
      {"<r><n k='1'/></r>", "<r><n k='2'><o/></n></r>", "r{n[k=1] n[k=2]{o}}"},
      {"<r><n k='a'/></r>", "<r><n k='A'/></r>", "r{n[k=a] n[k=A]}"},
      {"<r><n/><n k='1'/></r>", "<r><n k='1'><o/></n></r>", "r{n n[k=1]{o}}"},
      {"<r><n k='1' x='9'/></r>", "<r><n k='1'><o/></n></r>", "r{n[k=1 x=9]{o}}"},
      {"<r><n k='1'/><n/></r>", "<r><n><o/></n></r>", "r{n[k=1]{o} n}"},
      {"<r><z/></r>", "<r><b/><a/><b/></r>", "r{z b a}"},
      {"<r/>", "<r><n k='1'><o/></n><n k='1'><p/></n></r>", "r{n[k=1]{o p}}"},
      // Sets of ignored attributes.
      {"<r><n k='1' u='2' v='3'/></r>",
       "<r><n k='1' u='9' w='4' attrs_to_be_ignored='u|v|w'><o/></n></r>",
       "r{n[k=1 u=2 v=3 w=4]{o}}"},
      {"<r><n u='1'/></r>", "<r attrs_to_be_ignored='u'><n u='2'/></r>", "r{n[u=1]}"},
      {"<r><n u='1'/></r>", "<r attrs_to_be_ignored='u'><n u='2' attrs_to_be_ignored='x'/></r>",
       "r{n[u=1] n[u=2]}"},
      {"<r><n u='1'/><n u='1'/></r>",
       "<r><n u='2' attrs_to_be_ignored='u'><m u='3'/></n><n u='2'/></r>",
       "r{n[u=1]{m[u=3]} n[u=1] n[u=2]}"},
      {"<r><n u='1'/></r>", "<r><n u='2' attrs_to_be_ignored=' u'/></r>", "r{n[u=1] n[u=2]}"},
      {"<r><n u='1'/></r>", "<r><n u='2' attrs_to_be_ignored='a||u'/></r>", "r{n[u=1]}"},
      {"<r/>", "<r attrs_to_be_ignored=''><n attrs_to_be_ignored='u' u='1'/></r>", "r{n[u=1]}"},
      // An attribute that a child gained decides about later counterparts.
      {"<r><n/></r>", "<r><n a='1' attrs_to_be_ignored='a'/><n a='1'><o/></n></r>", "r{n[a=1]{o}}"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Merged(row.target, row.source), row.merged) << row.target << " " << row.source;
  }
}

TEST(Merge, EmptyHandlesChangeNothing) {
  kr::XmlDocument doc;
  ASSERT_TRUE(krtest::Parse("<a><b/></a>", doc));
  doc.ResurrectNodes(kr::XmlNode(), doc.Root());
  doc.ResurrectNodes(doc.Root(), kr::XmlNode());
  doc.ResurrectNodes(doc.Root().child().child().child(), doc.Root());
  EXPECT_EQ(Dump(doc), "a{b}");
}

TEST(Merge, NewNodesHaveNoPlace) {
  kr::XmlDocument into;
  kr::XmlDocument from;
  ASSERT_TRUE(krtest::Parse("<a>x</a>", from));
  into.ResurrectNodes(into.Root(), from.Root());
  EXPECT_EQ(Dump(into, krtest::Places::kYes), "a@-1:-1\"x\"");
}

TEST(Merge, ReferenceInsideTheSameDocumentIsWhatItWas) {
  for (const bool target_inside : {true, false}) {
    kr::XmlDocument doc;
    ASSERT_TRUE(krtest::Parse("<a x='1'><b y='2'><c/></b><d/></a>", doc));
    const kr::XmlNode outer = doc.Root().child();
    const kr::XmlNode inner = outer.child();
    doc.ResurrectNodes(target_inside ? inner : outer, target_inside ? outer : inner);
    EXPECT_EQ(Dump(doc),
              target_inside ? "a[x=1]{b[y=2 x=1]{c b[y=2]{c} d} d}" : "a[x=1 y=2]{b[y=2]{c} d c}");
  }
  kr::XmlDocument doc;
  ASSERT_TRUE(krtest::Parse("<a><b><c/></b></a>", doc));
  doc.ResurrectNodes(doc.Root().child(), doc.Root().child());
  EXPECT_EQ(Dump(doc), "a{b{c}}");
}

// The rules written down plainly over the public operations: one by one, from the first child on.
using Set = std::set<std::string>;

Set SetOf(const std::string& value) {
  Set set;
  std::size_t at = 0;
  for (;;) {
    const std::size_t bar = value.find('|', at);
    set.insert(value.substr(at, bar == std::string::npos ? bar : bar - at));
    if (bar == std::string::npos) {
      return set;
    }
    at = bar + 1;
  }
}

bool PlainlyCorresponds(kr::XmlNodeConst k, kr::XmlNodeConst r, const Set& ignored) {
  if (!k.isNameEq(r.name())) {
    return false;
  }
  for (kr::XmlAttrConst a = r.attrs(); !a.end(); ++a) {
    const std::string name = a.name();
    if (ignored.count(name) == 0 && name != "attrs_to_be_ignored") {
      const kr::XmlAttrConst own = k.findAttrConst(a.name());
      if (own.end() || std::string(own.data()) != a.data()) {
        return false;
      }
    }
  }
  return true;
}

void PlainlyMerge(kr::XmlNode t, kr::XmlNodeConst s, Set ignored) {
  const kr::XmlAttrConst own = s.findAttrConst("attrs_to_be_ignored");
  ignored = own.end() ? ignored : SetOf(own.data());
  for (kr::XmlAttrConst a = s.attrs(); !a.end(); ++a) {
    if (std::string(a.name()) != "attrs_to_be_ignored" && t.findAttr(a.name()).end()) {
      t.addAttr(a.name(), a.data());
    }
  }
  for (kr::XmlNodeConst r = s.child(); !r.end(); ++r) {
    const kr::XmlAttrConst set = r.findAttrConst("attrs_to_be_ignored");
    const Set rule = set.end() ? ignored : SetOf(set.data());
    kr::XmlNode k = t.child();
    while (!k.end() && !PlainlyCorresponds(k, r, rule)) {
      ++k;
    }
    if (k.end()) {
      k = t.addNode(r.name(), -1, -1);
      k.setData(r.data());
    }
    PlainlyMerge(k, r, ignored);
  }
}

// Few names and values, so that candidates abound; many children, so that they are indexed.
std::string RandomTree(std::mt19937& random, int depth, unsigned breadth, bool reference) {
  static const char* const kSets[] = {"", "x", "y|z", "x||y", "w|x|y|z", "none"};
  std::string text;
  for (auto i = random() % breadth; i > 0; --i) {
    const std::string name(1, static_cast<char>('a' + random() % 2));
    text += "<" + name;
    for (const char attr : {'x', 'y', 'z', 'w'}) {
      if (random() % 3 == 0) {
        text += std::string(" ") + attr + "='" + std::to_string(random() % 4) + "'";
      }
    }
    if (reference && random() % 8 == 0) {
      text += " attrs_to_be_ignored='" + std::string(kSets[random() % std::size(kSets)]) + "'";
    }
    text += ">" + (depth > 0 ? RandomTree(random, depth - 1, breadth / 2, reference) : "t") + "</" +
            name + ">";
  }
  return text;
}

TEST(MergeModel, LookedUpCounterpartsAreThoseOfTheLinearSearch) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const bool broad = seed % 3 != 0;
    const auto tree = [&](bool reference) {
      return "<r>" + RandomTree(random, broad ? 1 : 3, broad ? 100 : 8, reference) + "</r>";
    };
    const std::string target = tree(false);
    const std::string source = tree(true);
    kr::XmlDocument ours;
    kr::XmlDocument plain;
    kr::XmlDocument from;
    ASSERT_TRUE(krtest::Parse(target, ours) && krtest::Parse(target, plain));
    ASSERT_TRUE(krtest::Parse(source, from));
    ours.ResurrectNodes(ours.Root(), from.Root());
    PlainlyMerge(plain.Root(), from.Root(), {});
    ASSERT_EQ(Dump(ours), Dump(plain)) << target << "\n" << source;
  }
}

TEST(MergeModel, EmptyNamesOfACallersTreesAreComparedAsTexts) {
  kr::XmlDocument from;
  kr::XmlDocument ours;
  kr::XmlDocument plain;
  for (kr::XmlDocument* doc : {&from, &ours, &plain}) {
    for (int i = 0; i < 200; ++i) {
      kr::XmlNode node = doc->Root().addNode(i % 3 == 0 ? "" : "n", 0, 0);
      node.addAttr(i % 2 == 0 ? "" : "k", std::to_string(doc == &from ? i % 50 : i % 40).c_str());
      // Enough names to make the name table rebuild its hash.
      node.addAttr(("name" + std::to_string(i)).c_str(), "");
    }
  }
  ours.ResurrectNodes(ours.Root(), from.Root());
  PlainlyMerge(plain.Root(), from.Root(), {});
  EXPECT_EQ(Dump(ours), Dump(plain));
}

// Searching one by one would take minutes here.
TEST(Merge, ManySiblingsTakeTimeInProportion) {
  constexpr int kSiblings = 100000;
  kr::XmlDocument into;
  kr::XmlDocument from;
  for (int i = 0; i < kSiblings; ++i) {
    into.Root().addNode("n", 0, 0).addAttr("k", std::to_string(kSiblings - i).c_str());
    from.Root().addNode("n", 0, 0).addAttr("k", std::to_string(i * 2).c_str());
  }
  const auto begin = std::chrono::steady_clock::now();
  into.ResurrectNodes(into.Root(), from.Root());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
  int nodes = 0;
  for (kr::XmlNodeConst n = into.Root().child(); !n.end(); ++n) {
    ++nodes;
  }
  EXPECT_EQ(nodes, kSiblings + kSiblings / 2);
}

}  // namespace

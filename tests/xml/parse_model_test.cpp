// The parser's rules written down plainly over expat's own events, and random texts, whole and
// damaged, held against it: names, values, texts and places.
#include <expat.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/host/codepage.h"

#include "tests/xml/parsed.h"

namespace {

class PlainTree {
 public:
  explicit PlainTree(const std::string& text) {
    nodes_.push_back({"", "", "", {}});
    open_.push_back(0);
    parser_ = XML_ParserCreate(nullptr);
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(
        parser_,
        [](void* self, const char* name, const char** attrs) {
          static_cast<PlainTree*>(self)->Start(name, attrs);
        },
        [](void* self, const char*) { static_cast<PlainTree*>(self)->End(); });
    XML_SetCharacterDataHandler(parser_, [](void* self, const char* bytes, int count) {
      static_cast<PlainTree*>(self)->buffer_.append(bytes, static_cast<std::size_t>(count));
    });
    parsed_ = XML_Parse(parser_, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser_);
  }

  std::string Dump() const {
    std::string out = parsed_ ? "" : "rejected: ";
    DumpChildren(0, out);
    return nodes_[0].text.empty() ? out : out + " root:\"" + nodes_[0].text + "\"";
  }

 private:
  struct Node {
    std::string head;   // name and place
    std::string attrs;  // in brackets
    std::string text;
    std::vector<std::size_t> children;
  };

  void Flush() {
    if (!buffer_.empty()) {
      nodes_[open_.back()].text = Utf8ToAnsi(buffer_.data(), static_cast<unsigned>(buffer_.size()));
      buffer_.clear();
    }
  }

  void Start(const char* name, const char** attrs) {
    Flush();
    Node node{std::string(name) + "@" + std::to_string(XML_GetCurrentLineNumber(parser_)) + ":" +
                  std::to_string(XML_GetCurrentColumnNumber(parser_)),
              "",
              "",
              {}};
    for (; *attrs != nullptr; attrs += 2) {
      node.attrs += (node.attrs.empty() ? "[" : " ") + std::string(attrs[0]) + "=" +
                    Utf8ToAnsi(attrs[1], static_cast<unsigned>(std::string(attrs[1]).size()));
    }
    node.attrs += node.attrs.empty() ? "" : "]";
    nodes_[open_.back()].children.push_back(nodes_.size());
    open_.push_back(nodes_.size());
    nodes_.push_back(node);
  }

  void End() {
    Flush();
    open_.pop_back();
    nodes_[open_.back()].text.clear();
  }

  void DumpChildren(std::size_t i, std::string& out) const {
    bool first = true;
    for (const std::size_t k : nodes_[i].children) {
      out += (first ? "" : " ") + nodes_[k].head + nodes_[k].attrs;
      first = false;
      out += nodes_[k].text.empty() ? "" : "\"" + nodes_[k].text + "\"";
      if (!nodes_[k].children.empty()) {
        out += "{";
        DumpChildren(k, out);
        out += "}";
      }
    }
  }

  XML_Parser parser_;
  bool parsed_;
  std::string buffer_;
  std::vector<Node> nodes_;
  std::vector<std::size_t> open_;
};

class RandomText {
 public:
  explicit RandomText(unsigned seed) : random_(seed) {}

  std::string Document() {
    std::string text =
        One({"", "", "<?xml version='1.0'?>\n", "\xef\xbb\xbf", "<!-- c\n -->",
             "<?xml version='1.0' encoding='utf-8'?>\r\n",
             "<?xml version='1.0' encoding='iso-8859-1'?>",
             "<!DOCTYPE e [<!ENTITY own 'p\n<a x=\"1\"/>q'><!ATTLIST e d CDATA 'v'>]>"});
    has_entity_ = text.find("ENTITY") != std::string::npos;
    return text + Element(5) + One({"", "\n", "<!-- end -->"});
  }

  // Some bytes cut out, doubled or changed.
  std::string Damaged(std::string text) {
    for (auto n = 1 + random_() % 3; n > 0 && !text.empty(); --n) {
      const auto at = random_() % text.size();
      switch (random_() % 4) {
        case 0:
          text.erase(at, random_() % 9);
          break;
        case 1:
          text.insert(at, text.substr(random_() % text.size(), random_() % 20));
          break;
        case 2:
          text[at] = "<>&\"'/ \n\r]\0\xff"[random_() % 12];
          break;
        default:
          text.resize(at);
      }
    }
    return text;
  }

 private:
  std::string One(const std::vector<std::string>& of) { return of[random_() % of.size()]; }

  std::string Space() { return One({" ", " ", " ", " ", "\n", "\r\n", "\r", "  ", "\t"}); }

  std::string Element(int depth) {
    const std::string name = One({"a", "e", "element", "\xd1\x8f"});
    std::string text = "<" + name;
    for (const char* attr : {"x", "y", "longer"}) {
      if (random_() % 3 == 0) {
        const std::string quote = One({"\"", "'"});
        text +=
            Space() + attr + One({"=", "=", "=", " = "}) + quote +
            One({"", "1", "plain", ">", "a&amp;b", "&#65;", "\n", "\r\n", "\xd0\xb6", "a='", "/>"});
        if (text.back() == quote[0]) {
          text.pop_back();
        }
        text += quote;
      }
    }
    if (random_() % 4 == 0) {
      return text + One({"", " ", "\n"}) + "/>";
    }
    text += One({"", "", "", " ", "\n"}) + ">";
    for (auto n = random_() % 6; n > 0; --n) {
      text += depth > 0 && random_() % 2 == 0 ? Element(depth - 1) : Data();
    }
    return text + "</" + name + One({"", "", "", " ", "\r\n"}) + ">";
  }

  std::string Data() {
    return has_entity_ && random_() % 4 == 0
               ? "&own;"
               : One({"text", "\n", "\r", "\r\n", "  ", "]", "]]", "\xd0\xb6", "&lt;", "&#10;",
                      "&#x416;", "&apos;", "<!-- <a> -->", "<?p <a>\n?>", "<![CDATA[<a>\n]]>",
                      "<![CDATA[]]>", "long text without an end of line", ">"});
  }

  std::mt19937 random_;
  bool has_entity_ = false;
};

TEST(ParseModel, RandomTextsGiveTheTreesOfThePlainRules) {
  for (unsigned seed = 1; seed <= 4000; ++seed) {
    RandomText random(seed);
    std::string text = random.Document();
    text = seed % 3 == 0 ? random.Damaged(text) : text;
    ASSERT_EQ(krtest::Parsed(text, krtest::Places::kYes), PlainTree(text).Dump())
        << "seed " << seed << ":\n"
        << text;
  }
}

}  // namespace

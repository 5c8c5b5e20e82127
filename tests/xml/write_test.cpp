#include "krdcmmn/xml/write.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

#include "tests/xml/parsed.h"

namespace {

using krtest::Dump;
using krtest::Written;

const std::string kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

TEST(Write, ShapesOfNodes) {
  struct Row {
    const char* parsed;
    const char* written;
  };
  const Row rows[] = {
      {"<a/>", "<a/>\r\n"},
      {"<a x='1' y='2'/>", "<a x=\"1\" y=\"2\"/>\r\n"},
      {"<a>text</a>", "<a>text</a>\r\n"},
      {"<a> </a>", "<a> </a>\r\n"},
      {"<a><b/></a>", "<a>\r\n<b/>\r\n</a>\r\n"},
      {"<a><b/>text</a>", "<a>text<b/>\r\n</a>\r\n"},
      {"<a>\n <b/>\n</a>", "<a>\n<b/>\r\n</a>\r\n"},
      {"<a><b>1</b><c><d/></c></a>", "<a>\r\n<b>1</b>\r\n<c>\r\n<d/>\r\n</c>\r\n</a>\r\n"},
      {"<a x=\"'&lt;&quot;\">&amp;lt;b&gt;</a>", "<a x=\"&apos;&lt;&quot;\">&amp;lt;b&gt;</a>\r\n"},
      {"<\xd1\x8f>\xd0\xb3</\xd1\x8f>", "<\xd1\x8f>\xd0\xb3</\xd1\x8f>\r\n"},
  };
  for (const Row& row : rows) {
    kr::XmlDocument doc;
    ASSERT_TRUE(krtest::Parse(row.parsed, doc));
    EXPECT_EQ(Written(doc), kHead + row.written);
  }
}

TEST(Write, RootIsAContainer) {
  kr::XmlDocument doc;
  doc.Root().setData("never written");
  doc.Root().addAttr("nor", "this");
  EXPECT_EQ(Written(doc), kHead);
  doc.Root().addNode("a", 0, 0);
  doc.Root().addNode("b", 0, 0);
  EXPECT_EQ(Written(doc), kHead + "<a/>\r\n<b/>\r\n");
}

TEST(Write, BytesThatAreNotEscapedAreCopied) {
  kr::XmlDocument doc;
  std::string text;
  for (int byte = 1; byte < 0x80; ++byte) {
    if (std::string("\"&'<>").find(static_cast<char>(byte)) == std::string::npos) {
      text += static_cast<char>(byte);
    }
  }
  doc.Root().addNode("a", 0, 0).setData(text.c_str());
  EXPECT_EQ(Written(doc), kHead + "<a>" + text + "</a>\r\n");
}

TEST(Write, LongTextsPassTheBuffersEnd) {
  kr::XmlDocument doc;
  kr::XmlNode a = doc.Root().addNode("a", 0, 0);
  std::string expected = kHead + "<a>\r\n";
  for (unsigned i = 0; i < 400; ++i) {
    const std::string text(i * 17 + 1, static_cast<char>('a' + i % 26));
    a.addNode("b", 0, 0).setData(("&" + text).c_str());
    expected += "<b>&amp;" + text + "</b>\r\n";
  }
  EXPECT_EQ(Written(doc), expected + "</a>\r\n");
}

TEST(Write, PathsThatCannotBeOpened) {
  const krtest::TempDir dir;
  const kr::XmlDocument doc;
  EXPECT_FALSE(kr::WriteXMLDocument(dir.file("missing/out.xml").c_str(), doc));
  EXPECT_FALSE(kr::WriteXMLDocument(dir.path().c_str(), doc));
  EXPECT_FALSE(kr::WriteXMLDocument(nullptr, doc));
  // A file that another handle holds alone is not emptied.
  krtest::WriteBytes(dir.file("held"), "content");
  const HANDLE held = CreateFileA(dir.file("held").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_FALSE(kr::WriteXMLDocument(dir.file("held").c_str(), doc));
  CloseHandle(held);
  EXPECT_EQ(krtest::ReadBytes(dir.file("held")), "content");
}

TEST(Write, FullDiskEndsTheFileQuietly) {
  const krtest::TempDir dir;
  kr::XmlDocument doc;
  kr::XmlNode a = doc.Root().addNode("a", 0, 0);
  for (int i = 0; i < 100000; ++i) {
    a.addNode("b", 0, 0).setData("text");
  }
  const std::string whole = Written(doc);
  // One short transfer is carried on; a failed one is the end.
  int calls = 0;
  SetFileHook([&](FileStep step, std::uint64_t, DWORD) {
    FileVerdict verdict;
    if (step == FileStep::kWrite) {
      ++calls;
      verdict.limit = calls == 1 ? 1000 : 0xffffffff;
      verdict.error = calls >= 4 ? ERROR_DISK_FULL : 0;
    }
    return verdict;
  });
  EXPECT_TRUE(kr::WriteXMLDocument(dir.file("out.xml").c_str(), doc));
  SetFileHook({});
  EXPECT_EQ(calls, 4);
  const std::string part = krtest::ReadBytes(dir.file("out.xml"));
  EXPECT_GT(part.size(), 300000u);
  EXPECT_EQ(part, whole.substr(0, part.size()));
}

// A parsed parent has as text what its closing tag's line begins with.
TEST(WriteRoundTrip, RandomTreesAreParsedToThemselves) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto text = [&](unsigned letters) {
      std::string s;
      for (auto n = random() % 12; n > 0; --n) {
        s += " az&<>\"']\xd0\xe4\xb8\n"[random() % letters];
      }
      return s;
    };
    kr::XmlDocument doc;
    std::vector<kr::XmlNode> nodes{doc.Root().addNode("root", 0, 0)};
    for (int i = 0; i < 60; ++i) {
      kr::XmlNode parent = nodes[random() % nodes.size()];
      parent.setData("\n");
      nodes.push_back(parent.addNode(random() % 2 != 0 ? "\xd0\xb8" : "n", 0, 0));
      nodes.back().addAttr("x", text(12).c_str());
      nodes.back().setData(text(13).c_str());
    }
    kr::XmlDocument again;
    ASSERT_TRUE(krtest::Parse(Written(doc), again));
    EXPECT_EQ(Dump(again), Dump(doc));
  }
}

}  // namespace

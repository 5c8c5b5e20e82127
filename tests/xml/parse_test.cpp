#include "krdcmmn/xml/parse.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/host/mapfile.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/platform/memory.h"
#include "krdcmmn/platform/modules.h"

#include "tests/xml/parsed.h"

namespace {

using krtest::Dump;
using krtest::Parsed;
using krtest::Places;
using testing::HasSubstr;
using testing::StartsWith;

struct Row {
  const char* text;
  const char* tree;
};

TEST(Parse, TextsAndTheirTrees) {
  const Row rows[] = {
      {"<a>x</a>", "a\"x\""},
      {"<a>  x  </a>", "a\"  x  \""},
      {"<a>   </a>", "a\"   \""},
      {"<a></a>", "a"},
      {"<a>p<b/>q<c/>r</a>", "a\"r\"{b c}"},
      {"<a>p<b/></a>", "a{b}"},
      {"<a>\n  <b>\n  </b>\n</a>\n", "a\"\n\"{b\"\n  \"}"},
      {"<a>a &amp; b<![CDATA[<&>]]>&#65;</a>", "a\"a & b<&>A\""},
      {"<a>one<!-- c -->two<?p i?>three</a>", "a\"onetwothree\""},
      {"<a z='1' b='2' a='3'/>", "a[z=1 b=2 a=3]"},
      {"<a x=' &lt;\n&quot; '/>", "a[x= < \" ]"},
      {"<!DOCTYPE a [<!ENTITY e 'p<b/>q'><!ATTLIST a d CDATA 'v'>]><a>&e;</a>", "a[d=v]\"q\"{b}"},
      {"<a>\r\nx\ry</a>", "a\"\nx\ny\""},
      // Cyrillic in names stays UTF-8, in texts and values it becomes a byte each.
      {"<\xd1\x8f \xd0\xb1='\xd0\xb2'>\xd0\xb3</\xd1\x8f>", "\xd1\x8f[\xd0\xb1=\xe2]\"\xe3\""},
      {"<a b='\xe4\xbd\xa0.\xf0\x9f\x98\x80'>\xe4\xbd\xa0</a>", "a[b=_.__]\"_\""},
      {"<?xml version='1.0' encoding='iso-8859-1'?><a>\xab\xe9</a>", "a\"\xab_\""},
      {"<a>x</b>", "rejected: a"},
      {"<a>x<b>y</c>", "rejected: a\"x\"{b}"},
      {"<a>x<b>y</b>z", "rejected: a{b\"y\"}"},
      {"<a/><b/>", "rejected: a"},
      {"<?xml version='1.0' encoding='no-such'?><a/>", "rejected: "},
      {"", "rejected: "},
      {"\n\n", "rejected: "},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Parsed(row.text), row.tree) << row.text;
  }
}

TEST(Parse, Utf16WithByteOrderMark) {
  std::string text = "\xff\xfe";
  for (const char c : std::string("<a b='c'>\n<d/>x</a>")) {
    text += {c, '\0'};
  }
  EXPECT_EQ(Parsed(text, Places::kYes), "a@1:1[b=c]\"x\"{d@2:0}");
}

TEST(Parse, PlacesOfStartTags) {
  const Row rows[] = {
      {"<?xml version='1.0'?>\n<a>\n  <b/><c>\r\n\t<d\n x='>'/></c>\r<e/></a>",
       "a@2:0{b@3:2 c@3:6{d@4:1[x=>]} e@6:0}"},
      {"<a><!-- \n --><b/><?p\n\n?><c/></a>", "a@1:0{b@2:4 c@4:2}"},
      {"<a><![CDATA[<b/>\n]]>x<b/></a>", "a@1:0{b@2:4}"},
      {"<a>\xd1\x8f\xd1\x8f<b>&#10;&amp;</b><c/></a>", "a@1:0{b@1:5\"\n&\" c@1:22}"},
      {"<!DOCTYPE a [<!ENTITY e '\n<b/>'>]>\n<a>&e;<b/></a>", "a@3:0{b@3:3 b@3:6}"},
      {"<?xml version='utf-8' encoding='iso-8859-1'?><a x='\xa0\xa0'><b/></a>",
       "a@1:45[x=\xa0\xa0]{b@1:55}"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Parsed(row.text, Places::kYes), row.tree) << row.text;
  }
}

TEST(Parse, MessageResourceGivesSlotsAndIdsInOrder) {
  kr::XmlDocument doc;
  const HMODULE self = ModuleOfAddress(reinterpret_cast<const void*>(&kr::ParseXMLString));
  ASSERT_TRUE(kr::LoadXMLFromResources(self, 0x70000 + 3001, doc));
  EXPECT_THAT(Dump(doc, Places::kYes),
              StartsWith("messages@1:0\"\n\"{message@2:2[name=kr_MapFile_Error]\"Error on mapping "
                         "'%1': %2\" message@3:2[name=kr_File_Error]\"Error! File '%1': %2\" "
                         "message@4:2[name=kr_Font_Error]\"This type of font is not supported.\n"
                         "Please choose another font file or set editbox empty.\n"));
  EXPECT_EQ(doc.Root().child().getID(), 1);
  EXPECT_EQ(doc.Root().child().child().getID(), 2);
  EXPECT_EQ(doc.Root().child().child().attrs().getID(), 0);
  EXPECT_THROW(kr::LoadXMLFromResources(self, 3002, doc), krerr::Win32Ecept);
}

TEST(Parse, SecondTextGoesBehindTheFirst) {
  kr::XmlDocument doc;
  doc.Root().setData("old");
  EXPECT_TRUE(krtest::Parse("<a>1</a>", doc));
  EXPECT_TRUE(krtest::Parse("<b>2</b>", doc));
  EXPECT_EQ(Dump(doc), "a\"1\" b\"2\"");
  EXPECT_FALSE(krtest::Parse("<c>3<d/>", doc));
  EXPECT_TRUE(krtest::Parse("<e/>", doc));
  EXPECT_EQ(Dump(doc), "a\"1\" b\"2\" c{d} e");
}

TEST(Parse, FreedSlotsAreFilledWithTheRightTexts) {
  kr::XmlDocument doc;
  ASSERT_TRUE(krtest::Parse("<a><b x='long value'>some text</b><c y='2'>more</c><d/></a>", doc));
  kr::XmlNode a = doc.Root().child();
  a.delChildNode(a.child());
  a.delChildNode(a.child());
  ASSERT_TRUE(krtest::Parse("<e i='1'>p<f j='2' k='3'/>q<g>r</g>s</e>", doc));
  EXPECT_EQ(Dump(doc), "a{d} e[i=1]\"s\"{f[j=2 k=3] g\"r\"}");
}

// What the last parse left is so much longer than the root's text that the table of texts tidies up
// before the new parent's text has found its place.
TEST(Parse, OldTextsThatMoveLeaveTheNewOnesInTheirPlaces) {
  kr::XmlDocument doc;
  doc.Root().addNode("last", 0, 0);
  doc.Root().setData(std::string(1200000, 'r').c_str());
  const std::string left(2000000, 'l');
  EXPECT_FALSE(krtest::Parse("<a>" + left, doc));
  EXPECT_FALSE(krtest::Parse("<b>x<c>", doc));
  EXPECT_EQ(Dump(doc), "last a b\"x\"{c} root:\"" + left + "\"");
  krtest::ForgetText();
}

TEST(Parse, TextThatARejectedParseLeftBeginsTheNextOne) {
  kr::XmlDocument doc;
  EXPECT_FALSE(krtest::Parse("<a>left", doc));
  EXPECT_EQ(Dump(doc), "a");
  EXPECT_FALSE(krtest::Parse("<b>", doc));
  EXPECT_EQ(Dump(doc), "a b root:\"left\"");
  EXPECT_TRUE(krtest::Parse("<c/>", doc));
  EXPECT_EQ(Dump(doc), "a b c");
}

TEST(Parse, RejectedTextPrintsOneLine) {
  kr::XmlDocument doc;
  testing::internal::CaptureStdout();
  EXPECT_FALSE(kr::ParseXMLString("<a><b></a>", 10, doc));
  EXPECT_FALSE(kr::ParseXMLString("<a/>", -1, doc));
  EXPECT_FALSE(kr::ParseXMLString(nullptr, 0, doc));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Error: mismatched tag \nError: invalid argument \nError: no element found \n");
}

TEST(Parse, BillionLaughsEndsInAnError) {
  std::string text = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
  for (int i = 1; i < 12; ++i) {
    const std::string below = "&e" + std::to_string(i - 1) + ";";
    text += "<!ENTITY e" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) {
      text += below;
    }
    text += "'>";
  }
  EXPECT_THAT(Parsed(text + "]><a>&e11;</a>"), StartsWith("rejected: a"));
}

// Without the last byte that is not white space, every text is rejected, and what was made before
// the error is there.
TEST(Parse, TruncationAtEveryLengthKeepsTheNodesSoFar) {
  const std::string text = "<a x='1'>p<b y='2'>q</b>r<c><d/>\n</c>s</a>";
  for (std::size_t length = 0; length < text.size(); ++length) {
    const std::string tree = Parsed(text.substr(0, length));
    EXPECT_THAT(tree, StartsWith("rejected: "));
    EXPECT_EQ(tree.find("a[x=1]") != std::string::npos, length >= 9) << length;
    EXPECT_EQ(tree.find("b[y=2]\"q\"") != std::string::npos, length >= 24) << length;
    // The text before a child is dropped by the child's end, not by its beginning.
    EXPECT_EQ(tree.find("\"p\"") != std::string::npos, length >= 19 && length < 24) << length;
    EXPECT_EQ(tree.find("\"r\"") != std::string::npos, length >= 28 && length < 37) << length;
  }
}

// Files.

std::string FileFailure(const std::string& path) {
  kr::XmlDocument doc;
  try {
    kr::ParseXMLFile(path.c_str(), doc);
  } catch (const kr::mapfile::MapExcept& e) {
    EXPECT_EQ(Dump(doc), "");
    return e.what();
  }
  return "parsed";
}

TEST(ParseFile, FailuresNameThePathAndTheReason) {
  const krtest::TempDir dir;
  const std::string path = dir.file("in.xml");
  EXPECT_EQ(FileFailure(path), "Error on mapping '" + path + "': No such file or directory");
  krtest::WriteBytes(path, "");
  EXPECT_THAT(FileFailure(path), StartsWith("Error on mapping '" + path + "': "));
  krtest::WriteBytes(path, "<a/>");
  EXPECT_EQ(FileFailure(path), "parsed");
  const HANDLE other = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_THAT(FileFailure(path), StartsWith("Error on mapping '" + path + "': "));
  CloseHandle(other);
  EXPECT_EQ(FileFailure(path), "parsed");
}

TEST(ParseFile, NobodyElseOpensTheFileUntilTheParseHasEnded) {
  const krtest::TempDir dir;
  const std::string path = dir.file("in.xml");
  krtest::WriteBytes(path, "<a><b/></a>");
  // The memory of the first node array is asked for inside the parse.
  std::string attempt = "none";
  const auto try_open = [&] {
    const HANDLE h = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    attempt = h == INVALID_HANDLE_VALUE ? "refused" : "opened";
    if (h != INVALID_HANDLE_VALUE) {
      CloseHandle(h);
    }
  };
  SetLibraryHook([&](LibraryStep step, std::string& name) {
    if (step == LibraryStep::kFunction && name == "XML_SetUserData") {
      try_open();
      EXPECT_EQ(attempt, "opened");  // the parser's library comes first
    }
    return true;
  });
  std::string large = "<a>";
  for (int i = 0; i < 40000; ++i) {
    large += "<b/>";
  }
  krtest::WriteBytes(path, large + "</a>");
  SetMemoryHook([&](MemoryStep, std::size_t) {
    try_open();
    return true;
  });
  kr::XmlDocument doc;
  EXPECT_TRUE(kr::ParseXMLFile(path.c_str(), doc));
  SetMemoryHook({});
  SetLibraryHook({});
  EXPECT_EQ(attempt, "refused");
  try_open();
  EXPECT_EQ(attempt, "opened");
}

// A failing host.

TEST(ParseHost, MissingParserOrFunctionIsNamedAndChangesNothing) {
  const char* names[] = {"libexpat.dll",
                         "XML_ParserCreate",
                         "XML_SetElementHandler",
                         "XML_SetCharacterDataHandler",
                         "XML_Parse",
                         "XML_ParserFree",
                         "XML_GetErrorCode",
                         "XML_ErrorString",
                         "XML_GetCurrentLineNumber",
                         "XML_GetCurrentColumnNumber",
                         "XML_SetUserData"};
  for (const std::string missing : names) {
    SetLibraryHook([&](LibraryStep, std::string& name) {
      return name.size() < missing.size() ||
             name.compare(name.size() - missing.size(), missing.size(), missing) != 0;
    });
    kr::XmlDocument doc;
    try {
      kr::ParseXMLFile("/no/such/file", doc);
      ADD_FAILURE() << missing;
    } catch (const DllException& e) {
      EXPECT_THAT(e.what(), StartsWith(missing == names[0] ? "Failed to load library /"
                                                           : "Failed to find function '" + missing +
                                                                 "' by name: \n"));
      EXPECT_THAT(e.what(), HasSubstr(missing == names[0] ? "libexpat.dll: \n" : "by name: \n"));
    }
    EXPECT_EQ(Dump(doc), "");
  }
  SetLibraryHook({});
  EXPECT_EQ(Parsed("<a/>"), "a");
}

// Memory that is refused at any moment of a parse leaves by way of the caller, and the nodes made
// before are a tree.
TEST(ParseHost, MemoryThatRunsOutInAHandlerReachesTheCaller) {
  std::string text = "<a>";
  for (int i = 0; i < 20000; ++i) {
    text += "<b c='d'>text</b>";
  }
  text += "</a>";
  int refused = 0;
  for (int step = 0;; step += 7) {
    int left = step;
    kr::XmlDocument doc;
    SetMemoryHook([&](MemoryStep kind, std::size_t) {
      return (kind != MemoryStep::kReserve && kind != MemoryStep::kCommit) || left-- > 0;
    });
    bool parsed = false;
    try {
      parsed = kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
    } catch (KRD::EXCEPTION* e) {
      e->Delete();
    }
    SetMemoryHook({});
    std::size_t nodes = 0;
    for (kr::XmlNode b = doc.Root().child().child(); !b.end(); ++b) {
      EXPECT_STREQ(b.name(), "b");
      ++nodes;
    }
    EXPECT_LE(nodes, 20000u);
    if (parsed) {
      EXPECT_EQ(nodes, 20000u);
      break;
    }
    ++refused;
    krtest::ForgetText();
    doc.clear();
    EXPECT_TRUE(krtest::Parse("<c>1</c>", doc));
    EXPECT_EQ(Dump(doc), "c\"1\"");
  }
  EXPECT_GT(refused, 2);
}

}  // namespace

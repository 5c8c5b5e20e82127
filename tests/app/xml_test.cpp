// kr xml from a user's side.
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "tests/support/program.h"

namespace {

using krtest::Outcome;
using krtest::ReadBytes;
using krtest::WriteBytes;
using testing::HasSubstr;

const std::string kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

class Xml : public testing::Test {
 protected:
  Outcome kr(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "xml");
    return krtest::Run(KR_PROGRAM, arguments, work_.path().string());
  }
  std::string good(const std::vector<std::string>& arguments) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }
  // Expects exit status 1, nothing on standard output, and a complaint that holds `text`.
  void bad(const std::vector<std::string>& arguments, const std::string& text) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(text));
  }
  void write(const std::string& name, const std::string& bytes) {
    WriteBytes(work_.file(name), bytes);
  }
  std::string read(const std::string& name) { return ReadBytes(work_.file(name)); }

  krtest::TempDir work_;
};

TEST_F(Xml, FormattedFilesAreStable) {
  write("in.xml", "<a>\n  <b x='1'>text &amp; more</b>\n  <c/>\n</a>\n");
  const std::string once = good({"fmt", "in.xml"});
  EXPECT_EQ(once, kHead + "<a>\n<b x=\"1\">text &amp; more</b>\r\n<c/>\r\n</a>\r\n");
  EXPECT_EQ(good({"fmt", "in.xml", "-o", "out.xml"}), "");
  EXPECT_EQ(read("out.xml"), once);
  EXPECT_EQ(krtest::Run(KR_PROGRAM, {"xml", "fmt", "-"}, ".", read("in.xml")).out, once);
  EXPECT_EQ(good({"fmt", "out.xml", "-o", "out.xml"}), "");
  EXPECT_EQ(read("out.xml"), once);
}

TEST_F(Xml, SyntaxErrorsTellThePlace) {
  write("in.xml", "<a>\n  <b>\n</a>\n");
  bad({"fmt", "in.xml"}, "in.xml:3:3: mismatched tag");
  write("out.xml", "stays");
  bad({"fmt", "in.xml", "-o", "out.xml"}, "in.xml:3:3: mismatched tag");
  EXPECT_EQ(read("out.xml"), "stays");
  write("in.xml", "<a>\n");
  bad({"stats", "in.xml"}, "in.xml:2:1: no element found");
  write("in.xml", "");
  bad({"find", "in.xml", "a"}, "Error on mapping 'in.xml': ");
  bad({"fmt", "missing.xml"}, "Error on mapping 'missing.xml': No such file or directory");
  bad({"merge", "-", "-"}, "only one");
}

TEST_F(Xml, MergeAddsWhatIsMissing) {
  write("target.xml", "<s><p name='a'>1</p></s>");
  write("reference.xml",
        "<s><p name='a'>9</p><p name='b' old='1' attrs_to_be_ignored='old'>2</p></s>");
  EXPECT_EQ(good({"merge", "target.xml", "reference.xml"}),
            kHead + "<s>\r\n<p name=\"a\">1</p>\r\n<p name=\"b\" old=\"1\">2</p>\r\n</s>\r\n");
  write("other.xml", "<t/>");
  bad({"merge", "target.xml", "other.xml"}, "outermost element");
}

TEST_F(Xml, FindPrintsPlacesAttributesAndTexts) {
  write("in.xml", "<a>\n  <b id='1'>one\n  line</b><c><b id='\xd0\xb6'/></c>\n  <b id='3'/></a>");
  EXPECT_EQ(good({"find", "in.xml", "b"}), "2:3 b id=\"1\": one line\n");
  EXPECT_EQ(good({"find", "in.xml", "b", "--all"}),
            "2:3 b id=\"1\": one line\n3:14 b id=\"\xd0\xb6\"\n4:3 b id=\"3\"\n");
  EXPECT_EQ(good({"find", "in.xml", "b", "--attr", "id=\xd0\xb6"}), "3:14 b id=\"\xd0\xb6\"\n");
  bad({"find", "in.xml", "b", "--attr", "id=4"}, "in.xml: no element b with id=4");
  bad({"find", "in.xml", "b", "--attr", "id"}, "NAME=VALUE");
}

TEST_F(Xml, StatsCountWhatIsThere) {
  write("in.xml", "<a x='12'><b y='3'>four</b><b y='5'/></a>");
  const std::string out = good({"stats", "in.xml"});
  for (const char* row :
       {"elements                 3", "attributes               3", "names                    4",
        "text                     8 bytes", "depth                    2", "memory", "time"}) {
    EXPECT_THAT(out, HasSubstr(row));
  }
}

TEST_F(Xml, LostCharactersAreCounted) {
  write("in.xml", "<a x='\xc3\xa9'>\xd0\xb6\xe4\xbd\xa0</a>");
  const Outcome cyrillic = kr({"fmt", "in.xml"});
  EXPECT_EQ(cyrillic.status, 0);
  EXPECT_EQ(cyrillic.out, kHead + "<a x=\"_\">\xd0\xb6_</a>\r\n");
  EXPECT_EQ(cyrillic.err, "kr: in.xml: 2 characters not in code page 1251 became \"_\"\n");
  const Outcome western = kr({"fmt", "in.xml", "--codepage", "1252"});
  EXPECT_EQ(western.out, kHead + "<a x=\"\xc3\xa9\">__</a>\r\n");
  EXPECT_THAT(western.err, HasSubstr("2 characters not in code page 1252"));
  bad({"fmt", "in.xml", "--codepage", "932"}, "code page 932");
}

TEST_F(Xml, OutputThatCannotBeWrittenIsTold) {
  write("in.xml", "<a/>");
  bad({"fmt", "in.xml", "-o", "no/such/directory/out.xml"}, "no/such/directory/out.xml");
  bad({"fmt", "in.xml", "-o", "/dev/full"}, "/dev/full could not be written");
  std::filesystem::create_symlink("real.xml", work_.path() / "link.xml");
  write("real.xml", "old");
  good({"fmt", "in.xml", "-o", "link.xml"});
  EXPECT_EQ(read("real.xml"), kHead + "<a/>\r\n");
}

TEST_F(Xml, UsageErrorsHaveTheirStatus) {
  EXPECT_EQ(kr({"fmt"}).status, 2);
  EXPECT_EQ(kr({"find", "in.xml"}).status, 2);
}

}  // namespace

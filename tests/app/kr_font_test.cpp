// kr font from a user's side.
#include <gmock/gmock.h>

#include "tests/support/program.h"

namespace {

using krtest::Outcome;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kStrokes = KRD_TEST_DATA "/strokes.shp";

class Font : public testing::Test {
 protected:
  Outcome kr(std::vector<std::string> arguments, const std::string& input = "") {
    arguments.insert(arguments.begin(), "font");
    return krtest::Run(KR_PROGRAM, arguments, work_.path().string(), input);
  }
  std::string good(const std::vector<std::string>& arguments, const std::string& input = "") {
    const Outcome outcome = kr(arguments, input);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }
  void bad(const std::vector<std::string>& arguments, int status, const std::string& text) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(text));
  }
  krtest::TempDir work_;
};

// What the loader prints stays out of the output, so that it can be read by a program.
TEST_F(Font, OutputIsTheListingAlone) {
  good({"compile", kStrokes, "-o", "s.shx"});
  good({"compile", "-", "--unifont", "-o", "u.shx"}, krtest::ReadBytes(kStrokes));
  const std::string listing = krtest::ReadBytes(KRD_TEST_DATA "/strokes.txt");
  for (const char* file : {"s.shx", "u.shx"}) {
    EXPECT_EQ(good({"glyphs", file}), listing);
    EXPECT_THAT(good({"glyphs", file, "--json"}), StartsWith("{\"height\": 25"));
    EXPECT_THAT(good({"info", file}), StartsWith("form        SHX "));
  }
  EXPECT_THAT(listing, HasSubstr(good({"glyphs", "u.shx", "--slot", "67"})));
  EXPECT_EQ(good({"compile", kStrokes, "-o", "-"}), krtest::ReadBytes(work_.file("s.shx")));
}

TEST_F(Font, ImportKeepsTheAcknowledgementAndTellsWhatIsLeftOut) {
  std::string face;
  for (int i = 0; i < 300; ++i) {
    face += "12345  3JZRRSS\n";
  }
  krtest::WriteBytes(work_.file("many face.jhf"), face);
  const Outcome outcome = kr({"import", "many face.jhf", "-o", "f.shp"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "many face.jhf: 76 of 300 glyphs left out: a font has 256 slots\n");
  EXPECT_THAT(krtest::ReadBytes(work_.file("f.shp")), HasSubstr("Dr. A. V. Hershey"));
  EXPECT_THAT(good({"info", "f.shp"}), HasSubstr("name        many_face\n"));
  good({"compile", "f.shp", "-o", "f.shx"});
  EXPECT_EQ(good({"glyphs", "f.shp"}), good({"glyphs", "f.shx"}));
}

TEST_F(Font, FailuresNameTheFile) {
  krtest::WriteBytes(work_.file("bad.shp"), "*0,4,f\n9,3,0\n*65,1,a\n008,0\n");
  krtest::WriteBytes(work_.file("cut.shx"), "AutoCAD-86 shapes 1.0\r\n");
  krtest::WriteBytes(work_.file("text.shx"), "text");
  bad({"compile", "bad.shp", "-o", "bad.shx"}, 1, "bad.shp: line 4: 008 has three");
  bad({"import", "bad.shp", "-o", "-"}, 1, "bad.shp: glyph 1: ");
  bad({"info", "cut.shx"}, 1, "cut.shx: the font is cut short or damaged");
  bad({"info", "text.shx"}, 1, "text.shx: This type of font is not supported.");
  bad({"info", "none.shp"}, 1, "none.shp: cannot be read");
  bad({"compile", "none.shp", "-o", "-"}, 1, "none.shp: cannot be read");
  bad({"compile", kStrokes, "-o", "none/a.shx"}, 1, "none/a.shx: cannot be written");
  bad({"glyphs", "cut.shx", "--slot", "256"}, 2, "--slot");
  bad({"compile", kStrokes}, 2, "--output");
}

}  // namespace

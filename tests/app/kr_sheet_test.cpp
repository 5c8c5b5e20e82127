// kr sheet from a user's side.
#include <gmock/gmock.h>

#include "tests/sheet/dxf_text.h"
#include "tests/support/program.h"

namespace {

namespace fs = std::filesystem;
using krtest::Dxf;
using krtest::Entity;
using krtest::LineEntity;
using krtest::Outcome;
using krtest::ReadBytes;
using krtest::WriteBytes;
using testing::HasSubstr;
using testing::Not;

class Sheet : public testing::Test {
 protected:
  void SetUp() override {
    WriteBytes(work_.file("good.dxf"),
               Dxf(LineEntity("0", "0", "10", "5") +
                   Entity("TEXT", {{10, "1"}, {20, "1"}, {40, "2"}, {1, "abc"}})));
    WriteBytes(work_.file("other.dxf"),
               Dxf(Entity("CIRCLE", {{10, "0"}, {20, "0"}, {40, "3"}}) + "0\nIMAGE\n"));
  }
  Outcome kr(std::vector<std::string> arguments, const std::string& input = "") {
    arguments.insert(arguments.begin(), "sheet");
    return krtest::Run(KR_PROGRAM, arguments, work_.path().string(), input);
  }
  std::string good(const std::vector<std::string>& arguments, const std::string& input = "") {
    const Outcome outcome = kr(arguments, input);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.out;
  }
  void bad(const std::vector<std::string>& arguments, const std::string& text, int status = 1) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, status);
    EXPECT_THAT(outcome.err, HasSubstr(text));
  }
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(work_.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  // Width and height of a PNG, as its header tells.
  static std::pair<int, int> SizeOf(const std::string& png) {
    const auto at = [&](std::size_t i) {
      return static_cast<unsigned char>(png[i + 2]) << 8 | static_cast<unsigned char>(png[i + 3]);
    };
    return png.starts_with("\x89PNG") && png.size() > 24 ? std::pair(at(16), at(20))
                                                         : std::pair(0, 0);
  }

  krtest::TempDir work_;
};

TEST_F(Sheet, DrawingsAreImportedListedAndDrawn) {
  const std::string table = good({"import", "good.dxf", "other.dxf", "-o", "s.krd"});
  EXPECT_THAT(table, testing::ContainsRegex("LINE +1 +0\n"));
  EXPECT_THAT(table, testing::ContainsRegex("IMAGE +1 +1\n"));
  const std::string list = good({"ls", "s.krd"});
  EXPECT_THAT(list, HasSubstr("good\n  units     mm\n  extents   0.000,0.000 to 10.000,5.000 mm"));
  EXPECT_THAT(list, HasSubstr("elements  1 lines 1 texts"));
  EXPECT_THAT(list, HasSubstr("not read  1 IMAGE: a kind that is not read"));

  good({"draw", "s.krd", "good", "-o", "a.png", "--size", "300x200"});
  EXPECT_EQ(SizeOf(ReadBytes(work_.file("a.png"))), std::pair(300, 200));
  EXPECT_EQ(good({"draw", "s.krd", "good", "-o", "-", "--size", "300x200"}),
            ReadBytes(work_.file("a.png")));
  good({"draw", "s.krd", "good", "-o", "b.png", "--size", "300x200", "--rect", "-1,6,11,-1",
        "--background", "#102030"});
  EXPECT_NE(ReadBytes(work_.file("a.png")), ReadBytes(work_.file("b.png")));
  good({"contact", "s.krd", "-o", "c.png", "--columns", "2", "--size", "200x100"});
  EXPECT_EQ(SizeOf(ReadBytes(work_.file("c.png"))), std::pair(200, 50));
}

TEST_F(Sheet, BadDrawingDoesNotStopTheOthers) {
  WriteBytes(work_.file("cut.dxf"), ReadBytes(work_.file("good.dxf")).substr(0, 200));
  const Outcome outcome =
      kr({"import", "good.dxf", "cut.dxf", "missing.dxf", "other.dxf", ".", "-o", "s.krd"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("cut.dxf: line "));
  EXPECT_THAT(outcome.err, HasSubstr("missing.dxf: no such file"));
  EXPECT_THAT(outcome.err, HasSubstr(".: a directory"));
  EXPECT_THAT(outcome.err, HasSubstr("other.dxf: 1 IMAGE not read"));
  EXPECT_THAT(outcome.err, HasSubstr("3 of 5 drawings could not be read"));
  const std::string list = good({"ls", "s.krd"});
  EXPECT_THAT(list, HasSubstr("good\n"));
  EXPECT_THAT(list, HasSubstr("other\n"));
  // With none that can be read there is no container.
  bad({"import", "cut.dxf", "-o", "none.krd"}, "1 of 1 drawings");
  EXPECT_FALSE(fs::exists(work_.path() / "none.krd"));
}

TEST_F(Sheet, ImportTakesThePlaceOfADrawingOfThatName) {
  good({"import", "good.dxf", "other.dxf", "-o", "s.krd"});
  good({"import", "-", "--name", "good", "-o", "s.krd", "--units", "cm"},
       Dxf(LineEntity("0", "0", "4", "4")));
  const std::string list = good({"ls", "s.krd"});
  EXPECT_THAT(list, HasSubstr("good\n  units     cm\n  extents   0.000,0.000 to 40.000,40.000 mm"));
  EXPECT_THAT(list, Not(HasSubstr("abc")));
  EXPECT_THAT(list, HasSubstr("other\n"));
}

TEST_F(Sheet, DrawingsOfOneFileNameAreToldApart) {
  fs::create_directories(work_.path() / "a/x");
  fs::create_directories(work_.path() / "a/y");
  for (const char* to : {"a/x/same.dxf", "a/y/same.dxf"}) {
    fs::copy(work_.path() / "good.dxf", work_.path() / to);
  }
  good({"import", "a/x/same.dxf", "a/y/same.dxf", "-o", "s.krd"});
  const std::string list = good({"ls", "s.krd"});
  EXPECT_THAT(list, HasSubstr("x/same\n"));
  EXPECT_THAT(list, HasSubstr("y/same\n"));
}

TEST_F(Sheet, FailuresSayWhatToDoAndLeaveNothing) {
  good({"import", "good.dxf", "other.dxf", "-o", "s.krd"});
  const auto before = files();
  bad({"draw", "s.krd", "-o", "a.png"}, "2 drawings; name one");
  bad({"draw", "s.krd", "nothing", "-o", "a.png"}, "no drawing \"nothing\"");
  bad({"draw", "good.dxf", "-o", "a.png"}, "good.dxf");
  bad({"draw", "none.krd", "-o", "a.png"}, "no such file");
  bad({"draw", "s.krd", "good", "-o", "no/such/a.png"}, "no/such/a.png");
  bad({"draw", "s.krd", "good", "-o", "a.png", "--font", "good.dxf"}, "good.dxf");
  bad({"contact", "s.krd", "-o", "a.png", "zebra"}, "no such drawings");
  bad({"import", "good.dxf", "-o", "other.dxf"}, "other.dxf");
  bad({"import", "good.dxf", "-o", "no/such.krd"}, "no/such.krd");
  for (const std::vector<std::string>& usage : std::vector<std::vector<std::string>>{
           {"draw", "s.krd", "good", "-o", "a.png", "--size", "0x5"},
           {"draw", "s.krd", "good", "-o", "a.png", "--size", "300"},
           {"draw", "s.krd", "good", "-o", "a.png", "--background", "#12345"},
           {"draw", "s.krd", "good", "-o", "a.png", "--rect", "1,2,3"},
           {"draw", "s.krd", "good"},
           {"import", "good.dxf", "-o", "x.krd", "--units", "parsec"},
           {"import", "good.dxf", "other.dxf", "-o", "x.krd", "--name", "n"},
           {"import", "good.dxf", "-o", "x.krd", "--tolerance", "0"},
           {}}) {
    bad(usage, "", 2);
  }
  EXPECT_EQ(files(), before);
}

TEST_F(Sheet, DamagedContainerIsListedAsFarAsItGoes) {
  good({"import", "good.dxf", "other.dxf", "-o", "s.krd"});
  std::string bytes = ReadBytes(work_.file("s.krd"));
  // The middle of the first drawing.
  bytes[60] = static_cast<char>(bytes[60] ^ 0x40);
  WriteBytes(work_.file("s.krd"), bytes);
  const Outcome outcome = kr({"ls", "s.krd"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("1 circles"));
  EXPECT_THAT(outcome.err, HasSubstr("drawings are damaged"));
}

}  // namespace

// kr text and kr font sheet, run as a user runs them.
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

#include "tests/support/program.h"

namespace {

struct TextCommand : testing::Test {
  krtest::Outcome Run(std::vector<std::string> arguments, const std::string& input = "") {
    return krtest::Run(KR_PROGRAM, arguments, dir.path().string(), input);
  }
  std::set<std::string> Files() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  krtest::TempDir dir;
};

TEST_F(TextCommand, TheEndingOrTheFormChoosesTheBytes) {
  const struct {
    std::string form, begin;
  } rows[] = {{"png", "\x89PNG"}, {"svg", "<?xml"}, {"dxf", "999\n"},
              {"plt", "IN;PS"},   {"json", "{\n"},  {"gcode", "; millimetres"}};
  for (const auto& row : rows) {
    const auto written = Run({"text", "-", R"(Вал Ø12\nRa 3,2)", "-o", "out." + row.form});
    EXPECT_EQ(written.status, 0) << written.err;
    EXPECT_EQ(written.err, "");
    const std::string file = krtest::ReadBytes(dir.file("out." + row.form));
    EXPECT_EQ(file.substr(0, row.begin.size()), row.begin);
    const auto piped = Run({"text", "-", "-", "-o", "-", "--form", row.form}, "Вал Ø12\nRa 3,2\n");
    EXPECT_EQ(piped.status, 0) << piped.err;
    if (row.form == "plt" || row.form == "gcode" || row.form == "dxf") {
      EXPECT_EQ(piped.out, file);  // the others hold the text, with the line's end that a pipe has
    }
  }
  EXPECT_EQ(Files().size(), 6u);
}

TEST_F(TextCommand, MeasuresWithoutDrawing) {
  const auto told =
      Run({"text", "-", "HH", "--height", "18", "--pen", "1", "--measure", "--align", "top-left"});
  // Two letters of 8 with a step of 11 and one unit more, the pen on both sides.
  EXPECT_EQ(told.out.substr(0, told.out.find("corner")), "width 22.00 mm\nheight 16.00 mm\n");
  EXPECT_EQ(std::count(told.out.begin(), told.out.end(), '\n'), 6);
  EXPECT_TRUE(Files().empty());
}

TEST_F(TextCommand, MissingCharactersAreNamedAndStrictFails) {
  const auto loose = Run({"text", "-", "a語語é", "-o", "a.svg"});
  EXPECT_EQ(loose.status, 0);
  EXPECT_NE(loose.err.find("3 characters without a shape in the font: 語 U+8A9E (2), é U+00E9 (1)"),
            std::string::npos)
      << loose.err;
  EXPECT_EQ(Run({"text", "-", "a語", "-o", "b.svg", "--strict"}).status, 1);
  EXPECT_EQ(Files(), std::set<std::string>{"a.svg"});
}

TEST_F(TextCommand, FailuresAreToldAndLeaveNothing) {
  krtest::WriteBytes(dir.file("empty.shp"), "");
  const struct {
    std::vector<std::string> arguments;
    int status;
    std::string told;
  } rows[] = {
      {{"text", "-", "a", "-o", "a.xyz"}, 2, "one of .png"},
      {{"text", "-", "a", "-o", "noending"}, 2, "one of .png"},
      {{"text", "-", "a", "-o", "-"}, 2, "--form"},
      {{"text", "-", "a"}, 2, "--measure"},
      {{"text", "-", "a", "-o", "none/a.svg"}, 1, "none/a.svg"},
      {{"text", "-", "a", "-o", "/dev/full", "--form", "dxf"}, 1, "/dev/full"},
      {{"text", "none.shp", "a", "-o", "a.svg"}, 1, "none.shp"},
      {{"text", "empty.shp", "a", "-o", "a.svg"}, 1, "empty.shp"},
      {{"text", "-", "a", "-o", "a.svg", "--height", "0"}, 2, "--height"},
      {{"text", "-", "a", "-o", "a.png", "--height", "9999"}, 1, "--dpi"},
      {{"text", "-", "a", "-o", "a.svg", "--align", "nowhere"}, 2, "--align"},
      {{"text", "-", "a", "-o", "a.svg", "--angle", "1.5"}, 2, "--angle"},
      {{"font", "sheet", "empty.shp", "-o", "a.svg"}, 1, "empty.shp"},
      {{"font", "sheet", "-", "-o", "a.dxf"}, 2, ".png or .svg"},
  };
  for (const auto& row : rows) {
    const auto outcome = Run(row.arguments);
    EXPECT_EQ(outcome.status, row.status) << row.told;
    EXPECT_NE((outcome.out + outcome.err).find(row.told), std::string::npos)
        << outcome.err << outcome.out;
  }
  EXPECT_EQ(Files(), std::set<std::string>{"empty.shp"});
}

TEST_F(TextCommand, AnglesAndBytesOfAnyKindAreDrawn) {
  std::string every;
  for (int byte = 1; byte < 256; ++byte) {
    every += static_cast<char>(byte);
  }
  EXPECT_EQ(Run({"text", "-", "-", "-o", "a.svg", "--angle", "-2147483648"}, every).status, 0);
  EXPECT_EQ(Run({"text", "-", "-", "-o", "a.svg", "--mirror", "--frame"}, "").status, 0);
}

}  // namespace

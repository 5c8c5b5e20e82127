// Compiled files: recognition, the two layouts, damage.
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "krdcmmn/platform/memory.h"

#include "apps/kr/font/shp_compiler.h"
#include "tests/font/font_text.h"
#include "tests/support/temp_dir.h"

namespace {

using krtest::Everything;
using krtest::Strokes;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

std::string Word(std::size_t value, int bytes = 2) {
  std::string text;
  for (int i = 0; i < bytes; ++i) {
    text += static_cast<char>(value >> 8 * i & 0xff);
  }
  return text;
}

struct Record {
  std::size_t code;
  std::string body;
};

const std::string kFontName("font\0", 5);
const std::string kUpStroke("\x34\0", 2);     // 0,0 to 0,3 and the end
const std::string kRightStroke("\x20\0", 2);  // 0,0 to 2,0 and the end

std::string Named(const std::string& program, const std::string& name = "") {
  return name + '\0' + program;
}

// The bytes of a shapes layout from its records; a first code of 0 has the font's name ahead.
std::string Shapes(const std::vector<Record>& records, const std::string& version = "1.0") {
  std::string bytes = "AutoCAD-86 shapes " + version + "\r\n\x1a";
  bytes.resize(28);
  bytes += Word(records.size());
  std::string bodies = records[0].code == 0 ? kFontName : "";
  for (const Record& record : records) {
    bytes += Word(record.code) + Word(record.body.size());
    bodies += record.body;
  }
  return bytes + bodies;
}

std::string Unifont(std::size_t count, const std::vector<Record>& records,
                    const std::string& name = kFontName) {
  std::string bytes = "AutoCAD-86 unifont 1.0\r\n\x1a";
  bytes += Word(count, 4) + Word(0) + Word(0) + name + "\x12\x07" + Word(0, 4);
  for (const Record& record : records) {
    bytes += Word(record.code) + Word(record.body.size()) + record.body;
  }
  return bytes;
}

const Record kMetrics = {0, std::string("\x12\x07\0\0", 4)};

class Shx : public testing::Test {
 protected:
  // Loads the bytes; `printed` is what came on standard output.
  bool Load(const std::string& bytes) {
    krtest::WriteBytes(path_, bytes);
    CaptureStdout();
    bool loaded = false;
    try {
      loaded = font_.LoadFromSHXFile(path_.c_str());
      printed_ = GetCapturedStdout();
    } catch (...) {
      printed_ = GetCapturedStdout();
      throw;
    }
    return loaded;
  }

  krtest::TempDir dir_;
  std::string path_ = dir_.file("font.shx");
  kr::font font_;
  std::string printed_;
};

TEST_F(Shx, ShapesLayout) {
  for (const char* version : {"1.0", "1.1"}) {
    ASSERT_TRUE(Load(Shapes({kMetrics,
                             {65, Named(kUpStroke, "name")},
                             {0, Named(kRightStroke)},
                             {0x410, Named(kUpStroke)},
                             {0xe9, Named(kUpStroke)}},
                            version)));
    EXPECT_EQ(Everything(font_),
              "25 7\n0: 2,0 0,0 2,0 L 0,0 2,0\n65: 0,3 0,0 0,3 L 0,0 0,3\n"
              "192: 0,3 0,0 0,3 L 0,0 0,3\n");
    EXPECT_EQ(printed_, "\nDone.\n");
  }
}

TEST_F(Shx, UnifontLayout) {
  ASSERT_TRUE(Load(Unifont(3, {{65, Named(kUpStroke, "name")}, {0xfffe, Named(kRightStroke)}})));
  EXPECT_EQ(Everything(font_), "25 7\n63: 2,0 0,0 2,0 L 0,0 2,0\n65: 0,3 0,0 0,3 L 0,0 0,3\n");
  EXPECT_EQ(printed_, "\nUnicode font-name/description: font\nDone.\n");

  ASSERT_TRUE(Load(Unifont(1, {{65, Named(kUpStroke)}}, std::string(1, '\0'))));
  EXPECT_EQ(Everything(font_), "25 7\n");
  EXPECT_EQ(printed_, "\nUnicode font-name/description: unspecified\nDone.\n");
}

// The name ends at its zero byte or after 129 bytes.
TEST_F(Shx, NamesOfFonts) {
  const std::string full(128, 'n');
  ASSERT_TRUE(Load(Unifont(2, {{65, Named(kUpStroke)}}, full + '\0')));
  EXPECT_EQ(printed_, "\nUnicode font-name/description: " + full + "\nDone.\n");
  ASSERT_TRUE(Load(Unifont(2, {{65, Named(kUpStroke)}}, full + 'n')));
  EXPECT_EQ(printed_, "\nDone.\n");
  EXPECT_EQ(Strokes(font_, 65), "L 0,0 0,3");
}

TEST_F(Shx, FirstRecordDecidesOnHeightAndDepth) {
  // The stated length of a font record plays no part.
  std::string bytes = Shapes({kMetrics, {65, Named(kUpStroke)}});
  bytes[32] = '\xff';
  bytes[33] = '\xff';
  ASSERT_TRUE(Load(bytes));
  EXPECT_EQ(Everything(font_), "25 7\n65: 0,3 0,0 0,3 L 0,0 0,3\n");
  // Without one, the first two bytes of the first body stand in.
  ASSERT_TRUE(Load(Shapes({{65, Named(kUpStroke, "\xff\xfe")}})));
  EXPECT_EQ(Everything(font_), "509 254\n65: 0,3 0,0 0,3 L 0,0 0,3\n");
  ASSERT_TRUE(Load(Shapes({{65, "\x05"}, {66, ""}})));
  EXPECT_EQ(Everything(font_), "5 0\n");
}

TEST_F(Shx, TwoShapesForOneSlotTheLaterWins) {
  ASSERT_TRUE(Load(Shapes({kMetrics, {65, Named(kUpStroke)}, {65, Named("\x24")}})));
  EXPECT_EQ(Strokes(font_, 65), "L 0,0 0,2");
  EXPECT_EQ(font_.primKind.count(), 2u);
  EXPECT_EQ(krtest::Metrics(font_, 65), "0,3 0,0 0,3");  // the later has no end of its own
}

TEST_F(Shx, OnlyTheFirstLineRecognises) {
  const std::string font = Shapes({kMetrics, {65, Named(kUpStroke)}});
  const struct {
    std::string bytes;
    bool known;
  } rows[] = {
      {font, true},
      {std::string(107, 'x') + "AutoCAD-86 shapes 1.1\n", true},
      {std::string(108, 'x') + "AutoCAD-86 shapes 1.1\n", false},
      {"\n" + font, false},
      {'\0' + font, false},
      {"AutoCAD-86 bigfont 1.0\r\n" + font, false},
      {"AutoCAD-86 shapes 1.2\r\n", false},
      {"", false},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(Load(font));
    bool known = true;
    try {
      Load(row.bytes);
    } catch (const std::exception&) {
      known = false;
      EXPECT_EQ(Everything(font_), "0 0\n");
      EXPECT_EQ(font_.linePoints.count(), 0u);
    }
    EXPECT_EQ(known, row.known) << row.bytes;
  }
  EXPECT_THROW(font_.LoadFromSHXFile(dir_.file("none.shx").c_str()), std::exception);
  EXPECT_THROW(font_.LoadFromSHXFile(dir_.path().c_str()), std::exception);
  EXPECT_EQ(font_.IsUnicodeFont(path_.c_str()) + font_.IsNormalFont(nullptr), 0);
}

TEST_F(Shx, BrokenLayoutsAreRefused) {
  const std::string good = Shapes({kMetrics, {65, Named(kUpStroke)}, {66, Named(kRightStroke)}});
  std::string negative = good;
  negative[41] = '\x80';
  std::string no_index = good;
  no_index[28] = 0;
  const std::string long_body = Unifont(2, {{65, std::string(2001, '\0')}});
  std::string negative_body = Unifont(2, {{65, Named(kUpStroke)}});
  negative_body[negative_body.size() - 4] = '\xff';
  for (const std::string& bytes : {negative, no_index, long_body, negative_body}) {
    EXPECT_FALSE(Load(bytes));
    EXPECT_EQ(font_.primKind.count(), 0u);
    EXPECT_THAT(printed_, testing::Not(testing::HasSubstr("Done")));
  }
}

// A shapes layout cut anywhere is an empty font; a unifont has the shapes ahead of the cut.
TEST_F(Shx, CutAnywhere) {
  const std::vector<Record> records = {{65, Named(kUpStroke)}, {66, Named(kRightStroke)}};
  const std::string shapes = Shapes({kMetrics, records[0], records[1]});
  for (std::size_t size = 28; size < shapes.size(); ++size) {
    EXPECT_FALSE(Load(shapes.substr(0, size))) << size;
    EXPECT_EQ(Everything(font_), "0 0\n");
  }
  const std::string unifont = Unifont(3, records);
  for (std::size_t size = 25; size < unifont.size(); ++size) {
    EXPECT_FALSE(Load(unifont.substr(0, size))) << size;
    EXPECT_EQ(Strokes(font_, 65), size + 7 >= unifont.size() ? "L 0,0 0,3" : "") << size;
    EXPECT_EQ(Strokes(font_, 66), "");
  }
}

// Each call for memory fails once: the load says so and leaves nothing that a walk could read.
TEST_F(Shx, NoMemoryAtAnyStep) {
  std::vector<Record> records = {kMetrics};
  for (std::size_t code = 1; code <= 120; ++code) {
    records.push_back({code, Named(std::string(300, '\x14') + std::string("\x0c\4\4\x20\0", 5))});
  }
  const std::string bytes = Shapes(records);
  int failures = 0;
  for (bool failed = true; failed; ++failures) {
    int left = failures;
    SetMemoryHook([&left](MemoryStep step, std::size_t) {
      return step == MemoryStep::kRelease || left-- != 0;
    });
    font_.ResetGlyphs();
    failed = !Load(bytes);
    SetMemoryHook({});
    EXPECT_EQ(font_.primKind.count() + font_.linePoints.count(), failed ? 0u : (301u + 600u) * 120);
    EXPECT_EQ(Strokes(font_, 120).empty(), failed);
    font_ = kr::font();  // gives the memory back
  }
  EXPECT_GT(failures, 5);
}

// Every byte of a real font changed: whatever comes of it, each walk stays within the arrays.
TEST_F(Shx, AnyByteChanged) {
  const std::string source = krtest::ReadBytes(KRD_TEST_DATA "/strokes.shp");
  CaptureStdout();
  for (const auto layout : {kr_app::ShxLayout::kShapes, kr_app::ShxLayout::kUnifont}) {
    const std::string good = kr_app::CompileShp(source, layout).bytes;
    for (std::size_t at = 0; at < good.size(); at += at < 160 ? 1 : 5) {
      for (const int flip : {0xff, 0x80, 0x01}) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ flip);
        krtest::WriteBytes(path_, bytes);
        try {
          font_.LoadFromSHXFile(path_.c_str());
        } catch (const std::exception&) {
        }
        EXPECT_EQ(Everything(font_).find('?'), std::string::npos) << at;
        EXPECT_LE(font_.primKind.count(), bytes.size());
      }
    }
  }
  GetCapturedStdout();
}

}  // namespace

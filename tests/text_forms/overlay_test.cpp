// One text in every form, laid over its picture: each stroke of a form runs over ink, and no ink
// lies away from the strokes.
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <png.h>
#include <string>
#include <vector>

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/kr/font/font_file.h"
#include "apps/kr/font/sheet.h"
#include "apps/kr/text/forms.h"
#include "tests/support/temp_dir.h"
#include "tests/text_forms/form_points.h"

namespace {

using kr_app::Box;
using kr_app::FormOptions;
using kr_app::TextJob;
using kr_app::TextSettings;

// Ink as one byte a pixel, 1 for all but white.
struct Picture {
  explicit Picture(const std::string& png) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_memory(&image, png.data(), png.size()), 0);
    image.format = PNG_FORMAT_GRAY;
    ink.resize(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, ink.data(), 0, nullptr), 0);
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    for (png_byte& p : ink) {
      p = p < 250 ? 1 : 0;
    }
  }
  Picture(int w, int h)
      : width(w), height(h), ink(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

  png_byte& At(int x, int y) { return ink[static_cast<std::size_t>(y * width + x)]; }
  bool Inside(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  // Whether there is ink within `reach` pixels.
  bool Near(int x, int y, int reach) {
    for (int dy = -reach; dy <= reach; ++dy) {
      for (int dx = -reach; dx <= reach; ++dx) {
        if (Inside(x + dx, y + dy) && At(x + dx, y + dy) != 0) {
          return true;
        }
      }
    }
    return false;
  }

  int width;
  int height;
  std::vector<png_byte> ink;
};

constexpr double kDpi = 120.0;
constexpr double kPixelsPerMm = kDpi / 25.4;
constexpr int kNear = 2;

TextJob Job(const std::string& font, const std::string& bytes, const TextSettings& settings) {
  auto glyphs = std::make_unique<kr::font>();
  if (font.empty()) {
    kr_app::LoadDefaultFont(*glyphs);
  } else {
    kr_app::LoadQuietly(*glyphs, font);
  }
  return {std::move(glyphs), settings, bytes};
}

// Each point of `points` runs over ink, and no ink lies further than half the pen from all of them.
void ExpectOnInk(Picture& picture, const krtest::Points& points, const Box& paper, int pen,
                 const std::string& what) {
  const auto middle = [](std::int64_t a, std::int64_t b) {
    return static_cast<double>((a + b) / 2) / kr_app::kUnitsPerMm;
  };
  const KRD::FDOT centre = {middle(paper.left, paper.right), middle(paper.bottom, paper.top)};
  const int width = static_cast<int>(std::ceil(pen * kPixelsPerMm / kr_app::kUnitsPerMm));
  Picture strokes(picture.width, picture.height);
  int beside = 0;
  for (KRD::FDOT p : points) {
    const int x = picture.width / 2 + KRD::RoundHalfAway((p.x - centre.x) * kPixelsPerMm);
    const int y = picture.height / 2 - KRD::RoundHalfAway((p.y - centre.y) * kPixelsPerMm);
    ASSERT_TRUE(strokes.Inside(x, y)) << what;
    strokes.At(x, y) = 1;
    beside += picture.Near(x, y, kNear) ? 0 : 1;
  }
  int alone = 0;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      alone += picture.At(x, y) != 0 && !strokes.Near(x, y, (width + 1) / 2 + kNear) ? 1 : 0;
    }
  }
  EXPECT_EQ(beside, 0) << what << ": points beside the ink";
  EXPECT_EQ(alone, 0) << what << ": ink beside the strokes";
  EXPECT_FALSE(points.empty());
}

void ExpectOverlay(const TextJob& job, const std::string& what) {
  FormOptions options;
  options.dpi = kDpi;
  Picture picture(PngForm(job, options));
  const Box paper = job.Paper();
  const KRD::FDOT corner = {static_cast<double>(paper.left) / kr_app::kUnitsPerMm,
                            static_cast<double>(paper.bottom) / kr_app::kUnitsPerMm};
  FormOptions chords = options;
  chords.tolerance = 0.02;
  const struct {
    const char* name;
    krtest::Points points;
  } forms[] = {
      {" svg", krtest::SvgPoints(SvgForm(job, options))},
      {" dxf", krtest::DxfPoints(DxfForm(job, options))},
      {" plt", krtest::HpglPoints(HpglForm(job, options), corner)},
      {" gcode", krtest::GcodePoints(GcodeForm(job, options), corner)},
      {" gcode chords", krtest::GcodePoints(GcodeForm(job, chords), corner)},
      {" json", krtest::JsonPoints(JsonForm(job, options))},
  };
  for (const auto& form : forms) {
    ExpectOnInk(picture, form.points, paper, job.pen(), what + form.name);
  }
}

TEST(Overlay, EveryFormShowsThePictureAtEveryAngleMirroredOrNot) {
  for (const bool mirror : {false, true}) {
    for (const int angle : {0, 17, 90, 211, 340}) {
      TextSettings settings;
      settings.height_mm = 14.0;
      settings.angle = angle;
      settings.mirror = mirror;
      settings.frame = angle == 17;
      settings.align = kr::ALIGN_MIDDLE_CENTRE;
      const TextJob job = Job("", "RS@&e()\r\n\x7f\x98g3\xb0", settings);
      ExpectOverlay(job, std::to_string(angle) + (mirror ? " mirrored" : ""));
    }
  }
}

// Diagonal octants, fractional arcs and a full circle; unequal scales; a pen of its own.
TEST(Overlay, ArcsHaveTheRadiusOfTheFont) {
  const char* source =
      "*UNIFONT,6,arcs\r\n20,5,0,0,0,0\r\n"
      "*65,1,diagonals\r\n2,8,(10,10),1,10,(6,012),10,(6,-034),10,(5,073),0\r\n"
      "*66,1,fractional\r\n11,(0,125,0,9,012),12,(4,9,-127),12,(9,0,40),12,(5,5,100),0\r\n"
      "*67,1,circle\r\n2,8,(8,0),1,10,(8,060),2,8,(12,0),0\r\n"
      "*68,1,long\r\n2,8,(8,0),1,10,(8,067),10,(4,-056),0\r\n";
  const krtest::TempDir dir;
  krtest::WriteBytes(dir.file("arcs.shp"), source);
  for (const double factor : {1.0, 0.6, 1.7}) {
    for (const bool mirror : {false, true}) {
      TextSettings settings;
      settings.height_mm = 22.0;
      settings.width_factor = factor;
      settings.mirror = mirror;
      settings.angle = 33;
      for (const char* letters : {"A", "B", "C", "D", "DABAC"}) {
        ExpectOverlay(Job(dir.file("arcs.shp"), letters, settings),
                      letters + std::to_string(factor) + (mirror ? " mirrored" : ""));
      }
    }
  }
}

TEST(Overlay, ASpecimenIsTheSameInBothForms) {
  kr::font font;
  kr_app::LoadDefaultFont(font);
  const std::string svg = kr_app::SheetSvg(font, "Ж & <b>");
  EXPECT_NE(svg.find("<title>Ж &amp; &lt;b></title>"), std::string::npos);
  double box[4];
  ASSERT_EQ(std::sscanf(svg.c_str() + svg.find("viewBox"), "viewBox=\"%lf %lf %lf %lf", &box[0],
                        &box[1], &box[2], &box[3]),
            4);
  const auto units = [](double mm) {
    return std::int64_t{KRD::RoundHalfAway(mm * kr_app::kUnitsPerMm)};
  };
  const Box paper = {units(box[0]), -units(box[1] + box[3]), units(box[0] + box[2]),
                     -units(box[1])};
  Picture picture(kr_app::SheetPng(font, "Ж & <b>", kDpi));
  ExpectOnInk(picture, krtest::SvgPoints(svg), paper, 50, "sheet");
  font.descent = -0x7fffffff - 1;
  font.advance[65] = {0x7fffffff, -0x7fffffff - 1};
  EXPECT_FALSE(kr_app::SheetPng(font, "damaged", 20.0).empty());
}

TEST(Placement, TheAlignedPointIsTheOriginAtEveryProportion) {
  for (const double factor : {0.5, 0.75, 1.0, 2.0}) {
    for (const bool mirror : {false, true}) {
      for (int align = 0; align < 9; ++align) {
        TextSettings settings;
        settings.height_mm = 18.0;
        settings.width_factor = factor;
        settings.mirror = mirror;
        settings.align = static_cast<kr::ALIGN>(align);
        const TextJob::Frame frame = Job("", "Wide text\r\nW", settings).TextFrame();
        // The text's own left and right, in its own direction.
        const double left = (mirror ? -1 : 1) * frame.corner[mirror ? 1 : 2].x;
        const double right = (mirror ? -1 : 1) * frame.corner[mirror ? 2 : 1].x;
        const double x[] = {left, (left + right) / 2, right};
        EXPECT_LE(std::abs(x[align % 3]), 250.0 * std::max(1.0, factor))
            << align << ' ' << factor << mirror;
        EXPECT_GT(right - left, 5000.0 * factor);
      }
    }
  }
}

TEST(Paper, HoldsTheInkWithItsMargin) {
  TextSettings settings;
  settings.height_mm = 18.0;
  settings.margin_mm = 3.0;
  const Box o = Job("", "O", settings).Paper();
  // The letter is 8 by 14 units of a millimetre, half a unit off the origin, the pen one unit wide.
  EXPECT_EQ(o.left, 50 - 50 - 300);
  EXPECT_EQ(o.width(), 800 + 100 + 600);
  EXPECT_EQ(o.height(), 1400 + 100 + 600);
  const Box none = Job("", "", settings).Paper();
  EXPECT_EQ(none.width(), 700);
  FormOptions options;
  for (const kr_app::Form& form : kr_app::kForms) {
    EXPECT_FALSE(form.make(Job("", "", settings), options).empty()) << form.ending;
  }
}

TEST(Refused, WhatCannotBeDrawnIsTold) {
  TextSettings settings;
  EXPECT_THROW(TextJob(std::make_unique<kr::font>(), settings, "A"), kr_app::Failure);
  settings.height_mm = 10000.0;
  EXPECT_THROW(PngForm(Job("", "A", settings), {}), kr_app::Failure);
  EXPECT_FALSE(SvgForm(Job("", "A", settings), {}).empty());
  EXPECT_THROW(Job("", std::string(5000, 'W'), settings).Paper(), kr_app::Failure);
}

TEST(Gcode, TolerancesChangeTheNumberOfChords) {
  TextSettings settings;
  const TextJob job = Job("", "OQS8", settings);
  std::size_t last = 0;
  for (const double tolerance : {10.0, 0.1, 0.01, 0.001}) {
    FormOptions options;
    options.tolerance = tolerance;
    const std::string code = GcodeForm(job, options);
    EXPECT_EQ(code.find("G3"), std::string::npos);
    EXPECT_GT(code.size(), last);
    last = code.size();
  }
}

}  // namespace

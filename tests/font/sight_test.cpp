// Glyphs that cannot be seen are left out, and the pixels stay what they were.
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/text_sight.h"

#include "tests/support/device.h"

namespace {

using KRD::DOT;
using KRD::FDOT;

// Letters a to h of random strokes up to `reach` units around their origin.
struct RandomFont : kr::font {
  RandomFont(std::mt19937& random, int reach) {
    const auto any = [&](int size) {
      return static_cast<int>(random() % static_cast<unsigned>(2 * size + 1)) - size;
    };
    height = 10.0;
    boxMin[10] = advance[10] = {any(3), -15};
    for (unsigned slot = 'a'; slot <= 'h'; ++slot) {
      advance[slot] = {any(reach), any(2)};
      boxMax[slot] = {any(reach), 0};
      primFirst[slot] = static_cast<int>(primKind.count());
      primCount[slot] = static_cast<int>(random() % 5);
      for (int i = 0; i < primCount[slot]; ++i) {
        const int kind = static_cast<int>(random() % 8);
        const DOT a = {any(reach), any(reach)};
        const DOT b = {any(reach), any(reach)};
        primKind.add(kind > 2 ? 0 : kind);
        if (kind == kr::PRIM_ARC) {
          primData.add(static_cast<int>(arcPoints.count()));
          const double r = any(reach) / 2.0;
          for (FDOT p : {FDOT{a.x + 0.3, a.y + 0.6}, FDOT{r, 0.0}, FDOT{a.x + r, a.y + r},
                         FDOT{a.x - r, b.y + 0.0}}) {
            arcPoints.add(p);
          }
        } else {
          auto& points = kind == kr::PRIM_CIRCLE ? circlePoints : linePoints;
          primData.add(static_cast<int>(points.count()));
          points.add(a);
          points.add(kind == kr::PRIM_CIRCLE ? DOT{any(3), 0} : b);
        }
      }
    }
  }
};

// A window that draws straight, at `scale` about `centre`.
struct View : krtest::Stage {
  View(int w, int h, double scale, DOT centre) : Stage(w, h) {
    device.DirectDraw(true);
    device.SetWorkArea(w, h);
    device.SetMaxScale(1e6);
    device.cleardevice(0xffffff);
    device.Zoom(scale);
    device.ScrollH(centre.x);
    device.ScrollV(centre.y);
  }
};

// The same text with nothing left out: the cursor is sent beyond the range in which anything is
// claimed, and a CR brings it back.
TEST(TextSight, ThePixelsAreThoseOfAllGlyphs) {
  constexpr int kWidth = 61, kHeight = 47;
  const double scales[] = {0.3, 1.0, 2.5, 7.0};
  const char* texts[] = {"abcdefgh", "h", "aab\r\nchd\nefg\rhab", "acegbdfhacegbdfh", "", "xbx"};
  int painted = 0;
  for (unsigned seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    RandomFont glyphs(random, seed % 3 == 0 ? 40 : 8);
    glyphs.advance['!'] = {0x70000000, 0};
    kr::drawfont text;
    text.InitFont(&glyphs);
    text.SetHeight(static_cast<int>(random() % 40) - (seed % 7 == 0 ? 20 : 0));
    text.SetSWidth(static_cast<double>(random() % 9) / 4.0);
    text.SetAngle(static_cast<int>(random() % 12) * 450 - 900);
    text.SetMirror(random() % 2 == 0);
    text.SetAlign(static_cast<kr::ALIGN>(random() % 3 * 3));  // those that no width moves
    text.SetWidth(static_cast<int>(random() % 4));
    text.SetColor(0);
    const double scale = scales[random() % 4];
    const DOT centre = {static_cast<int>(random() % 200) - 100,
                        static_cast<int>(random() % 200) - 100};
    const std::string s = texts[random() % 6];
    View some(kWidth, kHeight, scale, centre);
    View all(kWidth, kHeight, scale, centre);
    text.Draw({0, 0}, s.c_str(), some.device, false);
    text.Draw({0, 0}, ("!\r" + s).c_str(), all.device, false);
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const auto pixel = krtest::Stage::At(some.dc, x, y);
        painted += pixel != 0xffffff ? 1 : 0;
        ASSERT_EQ(pixel, krtest::Stage::At(all.dc, x, y)) << seed << " at " << x << ',' << y;
      }
    }
  }
  EXPECT_GT(painted, 100000);
}

struct SightTest : testing::Test {
  SightTest() {
    const auto add = [&](unsigned char slot, DOT a, DOT b) {
      glyphs.primFirst[slot] = static_cast<int>(glyphs.primKind.count());
      glyphs.primCount[slot] = 1;
      glyphs.primKind.add(kr::PRIM_LINE);
      glyphs.primData.add(static_cast<int>(glyphs.linePoints.count()));
      glyphs.linePoints.add(a);
      glyphs.linePoints.add(b);
      glyphs.advance[slot] = {10, 0};
    };
    glyphs.height = 10.0;
    add('a', {0, 0}, {8, 8});
    add('b', {0, 0}, {8, 8});
    text.InitFont(&glyphs);
    text.SetHeight(10);
    text.SetSWidth(0.0);
  }
  bool Hidden(DOT origin, const std::string& s) {
    kr::TEXT_SIGHT sight(glyphs, text, origin, 1, stage.device);
    return sight.HidesAll(s.c_str(), s.size());
  }
  kr::font glyphs;
  kr::drawfont text;
  krtest::Stage stage;  // the main buffer is 200 by 160 pixels, the origin in its middle
};

TEST_F(SightTest, TellsWhatLiesOutsideOnEachSide) {
  const struct {
    DOT origin;
    bool hidden;
  } rows[] = {{{0, 0}, false},     {{120, 0}, true},  {{-150, 0}, true},  {{0, 100}, true},
              {{0, -100}, true},   {{99, 0}, false},  {{-120, 0}, false}, {{0, 79}, false},
              {{-115, 75}, false}, {{-140, 0}, true}, {{0, -86}, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(Hidden(row.origin, "aba"), row.hidden) << row.origin.x << ',' << row.origin.y;
  }
  kr::TEXT_SIGHT sight(glyphs, text, {90, 0}, 1, stage.device);
  EXPECT_FALSE(sight.HidesAll("abab", 4));
  EXPECT_FALSE(sight.Hides('a', {0, 0}));
  EXPECT_TRUE(sight.Hides('b', {30, 0}));
}

TEST_F(SightTest, ClaimsNothingAboutNumbersThatAreNoneOrAreCutTo32Bits) {
  EXPECT_TRUE(Hidden({5000, 0}, "ab"));
  glyphs.advance['a'] = {0x7fffffff, 0};  // the cursor stops at the end of its range
  EXPECT_FALSE(Hidden({5000, 0}, "aab"));
  glyphs.advance['a'] = {10, 0};
  glyphs.primKind[1] = kr::PRIM_ARC;
  glyphs.primData[1] = 0;
  const double none = std::numeric_limits<double>::quiet_NaN();
  for (FDOT centre : {FDOT{none, 0.0}, FDOT{0.0, none}, FDOT{1e300, 0.0}}) {
    glyphs.arcPoints.empty();
    for (FDOT p : {centre, FDOT{5.0, 0.0}, FDOT{5.0, 0.0}, FDOT{0.0, 5.0}}) {
      glyphs.arcPoints.add(p);
    }
    EXPECT_FALSE(Hidden({5000, 0}, "ab"));
    EXPECT_TRUE(Hidden({5000, 0}, "aa"));
  }
  text.widthScale = none;
  EXPECT_FALSE(Hidden({5000, 0}, "a"));
}

}  // namespace

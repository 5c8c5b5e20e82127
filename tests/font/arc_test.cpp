// Arcs against plane geometry: the records lie on their circles and span the angles asked for.
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

#include "krdcmmn/font/font.h"
#include "krdcmmn/font/shape_reader.h"

namespace {

using KRD::FDOT;

struct ArcRecord {
  FDOT centre;
  double radius;
  FDOT first;
  FDOT second;
};

ArcRecord LastArc(kr::ShapeReader& reader, const kr::font& font) {
  reader.Finish();
  const FDOT* p = font.arcPoints.end() - 4;
  return {p[0], p[1].x, p[2], p[3]};
}

double Distance(FDOT a, FDOT b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// Counter-clockwise from the first end to the second, in degrees from 0 to 360.
double Sweep(const ArcRecord& arc) {
  const double a = std::atan2(arc.first.y - arc.centre.y, arc.first.x - arc.centre.x);
  const double b = std::atan2(arc.second.y - arc.centre.y, arc.second.x - arc.centre.x);
  const double degrees = (b - a) * 180 / std::numbers::pi;
  return degrees < 0 ? degrees + 360 : degrees;
}

TEST(Arc, BulgesSpanTheirAngleBetweenTheirEnds) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> step(-127, 127);
  kr::font font;
  kr::ShapeReader reader(&font);
  for (int i = 0; i < 2000; ++i) {
    const int dx = step(random);
    const int dy = step(random);
    const int bulge = step(random);
    if (bulge == 0 || (dx == 0 && dy == 0)) {
      continue;
    }
    const KRD::DOT start = reader.pen;
    reader.BulgeArc(dx, dy, bulge);
    ASSERT_EQ(reader.target.x, start.x + dx);
    ASSERT_EQ(reader.target.y, start.y + dy);
    const ArcRecord arc = LastArc(reader, font);
    const FDOT from = bulge > 0 ? arc.first : arc.second;
    const FDOT to = bulge > 0 ? arc.second : arc.first;
    ASSERT_EQ(from.x, start.x);
    ASSERT_EQ(to.y, reader.target.y);
    const double tolerance = 1e-9 * (arc.radius + std::abs(start.x) + std::abs(start.y));
    ASSERT_NEAR(Distance(arc.centre, from), arc.radius, tolerance);
    ASSERT_NEAR(Distance(arc.centre, to), arc.radius, tolerance);
    ASSERT_NEAR(Sweep(arc), 2 * 90.0 * std::abs(bulge) / 127, 1e-6) << dx << " " << dy;
    reader.pen = reader.target;
  }
}

// Every whole octant pair of both senses: the rays of the record are those of the octants.
TEST(Arc, OctantsSpanMultiplesOf45Degrees) {
  for (int s = 0; s < 8; ++s) {
    for (int k = 1; k < 8; ++k) {
      for (const int sign : {1, -1}) {
        kr::font font;
        kr::ShapeReader reader(&font);
        reader.radius = 100;
        const auto operand = static_cast<unsigned char>((sign < 0 ? 0x80 : 0) | s << 4 | k);
        reader.OctantArc(reader.OctantText(operand));
        const ArcRecord arc = LastArc(reader, font);
        EXPECT_NEAR(Sweep(arc), 45 * k, 1e-9) << s << k;
        const FDOT pen = sign > 0 ? arc.first : arc.second;
        EXPECT_EQ(pen.x, 0);
        EXPECT_EQ(pen.y, 0);
        const double ray = std::atan2(-arc.centre.y, -arc.centre.x);
        EXPECT_NEAR(std::remainder(ray * 180 / std::numbers::pi - 45 * s, 360), 0, 1e-9) << s << k;
      }
    }
  }
}

TEST(Arc, FractionsStartAndEndAtTheirOffsets) {
  std::mt19937 random(12);
  std::uniform_int_distribution<int> offset(0, 127);
  std::uniform_int_distribution<int> octant(0, 7);
  for (int i = 0; i < 500; ++i) {
    const int so = offset(random);
    const int eo = offset(random);
    const int s = octant(random);
    const int k = octant(random);
    const int sweep = 45 * k + eo * 45 / 256 - so * 45 / 256;
    if (sweep <= 0) {
      continue;
    }
    for (const bool clockwise : {false, true}) {
      kr::font font;
      kr::ShapeReader reader(&font);
      const auto operand = static_cast<unsigned char>((clockwise ? 0x80 : 0) | s << 4 | k);
      // Centre and ends are whole numbers, so at this radius angles are right to 0.01 of a degree.
      reader.FractionalArc(static_cast<unsigned char>(so), static_cast<unsigned char>(eo), 10000,
                           reader.OctantText(operand));
      const ArcRecord arc = LastArc(reader, font);
      EXPECT_NEAR(Sweep(arc), sweep, 0.02);
      const FDOT start = clockwise ? arc.second : arc.first;
      EXPECT_EQ(start.x, 0);
      const FDOT end = clockwise ? arc.first : arc.second;
      EXPECT_EQ(end.x, reader.target.x);
      EXPECT_NEAR(Distance(arc.centre, start), 10000, 1);
      EXPECT_NEAR(Distance(arc.centre, end), 10000, 2);
      const double ray = std::atan2(start.y - arc.centre.y, start.x - arc.centre.x);
      const double asked = clockwise ? 45 * s - so * 45 / 256 : 45 * s + so * 45 / 256;
      EXPECT_NEAR(std::remainder(ray * 180 / std::numbers::pi - asked, 360), 0, 0.02);
    }
  }
}

}  // namespace

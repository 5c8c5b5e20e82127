// Curves as points: how far the chords are from the curve, and how many they are.
#include "apps/sheet/curves.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <numbers>
#include <random>

namespace {

using namespace kr_sheet;

constexpr double kTurn = 2 * std::numbers::pi;

double ToChord(FDOT p, FDOT a, FDOT b) {
  const FDOT along = b - a;
  const double square = Dot(along, along);
  const double t = square > 0 ? std::clamp(Dot(p - a, along) / square, 0.0, 1.0) : 0.0;
  return Length(p - (a + along * t));
}

// The greatest distance of the points on the curve from the nearest chord. The curve is walked in
// steps, and the chords with it.
template <class At>
double Deviation(const std::vector<FDOT>& points, At&& at, int steps = 20000) {
  const std::size_t window = 40 + points.size() / 20;
  double worst = 0;
  std::size_t nearest = 1;
  for (int i = 0; i <= steps; ++i) {
    const FDOT p = at(static_cast<double>(i) / steps);
    double best = ToChord(p, points[nearest - 1], points[nearest]);
    for (std::size_t next = nearest + 1; next < std::min(points.size(), nearest + window); ++next) {
      const double distance = ToChord(p, points[next - 1], points[next]);
      if (distance < best) {
        best = distance;
        nearest = next;
      }
    }
    worst = std::max(worst, best);
  }
  return worst;
}

std::vector<FDOT> Points(const Curve& curve, double tolerance) {
  std::vector<FDOT> points = {curve.at(curve.from)};
  Flatten(curve, tolerance, false, points);
  return points;
}

TEST(Curves, ChordsOfEllipsesStayWithinTolerance) {
  struct Row {
    FDOT u, v;
    double from, to, tolerance;
  };
  const Row rows[] = {
      {{1000, 0}, {0, 1000}, 0, kTurn, 10},     {{1e6, 0}, {0, 1e6}, 1, 2, 1},
      {{5e5, 2e5}, {-1e5, 3e5}, 0, kTurn, 10},  {{1e6, 0}, {0, 1}, 0, kTurn, 5},
      {{2e6, 1e6}, {1e6, -2e6}, 0.3, 5.0, 100}, {{3, 0}, {0, 3}, 0, kTurn, 10},
      {{2e9, 0}, {0, 1.5e9}, 3, 3.2, 10},       {{7e5, 7e5}, {7e5, 6e5}, -1, 1, 10},
      {{0, 1e5}, {0, 0}, 0, kTurn, 10},
  };
  for (const Row& row : rows) {
    const Curve curve = {{1e5, -2e5}, row.u, row.v, row.from, row.to};
    const auto points = Points(curve, row.tolerance);
    EXPECT_LE(
        Deviation(points, [&](double t) { return curve.at(row.from + t * (row.to - row.from)); }),
        row.tolerance * 1.0001)
        << row.u.x << ' ' << row.to;
    // A circle of that size needs about half a turn times the root of radius over 2 tolerances.
    const double reach = std::hypot(Length(row.u), Length(row.v));
    EXPECT_LE(points.size(), 12 + std::numbers::pi * std::sqrt(reach / row.tolerance));
  }
}

TEST(Curves, BulgeIsTheSagittaOverHalfTheChord) {
  for (double bulge : {0.1, 0.5, 1.0, 2.5, -0.3, -1.0, -4.0}) {
    const FDOT a = {100, 200};
    const FDOT b = {400, 600};
    const Curve c = BulgeCurve(a, b, bulge);
    const FDOT start = c.at(bulge > 0 ? c.from : c.to);
    const FDOT end = c.at(bulge > 0 ? c.to : c.from);
    EXPECT_NEAR(Length(start - a) + Length(end - b), 0, 1e-9) << bulge;
    // A positive bulge turns left, so its arc lies on the right of the chord.
    const FDOT right = {0.8, -0.6};
    const FDOT middle = c.at((c.from + c.to) / 2);
    EXPECT_NEAR(Dot(middle - (a + b) * 0.5, right), bulge * 250, 1e-6) << bulge;
  }
}

// The definition of a B-spline, with its recursion as it stands in any book.
double Basis(const std::vector<double>& knots, std::size_t i, int degree, double t) {
  if (degree == 0) {
    const bool last = knots[i + 1] == knots.back() && t == knots.back();
    return (knots[i] <= t && t < knots[i + 1]) || (last && knots[i] < knots[i + 1]) ? 1 : 0;
  }
  const auto d = static_cast<std::size_t>(degree);
  const double left = knots[i + d] - knots[i];
  const double right = knots[i + d + 1] - knots[i + 1];
  return (left > 0 ? (t - knots[i]) / left * Basis(knots, i, degree - 1, t) : 0) +
         (right > 0 ? (knots[i + d + 1] - t) / right * Basis(knots, i + 1, degree - 1, t) : 0);
}

FDOT ByDefinition(const Spline& s, double t) {
  FDOT sum = {0, 0};
  double weight = 0;
  for (std::size_t i = 0; i < s.controls.size(); ++i) {
    const double w = Basis(s.knots, i, s.degree, t) * s.controls[i].weight;
    sum = sum + s.controls[i].at * w;
    weight += w;
  }
  return sum * (1 / weight);
}

TEST(Curves, SplinesAgreeWithTheirDefinition) {
  std::mt19937 random(5);
  const auto number = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int degree : {1, 2, 3, 6}) {
    for (bool clamped : {true, false}) {
      Spline s;
      s.degree = degree;
      double knot = 0;
      const int controls = degree + 4;
      for (int i = 0; i < controls; ++i) {
        s.controls.push_back({{number(-1e6, 1e6), number(-1e6, 1e6)}, number(0.3, 3)});
      }
      for (int i = 0; i < controls + degree + 1; ++i) {
        const bool inside = i > degree && i < controls;
        knot += !clamped || inside || i == controls ? number(0.1, 1) : 0;
        s.knots.push_back(knot);
      }
      ASSERT_TRUE(s.sound());
      std::vector<FDOT> points;
      Flatten(s, 20, points);
      const auto d = static_cast<std::size_t>(degree);
      const double low = s.knots[d];
      const double high = s.knots[s.controls.size()];
      EXPECT_LE(
          Deviation(
              points, [&](double t) { return ByDefinition(s, low + t * (high - low)); }, 1000),
          20.5)
          << degree << ' ' << clamped;
    }
  }
}

TEST(Curves, RationalSplineIsAWholeCircle) {
  Spline s;
  s.degree = 2;
  s.knots = {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4};
  const double r = 1e5;
  const double corner = std::numbers::sqrt2 / 2;
  const FDOT at[] = {{r, 0}, {r, r}, {0, r}, {-r, r}, {-r, 0}, {-r, -r}, {0, -r}, {r, -r}, {r, 0}};
  for (std::size_t i = 0; i < std::size(at); ++i) {
    s.controls.push_back({at[i], i % 2 == 0 ? 1 : corner});
  }
  ASSERT_TRUE(s.sound());
  std::vector<FDOT> points;
  Flatten(s, 10, points);
  for (std::size_t i = 1; i < points.size(); ++i) {
    EXPECT_NEAR(Length(points[i]), r, 1e-6);
    EXPECT_GE(Length((points[i] + points[i - 1]) * 0.5), r - 10);
  }
  EXPECT_LT(points.size(), 600u);
}

TEST(Curves, SplinesThatCannotBeDrawnAreKnown) {
  const Spline good = {
      3, {0, 0, 0, 0, 1, 1, 1, 1}, {{{0, 0}, 1}, {{1, 1}, 1}, {{2, 0}, 1}, {{3, 1}, 1}}};
  ASSERT_TRUE(good.sound());
  const auto changed = [&](auto&& change) {
    Spline s = good;
    change(s);
    return s.sound();
  };
  EXPECT_FALSE(changed([](Spline& s) { s.degree = 0; }));
  EXPECT_FALSE(changed([](Spline& s) { s.degree = 16; }));
  EXPECT_FALSE(changed([](Spline& s) { s.knots.pop_back(); }));
  EXPECT_FALSE(changed([](Spline& s) { s.knots[3] = 2; }));
  EXPECT_FALSE(changed([](Spline& s) { s.knots[7] = HUGE_VAL; }));
  EXPECT_FALSE(changed([](Spline& s) { s.controls[1].weight = 0; }));
  EXPECT_FALSE(changed([](Spline& s) { s.controls[1].weight = -1; }));
  EXPECT_FALSE(changed([](Spline& s) { s.controls[1].at.x = NAN; }));
  EXPECT_FALSE(changed([](Spline& s) { s.controls.clear(); }));
}

}  // namespace

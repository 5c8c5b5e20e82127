// The drawing steps that compiled programs and sources share.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numbers>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/font/font.h"
#include "krdcmmn/font/shape_vectors.h"
#include "krdcmmn/font/token_number.h"
#include "krdcmmn/platform/codepage.h"

namespace kr {

namespace {

using KRD::DOT;
using KRD::FDOT;
using KRD::RoundHalfAway;

// From the centre to the ends of the octants. An odd octant's is the corner of the square about the
// circle and so longer than the radius: drawing takes it as a ray.
constexpr DOT kOctants[9] = {{1, 0},   {1, 1},  {0, 1},  {-1, 1}, {-1, 0},
                             {-1, -1}, {0, -1}, {1, -1}, {1, 0}};

constexpr double kBulgeStep = 0.012368475014133044;  // pi / 254

// base + factor * length.
std::int32_t Moved(std::int32_t base, std::int32_t factor, std::int32_t length) {
  return Saturated(std::int64_t{base} + std::int64_t{factor} * length);
}

FDOT Doubles(DOT p) {
  return {static_cast<double>(p.x), static_cast<double>(p.y)};
}

int OctantDegrees(char digit) {
  return digit >= '1' && digit <= '7' ? (digit - '0') * 45 : 0;
}

double Radians(int degrees) {
  return degrees * std::numbers::pi / 180.0;
}

}  // namespace

ShapeReader::ShapeReader(font* target_font)
    : fontData(target_font),
      prims(target_font->primKind, target_font->primData),
      lines(target_font->linePoints),
      arcs(target_font->arcPoints),
      circles(target_font->circlePoints) {}

ShapeReader::~ShapeReader() {
  Finish();
}

bool ShapeReader::Finish() noexcept {
  bool whole = !prims.failed() && !lines.failed() && !arcs.failed() && !circles.failed();
  try {
    if (whole) {
      prims.Finish();
      lines.Finish();
      arcs.Finish();
      circles.Finish();
    }
  } catch (KRD::EXCEPTION* e) {
    e->Delete();
    whole = false;
  }
  if (!whole) {
    fontData->EmptyGeometry();
  }
  return whole;
}

void ShapeReader::Expect(std::size_t primitives) {
  prims.Expect(primitives);
  lines.Expect(2 * primitives);
}

bool ShapeReader::MapCode(std::int32_t code) {
  fontData->current = code;
  const char16_t unit = static_cast<char16_t>(code & 0xffff);
  char image = 0;
  WideCharToMultiByte(CP_ACP, 0, &unit, 1, &image, 1, nullptr, nullptr);
  const unsigned char slot = static_cast<unsigned char>(image);
  if (code > 128 && slot < 128) {
    return false;
  }
  fontData->current = slot;
  fontData->primFirst[slot] = static_cast<std::int32_t>(prims.count());
  return true;
}

void ShapeReader::DivideScale(std::int32_t divisor) {
  if (divisor != 0) {
    scale /= divisor;
  }
}

void ShapeReader::AddArc(FDOT centre, double arc_radius, FDOT first, FDOT second) {
  const unsigned at = arcs.Take(4);
  arcs.at(at) = centre;
  arcs.at(at + 1) = {arc_radius, 0.0};
  arcs.at(at + 2) = first;
  arcs.at(at + 3) = second;
  AddEntry(PRIM_ARC, at);
}

void ShapeReader::AddCircle(DOT centre) {
  const unsigned at = circles.Take(2);
  circles.at(at) = centre;
  circles.at(at + 1) = {radius, 0};
  AddEntry(PRIM_CIRCLE, at);
}

void ShapeReader::LengthVector(char direction_digit, std::int32_t length) {
  const int digit = HexDigit(direction_digit);
  if (digit >= 0) {
    TurnedVector(static_cast<unsigned>(digit), length);
  } else {
    FinishVector();
  }
}

void ShapeReader::OctantArc(std::string_view operand_text) {
  const std::int64_t number = DecimalNumber(operand_text);
  const std::int64_t digits = std::abs(number);
  if (digits / 10 > 8) {
    return;
  }
  const int start = static_cast<int>(digits / 10);
  const int count = static_cast<int>(digits % 10);
  int end = number < 0 ? start - count : start + count;
  if (end > 8) {
    end -= 8;
  } else if (end < 0) {
    end += 8;
  }
  if (end > 8 || end < 0) {
    end &= 7;
  }
  direction = kOctants[start];
  const DOT centre = {Moved(pen.x, -direction.x, radius), Moved(pen.y, -direction.y, radius)};
  if (count == 0) {
    AddCircle(centre);
    return;
  }
  target = {Moved(centre.x, kOctants[end].x, radius), Moved(centre.y, kOctants[end].y, radius)};
  const bool clockwise = number < 0;
  AddArc(Doubles(centre), radius, Doubles(clockwise ? target : pen),
         Doubles(clockwise ? pen : target));
}

void ShapeReader::FractionalArc(unsigned char start_offset, unsigned char end_offset,
                                std::int32_t arc_radius, std::string_view operand_text) {
  const bool clockwise = !operand_text.empty() && operand_text[0] == '-';
  operand_text.remove_prefix(clockwise ? 1 : 0);
  const int from = operand_text.size() > 1 ? OctantDegrees(operand_text[1]) : 0;
  const int over = operand_text.size() > 2 ? OctantDegrees(operand_text[2]) : 0;
  const int so = static_cast<std::int8_t>(start_offset) * 45 / 256;
  const int eo = static_cast<std::int8_t>(end_offset) * 45 / 256;
  const double a = Radians(clockwise ? from - so : from + so);
  const int sweep = over + eo - so;
  const double turn = Radians(clockwise ? -sweep : sweep);

  const double r = arc_radius;
  const FDOT c = {pen.x - r * std::cos(a), pen.y - r * std::sin(a)};
  const FDOT v = {pen.x - c.x, pen.y - c.y};
  const FDOT p = {c.x + v.x * std::cos(turn) - v.y * std::sin(turn),
                  c.y + v.y * std::cos(turn) + v.x * std::sin(turn)};
  const DOT centre = {RoundHalfAway(c.x), RoundHalfAway(c.y)};
  target = {RoundHalfAway(p.x), RoundHalfAway(p.y)};
  AddArc(Doubles(centre), r, Doubles(clockwise ? target : pen), Doubles(clockwise ? pen : target));
}

void ShapeReader::BulgeArc(std::int32_t dx, std::int32_t dy, std::int32_t bulge) {
  MoveTarget(Scaled(dx), Scaled(dy));
  const std::int16_t low = static_cast<std::int16_t>(bulge & 0xffff);
  if (low == 0) {
    AddPlainLine();
  } else {
    ChordArc(pen, target, low * kBulgeStep, low >= 0);
  }
}

void ShapeReader::ChordArc(DOT from, DOT to, double half_angle, bool counter_clockwise) {
  const FDOT p = Doubles(from);
  const FDOT q = Doubles(to);
  const FDOT m = {(p.x + q.x) * 0.5, (p.y + q.y) * 0.5};
  const double cosine = std::cos(half_angle);
  const double sine = std::sin(half_angle);
  const FDOT c = {m.x - (m.y - p.y) * cosine / sine, m.y + (m.x - p.x) * cosine / sine};
  const double dx = pen.x - c.x;
  const double dy = pen.y - c.y;
  AddArc(c, std::sqrt(dx * dx + dy * dy), counter_clockwise ? p : q, counter_clockwise ? q : p);
}

void ShapeReader::EndShape() {
  if (fontData->current == 10) {
    boxLow = target;
    boxHigh = {0, 0};
  }
  const unsigned slot = static_cast<unsigned char>(fontData->current);
  fontData->advance[slot] = target;
  fontData->boxMin[slot] = boxLow;
  fontData->boxMax[slot] = boxHigh;
}

}  // namespace kr

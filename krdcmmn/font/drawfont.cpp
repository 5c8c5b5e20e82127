// The walk over a text's primitives, on a device or into a sink.
#include "krdcmmn/font/drawfont.h"

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/font/font.h"
#include "krdcmmn/font/fontstream.h"
#include "krdcmmn/font/text_layout.h"
#include "krdcmmn/font/text_sight.h"

using KRD::DOT;
using KRD::FDOT;
using KRD::RoundHalfAway;

namespace kr {

namespace {

// Where font points of one text land in the model. Cursor and point are scaled and rounded apart.
class PLACEMENT {
 public:
  PLACEMENT(const drawfont& text, DOT origin)
      : origin_(origin),
        turn_(text.mirror, text.angle),
        width_scale_(text.widthScale),
        height_scale_(text.heightScale) {}

  DOT cursor() const { return cursor_; }
  void MoveTo(DOT cursor) {
    cursor_ = cursor;
    scaled_ = {RoundHalfAway(cursor.x * width_scale_), RoundHalfAway(cursor.y * height_scale_)};
  }

  template <class Point>
  DOT Map(const Point& p) const {
    const std::int64_t x = std::int64_t{scaled_.x} + RoundHalfAway(p.x * width_scale_);
    const std::int64_t y = std::int64_t{scaled_.y} + RoundHalfAway(p.y * height_scale_);
    return Plus(origin_, turn_.Of(x, y));
  }

  // Circles go by the stroke width in place of the scales.
  DOT MapByWidth(DOT p, int stroke) const {
    const std::int64_t x = std::int64_t{p.x} * stroke + std::int64_t{cursor_.x} * stroke;
    const std::int64_t y = std::int64_t{p.y} * stroke + std::int64_t{cursor_.y} * stroke;
    return Plus(origin_, turn_.Of(Within32(x), Within32(y)));
  }

  int Radius(double radius) const { return RoundHalfAway(radius * width_scale_); }

 private:
  DOT origin_;
  TURN turn_;
  double width_scale_;
  double height_scale_;
  DOT cursor_{0, 0};
  DOT scaled_{0, 0};  // the cursor in model units
};

// One primitive of the glyph at the placement's cursor. The sink gets an arc's ends in the font's
// order, counter-clockwise in font space.
template <class Sink>
void Emit(const font& glyphs, int index, const PLACEMENT& place, int stroke, Sink& sink) {
  const unsigned i = static_cast<unsigned>(index);
  const unsigned record = static_cast<unsigned>(glyphs.primData[i]);
  switch (glyphs.primKind[i]) {
    case PRIM_LINE: {
      const DOT* line = &glyphs.linePoints[record];
      sink.Line(place.Map(line[0]), place.Map(line[1]));
      break;
    }
    case PRIM_ARC: {
      const FDOT* arc = &glyphs.arcPoints[record];
      sink.Arc(place.Map(arc[0]), place.Radius(arc[1].x), place.Map(arc[2]), place.Map(arc[3]));
      break;
    }
    default: {
      const DOT* circle = &glyphs.circlePoints[record];
      sink.Circle(place.MapByWidth(circle[0], stroke),
                  Within32(std::int64_t{circle[1].x} * stroke));
      break;
    }
  }
}

// `hides` tells of a slot and a cursor whether the glyph can be left out.
template <class Sink, class Hides>
void Walk(const font& glyphs, const char* s, std::size_t n, PLACEMENT& place, int stroke,
          Sink& sink, Hides hides) {
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned char c = static_cast<unsigned char>(s[k]);
    if (c == kCarriageReturn) {
      place.MoveTo({0, place.cursor().y});
    }
    if (!hides(c, place.cursor())) {
      const font::PRIM_RANGE prims = glyphs.Prims(c);
      for (int i = prims.first; i < prims.last; ++i) {
        Emit(glyphs, i, place, stroke, sink);
      }
    }
    place.MoveTo(Plus(place.cursor(), glyphs.advance[c]));
  }
}

// The device's arc runs anticlockwise in the model, as the font's does unless it is mirrored.
struct DEVICE_SINK {
  DRAW_DEVICE& device;
  bool mirror;

  void Line(DOT from, DOT to) const { device.line(from, to); }
  void Arc(DOT centre, int radius, DOT first, DOT second) const {
    device.arc(centre, radius, mirror ? second : first, mirror ? first : second);
  }
  void Circle(DOT centre, int radius) const { device.circle(centre, radius); }
};

// A fontstream's arc runs clockwise.
struct STREAM_SINK {
  fontstream& out;
  int stroke;
  bool mirror;
  std::int64_t sum = 0;

  void Line(DOT from, DOT to) { sum += out.line(stroke, from, to); }
  void Arc(DOT centre, int, DOT first, DOT second) {
    sum += out.arc(stroke, centre, mirror ? first : second, mirror ? second : first);
  }
  void Circle(DOT centre, int radius) { sum += out.circle(stroke, centre, radius); }
};

DOT AnchorOffset(drawfont& text, const char* s) {
  const FDOT anchor = text.GetStrAlign(s);
  return {RoundHalfAway(anchor.x * text.heightScale), RoundHalfAway(anchor.y * text.heightScale)};
}

}  // namespace

void drawfont::Draw(DOT pos, const char* s, DRAW_DEVICE& dev, bool frame) {
  const int stroke = width != 0 ? width : RoundHalfAway(heightScale);
  dev.setPenStyle(0, stroke, color);
  if (fontData != nullptr) {
    const DOT origin = Plus(pos, AnchorOffset(*this, s));
    const std::size_t n = TextLength(s);
    TEXT_SIGHT sight(*fontData, *this, origin, stroke, dev);
    if (!sight.HidesAll(s, n)) {
      PLACEMENT place(*this, origin);
      DEVICE_SINK sink{dev, mirror};
      Walk(*fontData, s, n, place, stroke, sink,
           [&](unsigned char slot, DOT cursor) { return sight.Hides(slot, cursor); });
    }
  }
  if (frame) {
    dev.setPenStyle(0, 0, rectColor);
    DOT corners[4];
    GetStringSize(s, corners);
    AddOffsetToRect(corners, pos);
    for (int i = 0; i < 4; ++i) {
      dev.line(corners[i], corners[(i + 1) % 4]);
    }
  }
}

int drawfont::Write(DOT pos, const char* s, fontstream& out) {
  const std::size_t n = TextLength(s);
  if (n == 0 || fontData == nullptr) {
    return 0;
  }
  PLACEMENT place(*this, Plus(pos, AnchorOffset(*this, s)));
  STREAM_SINK sink{out, width, mirror};
  Walk(*fontData, s, n, place, width, sink, [](unsigned char, DOT) { return false; });
  return Within32(sink.sum);
}

}  // namespace kr

// A drawing in memory: layers, pens, and elements of one kind after the other.
//
// Model units are micrometres, y pointing up. Elements are plain records of 32-bit integers in
// MARRAYs, which move into a storage and out of it as whole blocks (docs/krd-format.md): the
// records here are the records there. Elements of a kind stand in the order of their pens, so that
// those of one pen make one run, and within a pen neighbours stand together.
#pragma once

#include <cstdint>
#include <string>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/text/hash_text.h"

namespace kr_sheet {

// A colour is 0x00BBGGRR, or one of these.
inline constexpr std::int32_t kByLayer = -1;
inline constexpr std::int32_t kContrast = -2;  // black on a light background, white on a dark one

inline constexpr std::int32_t kLayerHidden = 1;  // off or frozen: not drawn

struct Layer {
  std::int32_t name;  // in Drawing::names
  std::int32_t colour;
  std::int32_t style;  // of the platform's pens, 0 to 4
  std::int32_t flags;
};

// What the elements of one look have in common.
struct Pen {
  std::int32_t layer;
  std::int32_t colour;
  std::int32_t style;  // 0 to 4, or kByLayer
};

// Every element begins with its pen, an index of Drawing::pens.

struct Point {
  std::int32_t pen;
  KRD::DOT at;
};

struct Line {
  std::int32_t pen;
  KRD::DOT from, to;
};

struct Circle {
  std::int32_t pen;
  KRD::DOT centre;
  std::int32_t radius;
};

// Anticlockwise; the ends lie on the arc, rounded.
struct Arc {
  std::int32_t pen;
  KRD::DOT centre;
  std::int32_t radius;
  KRD::DOT from, to;
};

// A line of some width with round ends.
struct Track {
  std::int32_t pen;
  KRD::DOT from, to;
  std::int32_t width;
};

// A filled area of the even-odd rule: Drawing::corners [first, first + count). Several loops are
// one polygon that goes from loop to loop and back.
struct Polygon {
  std::int32_t pen;
  std::int32_t first;
  std::int32_t count;  // at least 3
  std::int32_t loops;  // at least 1
};

struct Text {
  std::int32_t pen;
  std::int32_t text;  // in Drawing::texts, UTF-8; lines are separated by LF
  KRD::DOT at;
  std::int32_t height;
  std::int32_t width_factor;  // in thousandths; 1000 is the font's own shape
  std::int32_t angle;         // tenths of a degree, 0 to 3599, anticlockwise
  std::int32_t align;         // 0 to 8, as kr::ALIGN
  std::int32_t mirrored;      // 0 or 1
};

// What the source held and the drawing does not.
struct Unread {
  std::int32_t what;  // in Drawing::names: the kind of entity, and why
  std::int32_t count;
};

static_assert(sizeof(Layer) == 16 && sizeof(Pen) == 12 && sizeof(Point) == 12 &&
              sizeof(Line) == 20 && sizeof(Circle) == 16 && sizeof(Arc) == 32 &&
              sizeof(Track) == 24 && sizeof(Polygon) == 16 && sizeof(Text) == 36 &&
              sizeof(Unread) == 8 && sizeof(KRD::DOT) == 8);

// A text table that a storage can take whole and give back.
class TextTable : public KRD::HASH_TEXT {
 public:
  using KRD::HASH_TEXT::operator();
  KRD::TARRAY<std::int32_t>& rawOffsets() { return offsets; }
  KRD::TARRAY<char>& rawPool() { return pool; }
  const KRD::TARRAY<std::int32_t>& rawOffsets() const { return offsets; }
  const KRD::TARRAY<char>& rawPool() const { return pool; }
  // The raw arrays were filled from outside: forgets what was known of the strings.
  void filled() { ++edits_; }
  // Whether the raw arrays are a table: no reading beyond the pool.
  bool sound() const;
};

// The kinds of elements by name and array, in drawing order: what lies under comes first. `f` is
// called with each.
template <class DrawingType, class F>
void ForEachKind(DrawingType& drawing, F&& f) {
  f("polygons", drawing.polygons);
  f("tracks", drawing.tracks);
  f("lines", drawing.lines);
  f("arcs", drawing.arcs);
  f("circles", drawing.circles);
  f("points", drawing.points);
  f("texts", drawing.labels);
}

struct Drawing {
  std::string name;
  std::string units;  // of the source, as shown to people

  TextTable names;  // of layers, and of what was not read
  TextTable texts;
  KRD::TARRAY<Layer> layers;
  KRD::TARRAY<Pen> pens;
  KRD::TARRAY<Polygon> polygons;
  KRD::TARRAY<KRD::DOT> corners;
  KRD::TARRAY<Track> tracks;
  KRD::TARRAY<Line> lines;
  KRD::TARRAY<Arc> arcs;
  KRD::TARRAY<Circle> circles;
  KRD::TARRAY<Point> points;
  KRD::TARRAY<Text> labels;
  KRD::TARRAY<Unread> unread;

  // Elements of all kinds.
  std::uint64_t count() const;
  // The box of all elements, texts by a rough estimate of their size; false, and an empty box,
  // without elements. Hidden layers count only when nothing else is there.
  bool extents(KRD::LTRB& box) const;
  // Puts every kind into the order of its pens, and within a pen by place.
  void sortByPen();
  // Why the drawing is damaged, or an empty text: every index leads somewhere, counts and sizes
  // are not negative.
  std::string damage() const;
};

}  // namespace kr_sheet

#include "apps/sheet/painter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

#include "krdcmmn/platform/gdi.h"

#include "apps/common/slots.h"
#include "apps/common/text_place.h"
#include "apps/sheet/bounds.h"

namespace kr_sheet {
namespace {

using KRD::DOT;
using KRD::LTRB;

constexpr std::uint32_t kBatch = 256;
// What shapes of the device paint beyond their own coordinates.
constexpr int kMarginPixels = 4;
constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xffffff;

int Brightness(std::uint32_t c) {
  return static_cast<int>(((c & 255) * 299 + (c >> 8 & 255) * 587 + (c >> 16 & 255) * 114) / 1000);
}

bool Alike(std::uint32_t a, std::uint32_t b) {
  constexpr int kNear = 24;
  for (int shift : {0, 8, 16}) {
    if (std::abs(static_cast<int>(a >> shift & 255) - static_cast<int>(b >> shift & 255)) > kNear) {
      return false;
    }
  }
  return true;
}

bool Apart(const LTRB& a, const LTRB& b) {
  return a.right < b.left || a.left > b.right || a.top < b.bottom || a.bottom > b.top;
}

LTRB Grown(const LTRB& box, std::int64_t by) {
  return {Clamped(box.left - by), Clamped(box.top + by), Clamped(box.right + by),
          Clamped(box.bottom - by)};
}

}  // namespace

Painter::Painter(const Drawing& drawing, kr::font* font, unsigned char diameter)
    : drawing_(drawing), font_(font) {
  gather(drawing.polygons, polygons_);
  gather(drawing.tracks, tracks_);
  gather(drawing.lines, lines_);
  gather(drawing.arcs, arcs_);
  gather(drawing.circles, circles_);
  gather(drawing.points, points_);
  if (font_ != nullptr) {
    gather(drawing.labels, labels_);
    prepareTexts(diameter);
  }
}

void Painter::prepareTexts(unsigned char diameter) {
  for (int i = 0; i < drawing_.texts.nElem(); ++i) {
    const kr_app::SlotText text = kr_app::SlotsOf(drawing_.texts(i), *font_, diameter);
    strings_.add(text.bytes.c_str());
    missing_ += kr_app::CountOf(text.missing);
  }
  anchors_.reserve(drawing_.labels.count());
  for (const Text& text : drawing_.labels) {
    const kr::drawfont layout = writer(text);
    const DOT shift = kr_app::WidthCorrection(layout, strings_(static_cast<unsigned>(text.text)));
    // The layout hangs a text by the height of the font. Here it hangs by its capitals, which are
    // lower by what reaches below the baseline.
    const int row = 2 - text.align / 3;         // from below
    const int whole_degrees = text.angle / 10;  // as the layout turns
    const double rise = font_->descent * layout.heightScale * row / 2;
    const double turn = whole_degrees * std::numbers::pi / 180;
    anchors_.push_back(
        {Clamped(std::int64_t{text.at.x} + shift.x - KRD::RoundHalfAway(rise * std::sin(turn))),
         Clamped(std::int64_t{text.at.y} + shift.y + KRD::RoundHalfAway(rise * std::cos(turn)))});
  }
}

kr::drawfont Painter::writer(const Text& text) const {
  kr::drawfont writer;
  writer.InitFont(font_);
  // The height of a text is that of its capitals; the font's reaches below the baseline too.
  const double capitals = font_->height - font_->descent;
  const double share = capitals > 0 ? font_->height / capitals : 1;
  writer.SetHeight(KRD::RoundHalfAway(text.height * share));
  writer.SetSWidth(writer.heightScale * text.width_factor / 1000);
  writer.SetAlign(static_cast<kr::ALIGN>(text.align));
  writer.SetAngle(text.angle);
  writer.SetMirror(text.mirrored != 0);
  return writer;
}

template <class T>
void Painter::gather(const KRD::TARRAY<T>& elements, std::vector<Batch>& batches) {
  const std::uint32_t count = elements.count();
  for (std::uint32_t i = 0; i < count;) {
    const std::int32_t pen = elements[i].pen;
    const std::uint32_t first = i;
    Bounds box;
    for (; i < count && i - first < kBatch && elements[i].pen == pen; ++i) {
      Cover(box, drawing_, elements[i]);
    }
    const Layer& layer =
        drawing_.layers[static_cast<unsigned>(drawing_.pens[static_cast<unsigned>(pen)].layer)];
    if ((layer.flags & kLayerHidden) == 0) {
      batches.push_back({first, i, pen, box.get()});
    }
  }
}

std::uint32_t Painter::colour(const Pen& pen, std::uint32_t background) const {
  const std::int32_t own = pen.colour == kByLayer
                               ? drawing_.layers[static_cast<unsigned>(pen.layer)].colour
                               : pen.colour;
  const auto rgb = static_cast<std::uint32_t>(own);
  return own < 0 || Alike(rgb, background) ? ContrastTo(background) : rgb;
}

int Painter::style(const Pen& pen) const {
  return pen.style == kByLayer ? drawing_.layers[static_cast<unsigned>(pen.layer)].style
                               : pen.style;
}

template <class T, class Draw>
void Painter::batches(DRAW_DEVICE& device, std::uint32_t background, const KRD::TARRAY<T>& elements,
                      const std::vector<Batch>& list, Draw&& draw) {
  std::int32_t current = -1;
  std::uint32_t ink = 0;
  for (const Batch& batch : list) {
    if (Apart(batch.box, seen_)) {
      continue;
    }
    if (batch.pen != current) {
      current = batch.pen;
      const Pen& pen = drawing_.pens[static_cast<unsigned>(current)];
      ink = colour(pen, background);
      device.setPenStyle(style(pen), 0, ink);
    }
    for (std::uint32_t i = batch.first; i < batch.last; ++i) {
      draw(elements[i], ink);
    }
  }
}

void Painter::draw(DRAW_DEVICE& device, std::uint32_t background) {
  device.GetDrawingRect(seen_);
  seen_ = Grown(seen_, device.rR(kMarginPixels));
  batches(device, background, drawing_.polygons, polygons_,
          [&](const Polygon& e, std::uint32_t ink) {
            // The way between two loops is no edge to be seen.
            device.setPenStyle(e.loops > 1 ? PS_NULL : PS_SOLID, 0, ink);
            device.setColorBrush(ink);
            device.fillpoly(static_cast<unsigned>(e.count),
                            &drawing_.corners[static_cast<unsigned>(e.first)]);
          });
  batches(device, background, drawing_.tracks, tracks_, [&](const Track& e, std::uint32_t ink) {
    device.setPenStyle(PS_SOLID, e.width, ink);
    device.line(e.from, e.to);
  });
  batches(device, background, drawing_.lines, lines_,
          [&](const Line& e, std::uint32_t) { device.line(e.from, e.to); });
  batches(device, background, drawing_.arcs, arcs_,
          [&](const Arc& e, std::uint32_t) { device.arc(e.centre, e.radius, e.from, e.to); });
  batches(device, background, drawing_.circles, circles_,
          [&](const Circle& e, std::uint32_t) { device.circle(e.centre, e.radius); });
  batches(device, background, drawing_.points, points_, [&](const Point& e, std::uint32_t ink) {
    device.setColorBrush(ink);
    device.dot(e.at);
  });
  batches(device, background, drawing_.labels, labels_, [&](const Text& e, std::uint32_t ink) {
    drawText(device, static_cast<std::uint32_t>(&e - drawing_.labels.begin()), ink);
  });
}

void Painter::drawText(DRAW_DEVICE& device, std::uint32_t i, std::uint32_t ink) {
  const Text& text = drawing_.labels[i];
  Bounds box;
  Cover(box, drawing_, text);
  if (Apart(box.get(), seen_)) {
    return;
  }
  kr::drawfont writer = this->writer(text);
  writer.SetColor(ink);
  writer.Draw(anchors_[i], strings_(static_cast<unsigned>(text.text)), device, false);
}

std::uint32_t ContrastTo(std::uint32_t background) {
  return Brightness(background) >= 128 ? kBlack : kWhite;
}

void ShowBox(DRAW_DEVICE& device, LTRB box) {
  constexpr double kMostPixels = 1000;  // a micrometre
  constexpr std::int64_t kSmallest = 100;
  constexpr std::int64_t kRoom = 40;  // one part in so many, on every side
  const std::int64_t size =
      std::max({std::int64_t{box.right} - box.left, std::int64_t{box.top} - box.bottom, kSmallest});
  device.SetWorkArea(0x7ffffffe, 0x7ffffffe);
  device.SetMaxScale(kMostPixels);
  device.ZoomRect(Grown(box, size / kRoom));
}

}  // namespace kr_sheet

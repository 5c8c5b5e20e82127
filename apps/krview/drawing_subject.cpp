#include <cmath>
#include <cstdio>
#include <utility>

#include "apps/common/default_font.h"
#include "apps/krview/nearest.h"
#include "apps/krview/subject.h"
#include "apps/sheet/painter.h"

namespace kr_view {
namespace {

using kr_sheet::Drawing;
using KRD::DOT;

class DrawingSubject final : public Subject {
 public:
  DrawingSubject(std::unique_ptr<Drawing> drawing, kr::font& texts)
      : drawing_(std::move(drawing)),
        texts_(texts),
        painter_(*drawing_, &texts, kr_app::kDiameterSlot) {
    name = drawing_->name;
  }

  KRD::LTRB box() const override {
    KRD::LTRB box{};
    drawing_->extents(box);
    return box;
  }

  void draw(DRAW_DEVICE& device, std::uint32_t background) override {
    painter_.draw(device, background);
  }

  std::optional<Element> find(DOT p, double reach) override {
    if (drawing_->count() == 0) {
      return std::nullopt;
    }
    if (!nearest_) {
      nearest_.emplace(*drawing_);
    }
    return nearest_->find(p, reach);
  }

  void mark(DRAW_DEVICE& device, Element element, std::int32_t width,
            std::uint32_t colour) override;
  std::string describe(Element element) override;
  const char* unit() const override { return "mm"; }

 private:
  std::int32_t penOf(Element element) const;
  void markText(DRAW_DEVICE& device, std::uint32_t index, std::uint32_t colour);

  std::unique_ptr<Drawing> drawing_;
  kr::font& texts_;
  kr_sheet::Painter painter_;
  std::optional<NearestIndex> nearest_;  // built when it is first asked
};

void DrawingSubject::mark(DRAW_DEVICE& device, Element element, std::int32_t width,
                          std::uint32_t colour) {
  const Drawing& d = *drawing_;
  const std::uint32_t i = element.index;
  device.setPenStyle(PS_SOLID, width, colour);
  switch (element.kind) {
    case kPolygon: {
      const DOT* corners = &d.corners[static_cast<unsigned>(d.polygons[i].first)];
      const int count = d.polygons[i].count;
      for (int k = 0; k < count; ++k) {
        device.line(corners[k], corners[k + 1 < count ? k + 1 : 0]);
      }
      break;
    }
    case kTrack:
      device.setPenStyle(PS_SOLID, std::max(d.tracks[i].width, width), colour);
      device.line(d.tracks[i].from, d.tracks[i].to);
      break;
    case kLine:
      device.line(d.lines[i].from, d.lines[i].to);
      break;
    case kArc:
      device.arc(d.arcs[i].centre, d.arcs[i].radius, d.arcs[i].from, d.arcs[i].to);
      break;
    case kCircle:
      device.circle(d.circles[i].centre, d.circles[i].radius);
      break;
    case kPoint:
      device.setColorBrush(colour);
      device.dot(d.points[i].at);
      break;
    default:
      markText(device, i, colour);
  }
}

// The text alone, as a drawing of its own.
void DrawingSubject::markText(DRAW_DEVICE& device, std::uint32_t index, std::uint32_t colour) {
  Drawing alone;
  kr_sheet::Text text = drawing_->labels[index];
  text.text = alone.texts.add(drawing_->texts(text.text));
  text.pen = 0;
  alone.layers.add({alone.names.add("mark"), kr_sheet::kContrast, PS_SOLID, 0});
  alone.pens.add({0, static_cast<std::int32_t>(colour), PS_SOLID});
  alone.labels.add(text);
  kr_sheet::Painter(alone, &texts_, kr_app::kDiameterSlot).draw(device, ~colour & 0xffffff);
}

std::int32_t DrawingSubject::penOf(Element element) const {
  std::int32_t pen = 0;
  int kind = 0;
  kr_sheet::ForEachKind(*drawing_, [&](const char*, const auto& elements) {
    if (kind++ == element.kind) {
      pen = elements[element.index].pen;
    }
  });
  return pen;
}

std::string DrawingSubject::describe(Element element) {
  const Drawing& d = *drawing_;
  const std::uint32_t i = element.index;
  char text[96];
  const auto millimetres = [](double micrometres) { return micrometres / 1000; };
  switch (element.kind) {
    case kPolygon:
      std::snprintf(text, sizeof text, "area of %d corners", d.polygons[i].count);
      break;
    case kTrack:
      std::snprintf(text, sizeof text, "line %.3f wide", millimetres(d.tracks[i].width));
      break;
    case kLine: {
      const auto& line = d.lines[i];
      std::snprintf(text, sizeof text, "line %.3f long",
                    millimetres(std::hypot(double{1} * line.to.x - line.from.x,
                                           double{1} * line.to.y - line.from.y)));
      break;
    }
    case kArc:
      std::snprintf(text, sizeof text, "arc, radius %.3f", millimetres(d.arcs[i].radius));
      break;
    case kCircle:
      std::snprintf(text, sizeof text, "circle, radius %.3f", millimetres(d.circles[i].radius));
      break;
    case kPoint:
      std::snprintf(text, sizeof text, "point");
      break;
    default:
      std::snprintf(text, sizeof text, "text %.3f high", millimetres(d.labels[i].height));
  }
  const auto& pen = d.pens[static_cast<unsigned>(penOf(element))];
  return std::string(text) + ", layer " + d.names(d.layers[static_cast<unsigned>(pen.layer)].name);
}

}  // namespace

std::unique_ptr<Subject> MakeDrawingSubject(std::unique_ptr<Drawing> drawing, kr::font& texts) {
  return std::make_unique<DrawingSubject>(std::move(drawing), texts);
}

}  // namespace kr_view

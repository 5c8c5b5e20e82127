// Shapes, areas and copies: what a call's coordinates and the context's objects mean to the
// rasteriser.
#include <algorithm>
#include <new>

#include "krdcmmn/platform/gdi.h"
#include "krdcmmn/platform/gdi_objects.h"
#include "krdcmmn/platform/raster/copy.h"
#include "krdcmmn/platform/raster/ellipse.h"
#include "krdcmmn/platform/raster/line.h"
#include "krdcmmn/platform/raster/polygon.h"

namespace krgdi {

namespace {

using krraster::Box;
using krraster::Fill;
using krraster::Ink;
using krraster::Place;
using krraster::Stroke;

constexpr std::uint32_t kGapPixel = 0xffffff;

Place DevicePlace(const Context& context, int x, int y) {
  return {std::int64_t{x} + context.origin.x, std::int64_t{y} + context.origin.y};
}

Stroke StrokeOf(const Context& context) {
  const Pen& pen = *context.pen;
  const bool inverts = context.raster_operation == R2_XORPEN;
  return {pen.stroke, Ink{pen.pixel, inverts},           pen.width,
          pen.dashes, context.background_mode == OPAQUE, Ink{kGapPixel, inverts}};
}

Fill FillOf(const Context& context) {
  const Brush& brush = *context.brush;
  return {brush.solid, Ink{brush.pixel, context.raster_operation == R2_XORPEN}};
}

// The corner pixels of a box given in any order; its right column and bottom row are left out.
struct Corners {
  Place low;
  Place high;
};

Corners CornersOf(const Context& context, int left, int top, int right, int bottom) {
  const Place a = DevicePlace(context, left, top);
  const Place b = DevicePlace(context, right, bottom);
  return {{std::min(a.x, b.x), std::min(a.y, b.y)},
          {std::max(a.x, b.x) - 1, std::max(a.y, b.y) - 1}};
}

Box BoxOf(const Corners& corners) {
  return {corners.low.x, corners.low.y, corners.high.x - corners.low.x,
          corners.high.y - corners.low.y};
}

// Calls `draw(context)` for a living context. What needs memory asks for it before it paints.
template <class Draw>
BOOL DrawOn(HDC dc, Draw&& draw) {
  Context* context = FindContext(dc);
  if (context == nullptr) {
    return FALSE;
  }
  try {
    draw(*context);
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
  return TRUE;
}

}  // namespace

}  // namespace krgdi

inline namespace krplatform {

using namespace krgdi;

BOOL BitBlt(HDC dc, int x, int y, int w, int h, HDC source, int sx, int sy, DWORD operation) {
  const Context* to = FindContext(dc);
  const Context* from = FindContext(source);
  if (to == nullptr || from == nullptr || operation != SRCCOPY) {
    return FALSE;
  }
  krraster::CopyPixels(*to->canvas, DevicePlace(*to, x, y), w, h, *from->canvas,
                       DevicePlace(*from, sx, sy));
  return TRUE;
}

BOOL PatBlt(HDC dc, int x, int y, int w, int h, DWORD operation) {
  const Context* context = FindContext(dc);
  if (context == nullptr || operation != PATCOPY) {
    return FALSE;
  }
  if (context->brush->solid) {
    krraster::FillPixels(*context->canvas, DevicePlace(*context, x, y), w, h,
                         context->brush->pixel);
  }
  return TRUE;
}

BOOL SetPixelV(HDC dc, int x, int y, COLORREF colour) {
  const Context* context = FindContext(dc);
  if (context == nullptr) {
    return FALSE;
  }
  const Place place = DevicePlace(*context, x, y);
  if (!context->canvas->area().holds(place)) {
    return FALSE;
  }
  *context->canvas->at(place.x, place.y) = PixelOf(colour);
  return TRUE;
}

BOOL MoveToEx(HDC dc, int x, int y, POINT* former) {
  Context* context = FindContext(dc);
  if (context == nullptr) {
    return FALSE;
  }
  if (former != nullptr) {
    *former = context->position;
  }
  context->position = {x, y};
  return TRUE;
}

BOOL LineTo(HDC dc, int x, int y) {
  return DrawOn(dc, [&](Context& context) {
    const POINT from = context.position;
    context.position = {x, y};
    krraster::DrawSegment(*context.canvas, StrokeOf(context), DevicePlace(context, from.x, from.y),
                          DevicePlace(context, x, y));
  });
}

BOOL Ellipse(HDC dc, int left, int top, int right, int bottom) {
  return DrawOn(dc, [&](const Context& context) {
    krraster::DrawEllipse(*context.canvas, StrokeOf(context), FillOf(context),
                          BoxOf(CornersOf(context, left, top, right, bottom)));
  });
}

BOOL Arc(HDC dc, int left, int top, int right, int bottom, int xs, int ys, int xe, int ye) {
  return DrawOn(dc, [&](const Context& context) {
    krraster::DrawArc(*context.canvas, StrokeOf(context),
                      BoxOf(CornersOf(context, left, top, right, bottom)),
                      DevicePlace(context, xs, ys), DevicePlace(context, xe, ye));
  });
}

BOOL Rectangle(HDC dc, int left, int top, int right, int bottom) {
  return DrawOn(dc, [&](const Context& context) {
    const Corners box = CornersOf(context, left, top, right, bottom);
    if (box.low.x <= box.high.x && box.low.y <= box.high.y) {
      krraster::DrawRectangle(*context.canvas, StrokeOf(context), FillOf(context), box.low,
                              box.high);
    }
  });
}

BOOL Polygon(HDC dc, const POINT* points, int count) {
  if (points == nullptr || count < 2) {
    return FALSE;
  }
  return DrawOn(dc, [&](const Context& context) {
    krraster::DrawPolygon(
        *context.canvas, StrokeOf(context), FillOf(context),
        krraster::Corners{points, static_cast<std::size_t>(count), DevicePlace(context, 0, 0)});
  });
}

}  // namespace krplatform

// The objects that are always there.
#pragma once

#include "krdcmmn/platform/gdi_objects.h"

namespace krgdi {

struct Stock {
  Stock();

  Brush white_brush;
  Brush black_brush;
  Brush null_brush;
  Pen white_pen;
  Pen black_pen;
  Pen null_pen;
  Font font;
  Bitmap bitmap;  // without pixels: each context lends it one of its own
};

// Made at the first call, never freed.
Stock& TheStock();

}  // namespace krgdi

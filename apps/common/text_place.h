// Where a text's position must go when its proportions are not those that the layout anchors by.
#pragma once

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/font/drawfont.h"

namespace kr_app {

// What to add to the position of `text` so that its centre or right end stands there at any width
// scale: the layout anchors as if that were 0.75 of the height's. (0, 0) for left alignments.
KRD::DOT WidthCorrection(const kr::drawfont& text, const char* s);

}  // namespace kr_app

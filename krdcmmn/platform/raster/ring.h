// Ellipses and arcs drawn with a wide pen.
#pragma once

#include "krdcmmn/platform/raster/ellipse.h"

namespace krraster {

// The ring between the ellipse grown and the ellipse shrunk by half the width, and what is inside
// it.
void DrawRing(const Canvas& canvas, const Stroke& stroke, const Fill& fill, const Box& box);

// The ring's part in a sector that is not whole, with round ends.
void DrawRingPart(const Canvas& canvas, const Stroke& stroke, const Box& box, const Sector& sector);

}  // namespace krraster

// The items of a source as elements of a drawing, blocks put where they are inserted.
#pragma once

#include "apps/sheet/dxf_source.h"
#include "apps/sheet/model.h"

namespace kr_sheet {

// `scale` is micrometres in a unit of the source. Counts in source.counts what does not fit into
// the drawing. Throws kr_app::Failure beyond the bounds of dxf_import.h.
void Expand(Source& source, double scale, double tolerance, Drawing& drawing);

}  // namespace kr_sheet

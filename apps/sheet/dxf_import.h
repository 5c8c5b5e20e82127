// DXF to a drawing.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "apps/sheet/dxf_source.h"
#include "apps/sheet/model.h"

namespace kr_sheet {

struct ImportOptions {
  // How far lines may be from the curves that they stand for, in micrometres.
  double tolerance = 10;
  // The drawing's unit by its number in the format's table, or -1 for what the file says.
  int units = -1;
};

// What one unit of that number is in micrometres; 0 for an unknown number. A drawing without units
// (0) counts in millimetres.
double UnitInMicrometres(int units);
// "mm", "in" and so on; "none, taken as mm" for 0.
const char* UnitName(int units);
// The number of a unit's name, or -1.
int UnitOfName(std::string_view name);

// Bounds against files whose blocks multiply: a drawing beyond them is refused.
inline constexpr std::uint64_t kMostElements = 10'000'000;
inline constexpr int kMostNesting = 64;

// Reads a file's text. Throws kr_app::Failure, without the file's name, for what is no DXF, is cut
// off or grows beyond the bounds. `counts` gets what the file held and why what is not there.
std::unique_ptr<Drawing> ImportDxf(std::string_view text, const std::string& name,
                                   const ImportOptions& options, Counts& counts);

}  // namespace kr_sheet

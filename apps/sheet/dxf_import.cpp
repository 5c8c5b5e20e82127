#include "apps/sheet/dxf_import.h"

#include <iterator>

#include "apps/sheet/dxf_expand.h"

namespace kr_sheet {
namespace {

struct Unit {
  const char* name;
  double micrometres;
};

// By the number that the format gives them.
constexpr Unit kUnits[] = {
    {"none, taken as mm", 1e3},
    {"in", 25400},
    {"ft", 304800},
    {"mi", 1609344e3},
    {"mm", 1e3},
    {"cm", 1e4},
    {"m", 1e6},
    {"km", 1e9},
    {"microinch", 0.0254},
    {"mil", 25.4},
    {"yd", 914400},
    {"angstrom", 1e-4},
    {"nm", 1e-3},
    {"um", 1},
    {"dm", 1e5},
    {"dam", 1e7},
    {"hm", 1e8},
    {"Gm", 1e15},
    {"au", 149597870700e6},
    {"ly", 9460730472580800e6},
    {"pc", 3.0856775814913673e22},
    {"ft (US survey)", 1200e6 / 3937},
    {"in (US survey)", 100e6 / 3937},
    {"yd (US survey)", 3600e6 / 3937},
    {"mi (US survey)", 6336000e6 / 3937},
};

bool IsUnit(int units) {
  return units >= 0 && units < static_cast<int>(std::size(kUnits));
}

}  // namespace

double UnitInMicrometres(int units) {
  return IsUnit(units) ? kUnits[units].micrometres : 0;
}

const char* UnitName(int units) {
  return IsUnit(units) ? kUnits[units].name : "unknown";
}

int UnitOfName(std::string_view name) {
  for (int i = 1; i < static_cast<int>(std::size(kUnits)); ++i) {
    if (name == kUnits[i].name) {
      return i;
    }
  }
  return -1;
}

std::unique_ptr<Drawing> ImportDxf(std::string_view text, const std::string& name,
                                   const ImportOptions& options, Counts& counts) {
  Source source = ReadSource(text);
  const int units = options.units >= 0 ? options.units : IsUnit(source.units) ? source.units : 0;
  auto drawing = std::make_unique<Drawing>();
  drawing->name = name;
  drawing->units = UnitName(units);
  Expand(source, UnitInMicrometres(units), options.tolerance, *drawing);
  drawing->sortByPen();
  for (const auto& [kind, count] : source.counts) {
    for (const auto& [why, number] : count.unread) {
      const std::string what = kind + ": " + why;
      drawing->unread.add({drawing->names.add(what.c_str()),
                           static_cast<std::int32_t>(std::min<std::int64_t>(number, 0x7fffffff))});
    }
  }
  counts = std::move(source.counts);
  return drawing;
}

}  // namespace kr_sheet

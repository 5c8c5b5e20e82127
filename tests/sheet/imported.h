// A DXF text as a drawing, for tests.
#pragma once

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

#include "apps/sheet/dxf_import.h"
#include "tests/sheet/dxf_text.h"

namespace krtest {

struct Imported {
  std::unique_ptr<kr_sheet::Drawing> drawing;
  kr_sheet::Counts counts;

  kr_sheet::Drawing* operator->() const { return drawing.get(); }
  kr_sheet::Drawing& operator*() const { return *drawing; }
  // What was not read, as "KIND: why" with its count where that is not 1.
  std::vector<std::string> unread() const {
    std::vector<std::string> rows;
    for (const auto& [kind, count] : counts) {
      for (const auto& [why, number] : count.unread) {
        std::string row = kind + ": " + why;
        rows.push_back(number == 1 ? row : row + " x" + std::to_string(number));
      }
    }
    return rows;
  }
};

inline Imported Import(const std::string& text, double tolerance = 10) {
  Imported result;
  kr_sheet::ImportOptions options;
  options.tolerance = tolerance;
  result.drawing = kr_sheet::ImportDxf(text, "test", options, result.counts);
  EXPECT_EQ(result->damage(), "");
  return result;
}

inline std::string At(KRD::DOT p) {
  return std::to_string(p.x) + "," + std::to_string(p.y);
}

// "x,y x,y" for each line.
inline std::vector<std::string> Lines(const Imported& d) {
  std::vector<std::string> lines;
  for (const auto& line : d->lines) {
    lines.push_back(At(line.from) + " " + At(line.to));
  }
  return lines;
}

}  // namespace krtest

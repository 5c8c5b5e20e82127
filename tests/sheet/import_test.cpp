// DXF texts to drawings: transformations, curves, bounds, damage.
#include <gmock/gmock.h>

#include "apps/common/errors.h"
#include "apps/sheet/dxf_import.h"
#include "tests/sheet/dxf_text.h"

namespace {

using namespace krtest;
using kr_sheet::Drawing;

struct Imported {
  std::unique_ptr<Drawing> drawing;
  kr_sheet::Counts counts;

  Drawing* operator->() const { return drawing.get(); }
};

Imported Import(const std::string& text, double tolerance = 10) {
  Imported result;
  kr_sheet::ImportOptions options;
  options.tolerance = tolerance;
  result.drawing = kr_sheet::ImportDxf(text, "test", options, result.counts);
  EXPECT_EQ(result->damage(), "");
  return result;
}

std::string LineText(const kr_sheet::Line& line) {
  const auto text = [](KRD::DOT p) { return std::to_string(p.x) + "," + std::to_string(p.y); };
  return text(line.from) + " " + text(line.to);
}

std::string Insert(const std::string& x, const std::string& sx, const std::string& sy,
                   const std::string& angle, const std::string& columns = "1") {
  return Entity(
      "INSERT",
      {{2, "B"}, {10, x}, {20, "0"}, {41, sx}, {42, sy}, {50, angle}, {70, columns}, {44, "100"}});
}

TEST(Import, BlocksArePutInWithTheirTransformation) {
  const std::string blocks = BlockOf("b", LineEntity("1", "1", "3", "2"), "1", "1");
  struct Row {
    std::string insert;
    std::vector<std::string> lines;
  };
  const Row rows[] = {
      {Insert("10", "1", "1", "0"), {"10000,0 12000,1000"}},
      {Insert("10", "-2", "1", "0"), {"10000,0 6000,1000"}},
      {Insert("0", "1", "3", "90"), {"0,0 -3000,2000"}},
      {Insert("5", "1", "1", "0", "3"),
       {"5000,0 7000,1000", "105000,0 107000,1000", "205000,0 207000,1000"}},
      {Insert("0", "1", "1", "90", "2"), {"0,0 -1000,2000", "0,100000 -1000,102000"}},
  };
  for (const Row& row : rows) {
    const Imported d = Import(Dxf(row.insert, blocks));
    std::vector<std::string> lines;
    for (const auto& line : d->lines) {
      lines.push_back(LineText(line));
    }
    EXPECT_EQ(lines, row.lines) << row.insert;
  }
}

TEST(Import, FileCutOffAtAnyLineIsRefused) {
  const std::string whole =
      Dxf(LineEntity("0", "0", "1", "1") + Insert("0", "1", "1", "0"),
          BlockOf("b", Entity("LWPOLYLINE",
                              {{90, "2"}, {10, "0"}, {20, "0"}, {42, "1"}, {10, "2"}, {20, "0"}})),
          Entity("LAYER", {{2, "walls"}, {62, "1"}}));
  ASSERT_EQ(Import(whole)->count(), 2u);
  for (std::size_t end = 0; (end = whole.find('\n', end)) + 1 < whole.size(); ++end) {
    kr_sheet::Counts counts;
    EXPECT_THROW(kr_sheet::ImportDxf(whole.substr(0, end), "cut", {}, counts), kr_app::Failure)
        << end;
  }
}

}  // namespace

// DXF texts to drawings: entities, transformations, colours, bounds, damage.
#include <cmath>
#include <numbers>
#include <set>

#include "apps/common/errors.h"
#include "tests/sheet/imported.h"

namespace {

using namespace krtest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Groups = std::initializer_list<std::pair<int, std::string>>;

std::string Insert(const std::string& x, const std::string& sx, const std::string& sy,
                   const std::string& angle, const std::string& columns = "1",
                   const std::string& name = "B") {
  return Entity(
      "INSERT",
      {{2, name}, {10, x}, {20, "0"}, {41, sx}, {42, sy}, {50, angle}, {70, columns}, {44, "100"}});
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
    EXPECT_EQ(Lines(Import(Dxf(row.insert, blocks))), row.lines) << row.insert;
  }
}

TEST(Import, NestedBlocksMultiplyTheirTransformations) {
  const std::string inner = BlockOf("B", LineEntity("0", "0", "1", "0"));
  const std::string outer = BlockOf("OUTER", Insert("10", "2", "2", "90"));
  const std::string deeper = BlockOf("DEEPER", Insert("0", "-1", "1", "0", "1", "outer"));
  // Used before it is defined, and written in another case.
  EXPECT_THAT(
      Lines(Import(Dxf(Insert("100", "1", "1", "180", "1", "deeper"), deeper + outer + inner))),
      ElementsAre("110000,0 110000,-2000"));
}

TEST(Import, UnitsBecomeMicrometres) {
  struct Row {
    int units;
    int expected;  // of 2 units
  };
  for (const Row& row : {Row{0, 2000}, Row{1, 50800}, Row{2, 609600}, Row{4, 2000}, Row{5, 20000},
                         Row{6, 2000000}, Row{9, 51}, Row{13, 2}, Row{99, 2000}, Row{-3, 2000}}) {
    const Imported d = Import(Dxf(LineEntity("0", "0", "2", "0"), "", "", row.units));
    ASSERT_EQ(d->lines.count(), 1u);
    EXPECT_EQ(d->lines[0].to.x, row.expected) << row.units;
  }
  kr_sheet::Counts counts;
  kr_sheet::ImportOptions inches;
  inches.units = kr_sheet::UnitOfName("in");
  const auto drawing =
      kr_sheet::ImportDxf(Dxf(LineEntity("0", "0", "1", "0")), "test", inches, counts);
  EXPECT_EQ(drawing->lines[0].to.x, 25400);
}

// An arc under a transformation that keeps circles: its middle goes where the transformation takes
// it, whether or not the plane is turned over.
TEST(Import, ArcsKeepTheirSideUnderTransformations) {
  const std::string block =
      BlockOf("B", Entity("ARC", {{10, "3"}, {20, "1"}, {40, "10"}, {50, "-20"}, {51, "100"}}));
  for (const auto& [sx, sy, angle] :
       {std::tuple(1, 1, 0), {1, -1, 0}, {-1, 1, 30}, {-2, -2, 200}}) {
    const Imported d = Import(
        Dxf(Insert("7", std::to_string(sx), std::to_string(sy), std::to_string(angle)), block));
    ASSERT_EQ(d->arcs.count(), 1u);
    const kr_sheet::Arc& arc = d->arcs[0];
    const auto image = [&, sx = sx, sy = sy, angle = angle](double degrees) {
      const double t = degrees * std::numbers::pi / 180;
      const double a = angle * std::numbers::pi / 180;
      const double x = (3 + 10 * std::cos(t)) * sx;
      const double y = (1 + 10 * std::sin(t)) * sy;
      return KRD::FDOT{(7 + x * std::cos(a) - y * std::sin(a)) * 1000,
                       (x * std::sin(a) + y * std::cos(a)) * 1000};
    };
    const double from = std::atan2(arc.from.y - arc.centre.y, arc.from.x - arc.centre.x);
    double to = std::atan2(arc.to.y - arc.centre.y, arc.to.x - arc.centre.x);
    to += to < from ? 2 * std::numbers::pi : 0;
    EXPECT_NEAR(to - from, 120 * std::numbers::pi / 180, 1e-3);
    const double middle = (from + to) / 2;
    EXPECT_NEAR(arc.centre.x + arc.radius * std::cos(middle), image(40).x, 3);
    EXPECT_NEAR(arc.centre.y + arc.radius * std::sin(middle), image(40).y, 3);
  }
}

TEST(Import, CircleUnderUnequalScaleIsAnEllipseWithinTolerance) {
  const std::string block = BlockOf("B", Entity("CIRCLE", {{10, "0"}, {20, "0"}, {40, "100"}}));
  for (double tolerance : {1.0, 10.0, 200.0}) {
    const Imported d = Import(Dxf(Insert("0", "1", "0.25", "0"), block), tolerance);
    EXPECT_EQ(d->circles.count(), 0u);
    ASSERT_GT(d->lines.count(), 8u);
    for (const auto& line : d->lines) {
      // Along the ellipse x = 100 cos t, y = 25 sin t, in micrometres; the ends are on it but for
      // the rounding, the middle not further inside than the tolerance.
      const auto out = [](double x, double y) { return std::hypot(x / 100000, y / 25000) - 1; };
      EXPECT_NEAR(out(line.from.x, line.from.y), 0, 3e-5);
      const double x = (static_cast<double>(line.from.x) + line.to.x) / 2;
      const double y = (static_cast<double>(line.from.y) + line.to.y) / 2;
      EXPECT_GE(out(x, y) * 100000, -tolerance * 4 - 4);
    }
    // It is closed: where a line ends another one begins.
    std::multiset<std::string> starts;
    std::multiset<std::string> ends;
    for (const auto& line : d->lines) {
      starts.insert(At(line.from));
      ends.insert(At(line.to));
    }
    EXPECT_EQ(starts, ends);
  }
}

std::string Path(Groups groups) {
  return Dxf(Entity("LWPOLYLINE", groups));
}

TEST(Import, PolylinesBecomeLinesArcsTracksAndAreas) {
  const Imported lines =
      Import(Path({{70, "1"}, {10, "0"}, {20, "0"}, {10, "1"}, {20, "0"}, {10, "1"}, {20, "1"}}));
  EXPECT_THAT(Lines(lines), ElementsAre("0,0 1000,0", "1000,0 1000,1000", "1000,1000 0,0"));

  const Imported bulge = Import(Path(
      {{10, "0"}, {20, "0"}, {42, "1"}, {10, "2"}, {20, "0"}, {42, "-1"}, {10, "4"}, {20, "0"}}));
  ASSERT_EQ(bulge->arcs.count(), 2u);
  EXPECT_EQ(At(bulge->arcs[0].centre), "1000,0");
  EXPECT_EQ(bulge->arcs[0].radius, 1000);
  EXPECT_EQ(At(bulge->arcs[0].from) + " " + At(bulge->arcs[0].to), "0,0 2000,0");
  EXPECT_EQ(At(bulge->arcs[1].from) + " " + At(bulge->arcs[1].to), "4000,0 2000,0");

  const Imported track = Import(Path({{43, "0.5"}, {10, "0"}, {20, "0"}, {10, "2"}, {20, "0"}}));
  ASSERT_EQ(track->tracks.count(), 1u);
  EXPECT_EQ(track->tracks[0].width, 500);

  const Imported arrow =
      Import(Path({{10, "0"}, {20, "0"}, {40, "1"}, {41, "0"}, {10, "2"}, {20, "0"}}));
  ASSERT_EQ(arrow->polygons.count(), 1u);
  EXPECT_THAT(std::vector<std::string>(
                  {At(arrow->corners[0]), At(arrow->corners[1]), At(arrow->corners[2])}),
              ElementsAre("0,500", "2000,0", "0,-500"));

  const std::string vertices = Entity("VERTEX", {{10, "0"}, {20, "0"}}) +
                               Entity("VERTEX", {{10, "3"}, {20, "0"}, {40, "0"}, {41, "0"}}) +
                               Entity("VERTEX", {{10, "3"}, {20, "3"}});
  const Imported old = Import(Dxf(Entity("POLYLINE", {{66, "1"}, {40, "1"}, {41, "1"}}) + vertices +
                                  "0\nSEQEND\n" + LineEntity("0", "0", "1", "1")));
  EXPECT_EQ(old->tracks.count(), 1u);
  EXPECT_THAT(Lines(old), UnorderedElementsAre("3000,0 3000,3000", "0,0 1000,1000"));
}

TEST(Import, WidePolylineKeepsItsArcWithinTolerance) {
  const Imported d =
      Import(Path({{43, "1"}, {10, "0"}, {20, "0"}, {42, "1"}, {10, "20"}, {20, "0"}}));
  ASSERT_GT(d->tracks.count(), 4u);
  for (const auto& track : d->tracks) {
    EXPECT_NEAR(std::hypot(track.from.x - 10000, track.from.y), 10000, 1);
    EXPECT_LT(track.from.y, 1);
  }
}

TEST(Import, ColoursAndLayersAreThoseOfTheBlockOrItsInsert) {
  const std::string tables = Entity("LAYER", {{2, "red"}, {62, "1"}}) +
                             Entity("LAYER", {{2, "off"}, {62, "-3"}}) +
                             Entity("LAYER", {{2, "frozen"}, {62, "4"}, {70, "1"}});
  const auto line = [](const std::string& layer, Groups more) {
    return Entity("LINE", {{8, layer}, {10, "0"}, {20, "0"}, {11, "1"}, {21, "0"}}) +
           Entity("LINE", more).substr(7);
  };
  const std::string block = BlockOf("B", line("0", {{62, "0"}}));
  const std::string insert = Insert("0", "1", "1", "0") + "8\nred\n62\n5\n";
  struct Row {
    std::string entities;
    std::string layer;
    int colour;
    bool hidden;
  };
  const Row rows[] = {
      {line("red", {}), "red", kr_sheet::kByLayer, false},
      {line("RED", {{62, "5"}}), "red", 0xff0000, false},
      {line("new", {{420, "1193046"}}), "new", 0x563412, false},
      {line("off", {{62, "7"}}), "off", kr_sheet::kContrast, true},
      {line("frozen", {{62, "256"}}), "frozen", kr_sheet::kByLayer, true},
      {insert, "red", 0xff0000, false},
      {line("red", {{62, "999"}}), "red", kr_sheet::kByLayer, false},
  };
  for (const Row& row : rows) {
    const Imported d = Import(Dxf(row.entities, block, tables));
    ASSERT_EQ(d->lines.count(), 1u);
    const kr_sheet::Pen& pen = d->pens[static_cast<unsigned>(d->lines[0].pen)];
    const kr_sheet::Layer& layer = d->layers[static_cast<unsigned>(pen.layer)];
    EXPECT_EQ(pen.colour, row.colour) << row.entities;
    EXPECT_STREQ(d->names(layer.name), row.layer.c_str());
    EXPECT_EQ((layer.flags & kr_sheet::kLayerHidden) != 0, row.hidden) << row.entities;
  }
}

TEST(Import, LineTypesBecomeTheNearestPenStyle) {
  const auto type = [](const std::string& name, Groups dashes) {
    return Entity("LTYPE", {{2, name}}) + Entity("LTYPE", dashes).substr(8);
  };
  const std::string tables =
      type("solid", {}) + type("dash", {{49, "1"}, {49, "-1"}}) +
      type("dots", {{49, "0"}, {49, "-1"}}) +
      type("centre", {{49, "4"}, {49, "-1"}, {49, "1"}, {49, "-1"}}) +
      type("phantom", {{49, "4"}, {49, "-1"}, {49, "0"}, {49, "-1"}, {49, "0"}, {49, "-1"}}) +
      Entity("LAYER", {{2, "L"}, {6, "Dash"}});
  const std::pair<std::string, int> rows[] = {{"SOLID", 0},
                                              {"DASH", 1},
                                              {"dots", 2},
                                              {"Centre", 3},
                                              {"phantom", 4},
                                              {"unknown", 0},
                                              {"ByLayer", kr_sheet::kByLayer}};
  for (const auto& [name, style] : rows) {
    const Imported d =
        Import(Dxf(LineEntity("0", "0", "1", "0") + "6\n" + name + "\n", "", tables));
    EXPECT_EQ(d->pens[0].style, style) << name;
  }
}

TEST(Import, WhatIsNotReadIsCountedWithTheReason) {
  const std::string line = "10\n0\n20\n0\n11\n1\n21\n0\n";
  const std::string entities =
      "0\nIMAGE\n0\nIMAGE\n0\nRAY\n" + line +                           // kinds
      "0\nLINE\n67\n1\n" + line +                                       // on paper
      "0\nCIRCLE\n10\n0\n20\n0\n40\n1\n210\n1\n220\n0\n230\n0\n" +      // seen from the side
      "0\nPOLYLINE\n70\n16\n0\nVERTEX\n10\n0\n20\n0\n0\nSEQEND\n" +     // a mesh
      "0\nSPLINE\n71\n3\n74\n2\n11\n0\n21\n0\n11\n1\n21\n1\n" +         // fit points alone
      "0\nHATCH\n70\n0\n91\n0\n" + "0\nHATCH\n70\n1\n91\n1\n92\n2\n" +  // pattern, torn
      "0\nTEXT\n10\n0\n20\n0\n40\n1\n1\n  \n" + Insert("0", "1", "1", "0", "1", "nowhere") +
      "0\nLINE\n10\n0\n20\n0\n11\n3000000\n21\n0\n" + "0\nLWPOLYLINE\n90\n4\n" +
      "0\nDIMENSION\n70\n0\n";
  const Imported d = Import(Dxf(entities, BlockOf("*Paper_Space", "0\nLINE\n" + line)));
  EXPECT_EQ(d->count(), 0u);
  EXPECT_THAT(d.unread(),
              UnorderedElementsAre("CIRCLE: in a plane that is not the drawing's",
                                   "DIMENSION: without the block that draws it",
                                   "HATCH: a pattern of lines", "HATCH: damaged",
                                   "IMAGE: a kind that is not read x2",
                                   "INSERT: of a block that is not there",
                                   "LINE: a coordinate outside 32 bits of micrometres",
                                   "LINE: on a sheet of paper x2", "LWPOLYLINE: incomplete",
                                   "POLYLINE: a mesh", "RAY: a kind that is not read",
                                   "SPLINE: without control points", "TEXT: without a text"));
  EXPECT_EQ(d.counts.at("IMAGE").seen, 2);
  // And it stays known in the drawing.
  EXPECT_EQ(d->unread.count(), d.unread().size());
}

TEST(Import, DimensionIsDrawnByItsBlock) {
  const std::string block = BlockOf("*D7", LineEntity("5", "5", "9", "5"));
  EXPECT_THAT(Lines(Import(Dxf(Entity("DIMENSION", {{2, "*D7"}, {10, "1"}, {20, "1"}}), block))),
              ElementsAre("5000,5000 9000,5000"));
}

TEST(Import, PlaneSeenFromBehindIsMirrored) {
  const std::string entities =
      Entity("CIRCLE", {{10, "5"}, {20, "2"}, {40, "1"}, {230, "-1"}}) +
      Entity("LINE", {{10, "5"}, {20, "2"}, {11, "6"}, {21, "2"}, {230, "-1"}});
  const Imported d = Import(Dxf(entities));
  ASSERT_EQ(d->circles.count(), 1u);
  EXPECT_EQ(At(d->circles[0].centre), "-5000,2000");
  // Lines stand in the drawing's own coordinates.
  EXPECT_THAT(Lines(d), ElementsAre("5000,2000 6000,2000"));
}

TEST(Import, BlocksThatMultiplyOrHoldThemselvesAreBounded) {
  // Each level 1000 times the one below it.
  std::string blocks = BlockOf("L0", LineEntity("0", "0", "1", "0"));
  for (int i = 1; i <= 6; ++i) {
    blocks += BlockOf("L" + std::to_string(i),
                      Insert("0", "1", "1", "0", "1000", "L" + std::to_string(i - 1)));
  }
  const std::string entities = Insert("0", "1", "1", "0", "1", "L6");
  kr_sheet::Counts counts;
  EXPECT_THROW(kr_sheet::ImportDxf(Dxf(entities, blocks), "bomb", {}, counts), kr_app::Failure);
  const std::string empty = BlockOf("B", "");
  EXPECT_THROW(
      kr_sheet::ImportDxf(Dxf(Insert("0", "1", "1", "0", "2000000000"), empty), "bomb", {}, counts),
      kr_app::Failure);

  const std::string inside =
      BlockOf("B", Insert("0", "1", "1", "0") + LineEntity("0", "0", "1", "0"));
  const Imported self = Import(Dxf(Insert("0", "1", "1", "0"), inside));
  EXPECT_EQ(self->lines.count(), 1u);
  EXPECT_THAT(self.unread(), ElementsAre("INSERT: of a block inside itself"));

  std::string tower = BlockOf("T0", LineEntity("0", "0", "1", "0"));
  for (int i = 1; i <= 100; ++i) {
    tower += BlockOf("T" + std::to_string(i),
                     Insert("0", "1", "1", "0", "1", "T" + std::to_string(i - 1)));
  }
  const Imported deep = Import(Dxf(Insert("0", "1", "1", "0", "1", "T100"), tower));
  EXPECT_EQ(deep->count(), 0u);
  EXPECT_THAT(deep.unread(), ElementsAre("INSERT: of blocks nested too deeply"));
  EXPECT_EQ(Import(Dxf(Insert("0", "1", "1", "0", "1", "T60"), tower))->count(), 1u);
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

TEST(Import, WhatIsNoDxfIsToldFromWhatIsDamaged) {
  const std::pair<std::string, std::string> rows[] = {
      {"", "an empty file"},
      {"\n \n", "an empty file"},
      {"hello\nworld\n", "line 1: no DXF"},
      {std::string("AutoCAD Binary DXF\r\n\x1a\0", 22), "a binary DXF"},
      {"\x89PNG\r\n", "line 1: no DXF"},
      {"10\n5\n", "does not begin with a section"},
      {"0\nEOF\n", "it has no section"},
      {"0\nSECTION\n2\nENTITIES\n0\n", "the file ends behind a group code"},
      {"0\nSECTION\n2\nENTITIES\nx\ny\n", "line 5: a group code was expected"},
      {"0\nSECTION\n2\nENTITIES\n0\nENDSEC\n", "cut off"},
  };
  for (const auto& [text, expected] : rows) {
    try {
      kr_sheet::Counts counts;
      kr_sheet::ImportDxf(text, "bad", {}, counts);
      ADD_FAILURE() << text;
    } catch (const kr_app::Failure& failure) {
      EXPECT_THAT(failure.what(), HasSubstr(expected));
    }
  }
  // Line ends of either kind, a mark of UTF-8, comments and blank lines at the end do no harm.
  std::string text =
      "\xef\xbb\xbf" + ("999\na comment\n" + Dxf(LineEntity("0", "0", "1", "1"))) + "\n\n";
  EXPECT_EQ(Import(text)->lines.count(), 1u);
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
    text.insert(at, "\r");
  }
  EXPECT_EQ(Import(text)->lines.count(), 1u);
}

TEST(Import, HostileNumbersDoNoHarm) {
  const char* numbers[] = {"1e308", "-1e308", "1e999",       "nan",
                           "inf",   "",       "2147483.647", "99999999999999999999",
                           "0x10",  "--1"};
  const std::string block =
      BlockOf("B", Entity("CIRCLE", {{10, "1"}, {20, "1"}, {40, "5"}}) +
                       Entity("TEXT", {{10, "0"}, {20, "0"}, {40, "1"}, {1, "a"}}) +
                       LineEntity("0", "0", "1", "1"));
  for (const char* a : numbers) {
    for (const char* b : numbers) {
      const std::string entities =
          Insert(a, b, b, a) + (b == numbers[3] ? Insert("0", "1", "1", b, a) : "") +
          Entity("ARC", {{10, a}, {20, "0"}, {40, b}, {50, a}, {51, b}}) +
          Entity("CIRCLE", {{10, "0"}, {20, a}, {40, b}}) +
          Entity("ELLIPSE", {{10, "0"}, {20, "0"}, {11, a}, {21, b}, {40, a}, {41, a}, {42, b}}) +
          Entity("LWPOLYLINE",
                 {{90, a}, {43, b}, {10, "0"}, {20, "0"}, {42, a}, {10, b}, {20, "0"}}) +
          Entity("SPLINE", {{71, "2"},
                            {72, a},
                            {73, b},
                            {40, "0"},
                            {40, "0"},
                            {40, "0"},
                            {40, "1"},
                            {40, "1"},
                            {40, "1"},
                            {10, a},
                            {20, "0"},
                            {10, "1"},
                            {20, b},
                            {10, "2"},
                            {20, "2"}}) +
          Entity("TEXT",
                 {{10, "0"}, {20, a}, {40, b}, {41, a}, {50, b}, {1, "x"}, {72, a}, {73, b}}) +
          Entity("HATCH", {{70, "1"},
                           {91, "1"},
                           {92, "1"},
                           {93, "1"},
                           {72, "2"},
                           {10, a},
                           {20, "0"},
                           {40, b},
                           {50, a},
                           {51, b},
                           {73, "1"}});
      kr_sheet::Counts counts;
      try {
        const auto d = kr_sheet::ImportDxf(Dxf(entities, block), "test", {}, counts);
        EXPECT_EQ(d->damage(), "");
        KRD::LTRB box;
        d->extents(box);
      } catch (const kr_app::Failure& failure) {
        // An array of very many blocks.
        EXPECT_THAT(failure.what(), HasSubstr("grows beyond"));
      }
    }
  }
}

TEST(Import, NearlyStraightArcOfAHugeRadiusIsDrawn) {
  const Imported d =
      Import(Path({{10, "0"}, {20, "0"}, {42, "0.000001"}, {10, "1000"}, {20, "0"}}));
  ASSERT_GT(d->lines.count() + d->arcs.count(), 0u);
  EXPECT_THAT(d.unread(), IsEmpty());
  const Imported straight =
      Import(Path({{10, "0"}, {20, "0"}, {42, "1e-12"}, {10, "1000"}, {20, "0"}}));
  ASSERT_GT(straight->lines.count(), 0u);
  EXPECT_EQ(At(straight->lines[straight->lines.count() - 1].to), "1000000,0");
}

}  // namespace

// Pictures of drawings, by what a person can say of them.
#include "apps/sheet/painter.h"

#include <random>
#include <set>

#include "apps/common/default_font.h"
#include "tests/sheet/imported.h"
#include "tests/support/device.h"

namespace {

using namespace krtest;
using kr_sheet::Drawing;
using kr_sheet::Painter;

constexpr std::uint32_t kWhite = 0xffffff;

// A device whose pictures are compared.
struct View {
  explicit View(int w = 120, int h = 120) : stage(w, h) { stage.device.DirectDraw(true); }

  // All of the drawing, or `box`, on `background`.
  void show(const Drawing& d, std::uint32_t background = kWhite, const KRD::LTRB* box = nullptr,
            kr::font* font = nullptr) {
    KRD::LTRB all;
    d.extents(all);
    kr_sheet::ShowBox(stage.device, box != nullptr ? *box : all);
    stage.device.cleardevice(background);
    Painter(d, font, kr_app::kDiameterSlot).draw(stage.device, background);
  }
  // 0x00RRGGBB at a point of the model.
  std::uint32_t at(std::int32_t x, std::int32_t y) {
    return Stage::At(stage.dc, stage.device.wX(x), stage.device.wY(y));
  }
  std::vector<std::uint32_t> pixels() const {
    const PIXELS p = stage.window.pixels();
    return {p.data, p.data + std::ptrdiff_t{p.stride} * p.height};
  }
  int painted(std::uint32_t background = kWhite) const {
    const auto all = pixels();
    return static_cast<int>(all.size()) -
           static_cast<int>(std::count(all.begin(), all.end(), background));
  }

  Stage stage;
};

std::string Square(const std::string& kind, double size, const std::string& more = "") {
  std::string text = "0\n" + kind + "\n8\n0\n" + more;
  const double corners[4][2] = {{-size, -size}, {size, -size}, {size, size}, {-size, size}};
  for (const auto& corner : corners) {
    text += "10\n" + std::to_string(corner[0]) + "\n20\n" + std::to_string(corner[1]) + "\n";
  }
  return text;
}

// The outline of a square as a hatch's loop.
std::string Loop(double size) {
  return "92\n2\n72\n0\n73\n1\n93\n4\n" + Square("X", size).substr(8);
}

TEST(Painter, HoleOfAHatchStaysOpenAndItsIslandIsFilled) {
  const Imported d =
      Import(Dxf("0\nHATCH\n8\n0\n62\n1\n70\n1\n91\n3\n" + Loop(50) + Loop(30) + Loop(10) +
                 LineEntity("-60", "-60", "-60", "60") + LineEntity("60", "-60", "60", "60")));
  ASSERT_EQ(d->polygons.count(), 1u);
  EXPECT_EQ(d->polygons[0].loops, 3);
  View view;
  view.show(*d);
  for (std::int32_t k = -54000; k <= 54000; k += 3000) {
    for (std::int32_t m = -54000; m <= 54000; m += 3000) {
      const std::int32_t ring = std::max(std::abs(k), std::abs(m));
      const bool edge = ring == 51000 || ring == 30000 || ring == 9000;
      if (!edge) {
        const bool inside = ring < 50000 && !(ring < 30000 && ring > 10000);
        EXPECT_EQ(view.at(k, m), inside ? 0xff0000u : kWhite) << k << ' ' << m;
      }
    }
  }
}

TEST(Painter, ColoursAreSeenOnEveryBackground) {
  struct Row {
    const char* colour;  // the groups that give it
    std::uint32_t background;
    std::uint32_t pixel;  // 0x00RRGGBB
  };
  const Row rows[] = {
      {"62\n7\n", 0xffffff, 0x000000},
      {"62\n7\n", 0x000000, 0xffffff},
      {"62\n7\n", 0x00ffff, 0x000000},
      {"62\n7\n", 0x800000, 0xffffff},
      {"62\n1\n", 0xffffff, 0xff0000},
      {"62\n5\n", 0x000000, 0x0000ff},
      {"420\n16777215\n", 0xffffff, 0x0000},
      {"420\n0\n", 0x000000, 0xffffff},
      {"420\n1193046\n", 0xffffff, 0x123456},
      {"62\n256\n", 0xffffff, 0x00ff00},
      {"62\n256\n6\nDASH\n", 0xffffff, 0x00ff00},
  };
  for (const Row& row : rows) {
    const Imported d =
        Import(Dxf(Square("LWPOLYLINE", 10, std::string("43\n6\n70\n1\n") + row.colour), "",
                   Entity("LAYER", {{2, "0"}, {62, "3"}})));
    View view;
    view.show(*d, row.background);
    EXPECT_EQ(view.at(0, 10000), row.pixel) << row.colour << row.background;
    const std::uint32_t b = row.background;
    EXPECT_EQ(view.at(0, 0), (b & 255) << 16 | (b & 0xff00) | b >> 16);
  }
}

TEST(Painter, HiddenLayersAreLeftOut) {
  const std::string tables = Entity("LAYER", {{2, "off"}, {62, "-1"}});
  const std::string far =
      Entity("LINE", {{8, "off"}, {10, "0"}, {20, "0"}, {11, "9000"}, {21, "0"}});
  const Imported d = Import(Dxf(LineEntity("0", "0", "10", "10") + far, "", tables));
  KRD::LTRB box;
  ASSERT_TRUE(d->extents(box));
  EXPECT_EQ(box.right, 10000);
  View with;
  with.show(*d);
  View without;
  without.show(*Import(Dxf(LineEntity("0", "0", "10", "10"))));
  EXPECT_EQ(with.pixels(), without.pixels());
}

// Elements of all kinds all over the plane.
Imported Crowd(unsigned seed, int count) {
  std::mt19937 random(seed);
  const auto number = [&](double low, double high) {
    return std::to_string(std::uniform_real_distribution<double>(low, high)(random));
  };
  std::string text;
  for (int i = 0; i < count; ++i) {
    const std::string x = number(-1000, 1000);
    const std::string y = number(-1000, 1000);
    const std::string colour = std::to_string(random() % 5 + 1);
    const std::string more = "62\n" + colour + "\n10\n" + x + "\n20\n" + y + "\n";
    const std::string to_x = std::to_string(std::stod(x) + std::stod(number(-80, 80)));
    const std::string to_y = std::to_string(std::stod(y) + std::stod(number(-80, 80)));
    switch (random() % 6) {
      case 0:
        text += "0\nLINE\n" + more + "11\n" + to_x + "\n21\n" + to_y + "\n";
        break;
      case 1:
        text += "0\nCIRCLE\n" + more + "40\n" + number(0, 60) + "\n";
        break;
      case 2:
        text += "0\nARC\n" + more + "40\n" + number(0, 90) + "\n50\n" + number(0, 360) + "\n51\n" +
                number(0, 360) + "\n";
        break;
      case 3:
        text += "0\nLWPOLYLINE\n43\n" + number(0, 20) + "\n" + more + "10\n" + to_x + "\n20\n" +
                to_y + "\n";
        break;
      case 4:
        text += "0\nSOLID\n" + more + "11\n" + to_x + "\n21\n" + y + "\n12\n" + x + "\n22\n" +
                to_y + "\n13\n" + to_x + "\n23\n" + to_y + "\n";
        break;
      default:
        text += "0\nTEXT\n" + more + "40\n" + number(1, 40) + "\n50\n" + number(0, 360) +
                "\n1\nlabel\n";
    }
  }
  return Import(Dxf(text));
}

// The primitives one by one, without batches and boxes.
void DrawPlainly(const Drawing& d, DRAW_DEVICE& device, kr::font& font) {
  const Painter painter(d);
  const auto pen = [&](std::int32_t index) {
    const kr_sheet::Pen& p = d.pens[static_cast<unsigned>(index)];
    const std::uint32_t colour = painter.colour(p, kWhite);
    device.setPenStyle(painter.style(p), 0, colour);
    return colour;
  };
  for (const auto& e : d.polygons) {
    device.setColorBrush(pen(e.pen));
    device.fillpoly(static_cast<unsigned>(e.count), &d.corners[static_cast<unsigned>(e.first)]);
  }
  for (const auto& e : d.tracks) {
    device.setPenStyle(0, e.width, pen(e.pen));
    device.line(e.from, e.to);
  }
  for (const auto& e : d.lines) {
    pen(e.pen);
    device.line(e.from, e.to);
  }
  for (const auto& e : d.arcs) {
    pen(e.pen);
    device.arc(e.centre, e.radius, e.from, e.to);
  }
  for (const auto& e : d.circles) {
    pen(e.pen);
    device.circle(e.centre, e.radius);
  }
  for (const auto& e : d.labels) {
    kr::drawfont writer;
    writer.InitFont(&font);
    writer.SetHeight(KRD::RoundHalfAway(e.height * font.height / (font.height - font.descent)));
    writer.SetSWidth(writer.heightScale);
    writer.SetAlign(static_cast<kr::ALIGN>(e.align));
    writer.SetAngle(e.angle);
    writer.SetColor(pen(e.pen));
    writer.Draw(e.at, d.texts(static_cast<unsigned>(e.text)), device, false);
  }
}

TEST(Painter, BatchesOutOfSightChangeNoPixel) {
  const Imported d = Crowd(1, 4000);
  kr::font font;
  kr_app::LoadDefaultFont(font);
  std::mt19937 random(2);
  for (int i = 0; i < 12; ++i) {
    const auto x = static_cast<std::int32_t>(random() % 2000000) - 1000000;
    const auto y = static_cast<std::int32_t>(random() % 2000000) - 1000000;
    const auto size = static_cast<std::int32_t>(1000 << i);
    const KRD::LTRB box = {x, y + size, x + size, y};
    View view;
    view.show(*d, kWhite, &box, &font);
    const auto picture = view.pixels();
    view.stage.device.cleardevice(kWhite);
    DrawPlainly(*d, view.stage.device, font);
    EXPECT_EQ(view.pixels(), picture) << i;
  }
}

TEST(Painter, SortingKeepsElementsAndBringsNeighboursTogether) {
  std::mt19937 random(9);
  Drawing d;
  std::multiset<std::pair<int, std::string>> before;
  for (int i = 0; i < 4000; ++i) {
    const auto any = [&] { return static_cast<std::int32_t>(random()); };
    d.points.add({static_cast<int>(random() % 2), {any(), any()}});
    before.emplace(d.points[d.points.count() - 1].pen, At(d.points[d.points.count() - 1].at));
  }
  const auto way = [&] {
    double sum = 0;
    for (unsigned i = 1; i < d.points.count(); ++i) {
      sum += std::hypot(static_cast<double>(d.points[i].at.x) - d.points[i - 1].at.x,
                        static_cast<double>(d.points[i].at.y) - d.points[i - 1].at.y);
    }
    return sum;
  };
  const double unsorted = way();
  d.sortByPen();
  EXPECT_LT(way(), unsorted / 10);
  std::multiset<std::pair<int, std::string>> after;
  for (const auto& p : d.points) {
    after.emplace(p.pen, At(p.at));
  }
  EXPECT_EQ(after, before);
  EXPECT_TRUE(std::is_sorted(d.points.begin(), d.points.end(),
                             [](const auto& a, const auto& b) { return a.pen < b.pen; }));
}

TEST(Painter, SecondTimeInXorRestoresEveryPixel) {
  const Imported d = Crowd(3, 300);
  View view;
  view.show(*d);
  const auto before = view.pixels();
  view.stage.device.SetDraftMode(true);
  Painter painter(*d);
  painter.draw(view.stage.device, kWhite);
  EXPECT_NE(view.pixels(), before);
  painter.draw(view.stage.device, kWhite);
  EXPECT_EQ(view.pixels(), before);
}

TEST(Painter, WindowShowsWhatTheBufferHolds) {
  const Imported d = Crowd(4, 600);
  View direct;
  direct.show(*d);
  Stage buffered(120, 120);
  KRD::LTRB box;
  d->extents(box);
  kr_sheet::ShowBox(buffered.device, box);
  Painter painter(*d);
  const auto draw = [&] {
    buffered.device.cleardevice(kWhite);
    painter.draw(buffered.device, kWhite);
    buffered.device.Render(nullptr);
    const PIXELS p = buffered.window.pixels();
    return std::vector<std::uint32_t>(p.data, p.data + std::ptrdiff_t{p.stride} * p.height);
  };
  EXPECT_EQ(draw(), direct.pixels());
  // A scroll inside the buffer needs no redraw, and shows what one would show.
  for (int i = 1; i <= 3; ++i) {
    buffered.device.needupdate(false);
    buffered.device.ScrollH(buffered.device.GetScrollPosH() + buffered.device.rR(7));
    ASSERT_FALSE(buffered.device.needupdate());
    buffered.device.Render(nullptr);
    const PIXELS p = buffered.window.pixels();
    const std::vector<std::uint32_t> panned(p.data, p.data + std::ptrdiff_t{p.stride} * p.height);
    EXPECT_EQ(draw(), panned);
  }
}

TEST(Painter, AnySizeFitsTheWindow) {
  for (std::int32_t size : {1, 30, 1000, 4000000, 2000000000}) {
    Drawing d;
    d.layers.add({d.names.add("0"), 0, 0, 0});
    d.pens.add({0, 0, 0});
    d.circles.add({0, {0, 0}, size});
    KRD::LTRB box;
    ASSERT_TRUE(d.extents(box));
    EXPECT_EQ(box.left, -size);
    View view(90, 60);
    view.show(d);
    // All of it is inside, and it is no dot unless it is one.
    const PIXELS p = view.stage.window.pixels();
    int inside = 0;
    for (int y = 0; y < p.height; ++y) {
      for (int x = 0; x < p.width; ++x) {
        const bool ink = p.data[y * p.stride + x] != kWhite;
        inside += ink;
        EXPECT_FALSE(ink && (x == 0 || y == 0 || x + 1 == p.width || y + 1 == p.height));
      }
    }
    EXPECT_GE(inside, size >= 30 ? 100 : 1) << size;
  }
}

TEST(Painter, ArcsReachTheirBoxAndNoFurther) {
  for (int from = 0; from < 360; from += 25) {
    for (int sweep : {10, 100, 190, 350}) {
      const Imported d = Import(Dxf(Entity("ARC", {{10, "0"},
                                                   {20, "0"},
                                                   {40, "100"},
                                                   {50, std::to_string(from)},
                                                   {51, std::to_string(from + sweep)}})));
      KRD::LTRB box;
      ASSERT_TRUE(d->extents(box));
      double left = 1e9, right = -1e9, top = -1e9, bottom = 1e9;
      for (int i = 0; i <= sweep * 10; ++i) {
        const double t = (from + i / 10.0) * 3.14159265358979 / 180;
        left = std::min(left, 1e5 * std::cos(t));
        right = std::max(right, 1e5 * std::cos(t));
        bottom = std::min(bottom, 1e5 * std::sin(t));
        top = std::max(top, 1e5 * std::sin(t));
      }
      EXPECT_NEAR(box.left, left, 2) << from << ' ' << sweep;
      EXPECT_NEAR(box.right, right, 2) << from << ' ' << sweep;
      EXPECT_NEAR(box.top, top, 2) << from << ' ' << sweep;
      EXPECT_NEAR(box.bottom, bottom, 2) << from << ' ' << sweep;
    }
  }
}

// Where the ink of a label is, in model units.
KRD::LTRB Ink(const std::string& groups, kr::font& font) {
  const std::string frame =
      LineEntity("-100", "-100", "-99", "-100") + LineEntity("100", "100", "99", "100");
  const Imported d =
      Import(Dxf("0\nTEXT\n62\n1\n10\n0\n20\n0\n11\n0\n21\n0\n40\n20\n" + groups + frame));
  View view(420, 420);
  const KRD::LTRB box = {-100000, 100000, 100000, -100000};
  view.show(*d, kWhite, &box, &font);
  KRD::LTRB ink = {1 << 30, -(1 << 30), -(1 << 30), 1 << 30};
  const PIXELS p = view.stage.window.pixels();
  for (int y = 0; y < p.height; ++y) {
    for (int x = 0; x < p.width; ++x) {
      if (p.data[y * p.stride + x] == 0xff0000) {
        ink.left = std::min(ink.left, view.stage.device.rX(x));
        ink.right = std::max(ink.right, view.stage.device.rX(x));
        ink.bottom = std::min(ink.bottom, view.stage.device.rY(y));
        ink.top = std::max(ink.top, view.stage.device.rY(y));
      }
    }
  }
  return ink;
}

TEST(Painter, TextsStandWhereTheirAlignmentSays) {
  kr::font font;
  kr_app::LoadDefaultFont(font);
  constexpr int kNear = 1500;
  const KRD::LTRB plain = Ink("1\nHHH\n", font);
  EXPECT_NEAR(plain.bottom, 0, kNear);
  EXPECT_NEAR(plain.top, 20000, kNear);
  EXPECT_NEAR(plain.left, 0, kNear + 2000);
  const int width = plain.right - plain.left;

  const KRD::LTRB right = Ink("1\nHHH\n72\n2\n73\n3\n", font);
  EXPECT_NEAR(right.right, 0, kNear + 2000);
  EXPECT_NEAR(right.top, 0, kNear);
  EXPECT_NEAR(right.right - right.left, width, kNear);

  const KRD::LTRB middle = Ink("1\nHHH\n72\n4\n", font);
  EXPECT_NEAR(middle.left + middle.right, 0, 2 * kNear);
  EXPECT_NEAR(middle.top + middle.bottom, 0, 2 * kNear);

  const KRD::LTRB narrow = Ink("1\nHHH\n41\n0.5\n72\n1\n", font);
  EXPECT_NEAR(narrow.right - narrow.left, width / 2, kNear);
  EXPECT_NEAR(narrow.left + narrow.right, 0, 2 * kNear);

  const KRD::LTRB turned = Ink("1\nHHH\n50\n90\n", font);
  EXPECT_NEAR(turned.top - turned.bottom, width, kNear);
  EXPECT_NEAR(turned.right, 0, kNear);

  const KRD::LTRB mirrored = Ink("1\nHHH\n71\n2\n", font);
  EXPECT_NEAR(mirrored.left, -plain.right, kNear);
  EXPECT_NEAR(mirrored.right, -plain.left, kNear);
}

TEST(Painter, CharactersThatTheFontLacksAreCounted) {
  kr::font font;
  kr_app::LoadDefaultFont(font);
  const Imported d = Import(
      Dxf(Entity("TEXT", {{10, "0"}, {20, "0"}, {40, "1"}, {1, "%%c5 \u0416 \u2603\u2603"}})));
  EXPECT_EQ(Painter(*d, &font, kr_app::kDiameterSlot).missingCharacters(), 2);
}

}  // namespace

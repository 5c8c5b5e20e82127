// What holds for every shape, pen and brush.
#include "tests/raster/any_shape.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using krtest::AnyShape;
using krtest::ShapeMaker;

constexpr int kView = 48;

std::vector<std::string> Rows(const std::string& picture) {
  std::vector<std::string> rows;
  std::istringstream in(picture);
  for (std::string row; std::getline(in, row);) {
    rows.push_back(row);
  }
  return rows;
}

// The view put together from tiles of random sizes, each drawn by itself.
std::string FromTiles(ShapeMaker& maker, const AnyShape& shape, int x, int y) {
  std::vector<std::string> rows(kView);
  for (int top = 0; top < kView;) {
    const int h = static_cast<int>(std::min<std::int64_t>(maker.number(1, 30), kView - top));
    for (int left = 0; left < kView;) {
      const int w = static_cast<int>(std::min<std::int64_t>(maker.number(1, 40), kView - left));
      const auto tile = Rows(shape.view(x + left, y + top, w, h, 1, R2_COPYPEN));
      for (int i = 0; i < h; ++i) {
        rows[static_cast<std::size_t>(top + i)] += tile[static_cast<std::size_t>(i)];
      }
      left += w;
    }
    top += h;
  }
  std::string all;
  for (const std::string& row : rows) {
    all += row + '\n';
  }
  return all;
}

void CheckAll(int extent, int count, unsigned seed) {
  ShapeMaker maker(seed);
  int seen = 0;
  const std::string nothing = krtest::Canvas(kView, kView).picture();
  for (int i = 0; i < count; ++i) {
    const AnyShape shape = maker.shape(extent);
    const POINT place = extent != 0 ? POINT{kView / 2, kView / 2} : maker.place_on(shape);
    const int x = place.x - kView / 2;
    const int y = place.y - kView / 2;
    const std::string whole = shape.view(x, y, kView, kView, 1, R2_COPYPEN);
    seen += whole != nothing ? 1 : 0;
    ASSERT_EQ(FromTiles(maker, shape, x, y), whole) << shape.text() << " at " << x << ", " << y;
    ASSERT_EQ(shape.view(x, y, kView, kView, 1, R2_XORPEN), whole)
        << "a pixel was painted twice: " << shape.text() << " at " << x << ", " << y;
    ASSERT_EQ(shape.view(x, y, kView, kView, 2, R2_XORPEN), nothing) << shape.text();
  }
  EXPECT_GT(seen, count / 2) << "too few shapes met the view to say anything";
}

TEST(AnyShape, PiecesMakeTheWholeAndXorTwiceRestores) {
  CheckAll(kView, 1500, 1);
}

TEST(AnyShape, SoItIsAtTheEndsOf32Bits) {
  CheckAll(0, 1500, 2);
}

TEST(AnyShape, AHugePenOnHugeShapes) {
  ShapeMaker maker(3);
  for (int i = 0; i < 200; ++i) {
    AnyShape shape = maker.shape(0);
    shape.style = PS_SOLID;
    shape.width = static_cast<int>(maker.number(0, 1) == 0 ? 2147483647 : maker.number(2, 1 << 30));
    const POINT place = maker.place_on(shape);
    const std::string whole = shape.view(place.x - 24, place.y - 24, kView, kView, 1, R2_COPYPEN);
    ASSERT_EQ(FromTiles(maker, shape, place.x - 24, place.y - 24), whole) << shape.text();
    ASSERT_EQ(shape.view(place.x - 24, place.y - 24, kView, kView, 1, R2_XORPEN), whole)
        << shape.text();
  }
}

TEST(AnyShape, TheOriginIsAddedWithoutWrappingAround) {
  constexpr LONG kMost = 2147483647;
  krtest::Canvas canvas(3, 3);
  SetViewportOrgEx(canvas.dc, kMost, kMost, nullptr);
  canvas.line(kMost, kMost, 5, 5);
  canvas.brush(0xffffff);
  PatBlt(canvas.dc, kMost, kMost, kMost, kMost, PATCOPY);
  Rectangle(canvas.dc, 1, 1, kMost, kMost);
  EXPECT_EQ(canvas.picture(), "...\n...\n...\n");
  SetPixelV(canvas.dc, -kMost, 1 - kMost, 0xffffff);
  BitBlt(canvas.dc, 2 - kMost, 2 - kMost, kMost, kMost, canvas.dc, -kMost, 1 - kMost, SRCCOPY);
  EXPECT_EQ(canvas.picture(), "...\n#..\n..#\n");
}

TEST(AnyShape, ColoursLeaveTheTopByteZero) {
  krtest::Canvas canvas(8, 8);
  canvas.pen(PS_SOLID, 1, 0xff332211);
  canvas.brush(0xffffffff);
  Rectangle(canvas.dc, 0, 0, 8, 8);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 0, 0), 0x112233u);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 4, 4), 0xffffffu);
  SetROP2(canvas.dc, R2_XORPEN);
  Rectangle(canvas.dc, 1, 1, 7, 7);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 1, 1), 0xeeddccu);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 4, 4), 0u);
  SetPixelV(canvas.dc, 4, 4, 0xff0000ff);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 4, 4), 0xff0000u) << "XOR is for pen and brush alone";
  PatBlt(canvas.dc, 4, 4, 1, 1, PATCOPY);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 4, 4), 0xffffffu);
}

}  // namespace

// Copies and filled areas.
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "tests/raster/any_shape.h"

namespace {

using krtest::Canvas;
using krtest::PixelAt;
using krtest::ShapeMaker;

constexpr int kSize = 12;

// Every pixel its own number.
void Number(HDC dc) {
  for (int i = 0; i < kSize * kSize; ++i) {
    SetPixelV(dc, i % kSize, i / kSize, static_cast<COLORREF>(i + 1) << 16);
  }
}

std::vector<std::uint32_t> Read(HDC dc) {
  std::vector<std::uint32_t> pixels;
  for (int i = 0; i < kSize * kSize; ++i) {
    pixels.push_back(PixelAt(dc, i % kSize, i / kSize));
  }
  return pixels;
}

TEST(BitBlt, MovesWhatBothBitmapsHaveEvenWithinOne) {
  ShapeMaker maker(41);
  for (int i = 0; i < 2000; ++i) {
    Canvas source(kSize, kSize), other(kSize, kSize);
    Number(source.dc);
    const bool one = i % 2 == 0;
    const HDC target = one ? source.dc : other.dc;
    const auto any = [&](int low, int high) { return static_cast<int>(maker.number(low, high)); };
    const int x = any(-15, 15), y = any(-15, 15), sx = any(-15, 15), sy = any(-15, 15);
    const int w = any(-3, 30), h = any(-3, 30), ox = one ? 0 : any(-5, 5);
    const auto before = Read(source.dc);
    auto expected = Read(target);
    for (int row = 0; row < h; ++row) {
      for (int column = 0; column < w; ++column) {
        const int tx = x + column + ox, ty = y + row, fx = sx + column, fy = sy + row;
        if (tx >= 0 && tx < kSize && ty >= 0 && ty < kSize && fx >= 0 && fx < kSize && fy >= 0 &&
            fy < kSize) {
          expected[static_cast<std::size_t>(ty * kSize + tx)] =
              before[static_cast<std::size_t>(fy * kSize + fx)];
        }
      }
    }
    SetViewportOrgEx(target, ox, 0, nullptr);
    SetROP2(target, R2_XORPEN);
    ASSERT_TRUE(BitBlt(target, x, y, w, h, source.dc, sx, sy, SRCCOPY));
    ASSERT_EQ(Read(target), expected)
        << x << " " << y << " " << w << " " << h << " " << sx << " " << sy;
  }
}

TEST(BitBlt, OtherOperationsAreRefused) {
  Canvas canvas(2, 1);
  canvas.brush(0xffffff);
  EXPECT_FALSE(BitBlt(canvas.dc, 0, 0, 1, 1, canvas.dc, 1, 0, PATCOPY));
  EXPECT_FALSE(PatBlt(canvas.dc, 0, 0, 1, 1, SRCCOPY));
  EXPECT_TRUE(PatBlt(canvas.dc, 1, 0, -1, 1, PATCOPY));
  EXPECT_EQ(canvas.picture(), "..\n");
  EXPECT_TRUE(PatBlt(canvas.dc, 1, -5, 9, 9, PATCOPY));
  EXPECT_EQ(canvas.picture(), ".#\n");
  SelectObject(canvas.dc, GetStockObject(NULL_BRUSH));
  EXPECT_TRUE(PatBlt(canvas.dc, 0, 0, 1, 1, PATCOPY));
  EXPECT_EQ(canvas.picture(), ".#\n");
}

}  // namespace

// Objects, contexts and windows by their handles: who holds what, what can be freed when, and what
// a wrong handle does.
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

#include "krdcmmn/platform/gdi.h"
#include "krdcmmn/platform/window.h"

#include "tests/raster/any_shape.h"

namespace {

// Every test gives back what it made.
class Objects : public testing::Test {
 protected:
  void SetUp() override { before_ = CountGdiObjects(); }
  void TearDown() override { EXPECT_EQ(CountGdiObjects(), before_); }

 private:
  int before_ = 0;
};

TEST_F(Objects, WhatAContextHoldsIsNotFreedUntilItIsGivenBack) {
  const HDC first = CreateCompatibleDC(nullptr);
  const HDC second = CreateCompatibleDC(first);
  const HPEN pen = CreatePen(PS_SOLID, 1, 0);
  const HGDIOBJ former = SelectObject(first, pen);
  EXPECT_EQ(former, GetStockObject(BLACK_PEN));
  EXPECT_EQ(SelectObject(second, pen), GetStockObject(BLACK_PEN));
  EXPECT_EQ(SelectObject(first, pen), pen);
  EXPECT_EQ(SelectObject(first, former), pen);
  EXPECT_FALSE(DeleteObject(pen)) << "the second context still holds it";
  EXPECT_EQ(GetCurrentObject(second, OBJ_PEN), pen);
  EXPECT_TRUE(DeleteDC(second));
  EXPECT_TRUE(DeleteObject(pen));
  EXPECT_FALSE(DeleteObject(pen));
  EXPECT_EQ(SelectObject(first, pen), nullptr);
  EXPECT_TRUE(DeleteDC(first));
}

TEST_F(Objects, ABitmapIsForOneContext) {
  const HDC first = CreateCompatibleDC(nullptr);
  const HDC second = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateCompatibleBitmap(first, 7, 5);
  const HGDIOBJ own = SelectObject(first, bitmap);
  EXPECT_EQ(SelectObject(second, bitmap), nullptr);
  PIXELS p{};
  EXPECT_TRUE(GetPixels(second, &p));
  EXPECT_EQ(p.width * p.height, 1) << "its own pixel";
  EXPECT_TRUE(GetPixels(first, &p));
  EXPECT_EQ(p.width, 7);
  EXPECT_EQ(SelectObject(first, own), bitmap);
  EXPECT_EQ(GetCurrentObject(first, OBJ_BITMAP), own);
  EXPECT_EQ(SelectObject(second, bitmap), own)
      << "every context's first bitmap is one stock object";
  EXPECT_TRUE(DeleteObject(own));
  EXPECT_TRUE(SetPixelV(first, 0, 0, 0xffffff));
  DeleteDC(first);
  DeleteDC(second);
  EXPECT_TRUE(DeleteObject(bitmap));
}

TEST_F(Objects, StockObjectsStay) {
  for (const int kind : {WHITE_BRUSH, BLACK_BRUSH, NULL_BRUSH, WHITE_PEN, BLACK_PEN, NULL_PEN,
                         DEVICE_DEFAULT_FONT}) {
    const HGDIOBJ object = GetStockObject(kind);
    ASSERT_NE(object, nullptr) << kind;
    EXPECT_TRUE(DeleteObject(object));
    const HDC dc = CreateCompatibleDC(nullptr);
    EXPECT_NE(SelectObject(dc, object), nullptr) << kind;
    DeleteDC(dc);
  }
  EXPECT_EQ(GetStockObject(3), nullptr);
}

TEST_F(Objects, WrongHandlesFailQuietly) {
  krtest::Canvas canvas(4, 4);
  const HDC dead = CreateCompatibleDC(nullptr);
  DeleteDC(dead);
  const HDC reused = CreateCompatibleDC(nullptr);  // the dead one's slot, another handle
  int local = 0;
  const POINT points[] = {{0, 0}, {3, 3}, {0, 3}};
  const HDC wrong[] = {nullptr, dead, reinterpret_cast<HDC>(&local),
                       reinterpret_cast<HDC>(~std::uintptr_t{0}),
                       reinterpret_cast<HDC>(GetStockObject(BLACK_PEN))};
  for (const HDC dc : wrong) {
    POINT point{};
    PIXELS pixels{};
    EXPECT_FALSE(DeleteDC(dc));
    EXPECT_EQ(CreateCompatibleBitmap(dc, 2, 2), nullptr);
    EXPECT_EQ(SelectObject(dc, GetStockObject(NULL_PEN)), nullptr);
    EXPECT_EQ(GetCurrentObject(dc, OBJ_PEN), nullptr);
    EXPECT_EQ(
        SetBkMode(dc, OPAQUE) + SetMapMode(dc, MM_TEXT) + SetROP2(dc, R2_XORPEN) + GetROP2(dc), 0);
    EXPECT_FALSE(SetWindowExtEx(dc, 1, 1, nullptr));
    EXPECT_FALSE(SetViewportExtEx(dc, 1, 1, nullptr));
    EXPECT_FALSE(GetViewportOrgEx(dc, &point));
    EXPECT_FALSE(SetViewportOrgEx(dc, 1, 1, &point));
    EXPECT_FALSE(BitBlt(canvas.dc, 0, 0, 4, 4, dc, 0, 0, SRCCOPY));
    EXPECT_FALSE(BitBlt(dc, 0, 0, 4, 4, canvas.dc, 0, 0, SRCCOPY));
    EXPECT_FALSE(PatBlt(dc, 0, 0, 4, 4, PATCOPY));
    EXPECT_FALSE(SetPixelV(dc, 0, 0, 1));
    EXPECT_FALSE(MoveToEx(dc, 0, 0, nullptr));
    EXPECT_FALSE(LineTo(dc, 3, 3));
    EXPECT_FALSE(Ellipse(dc, 0, 0, 4, 4));
    EXPECT_FALSE(Arc(dc, 0, 0, 4, 4, 0, 0, 3, 3));
    EXPECT_FALSE(Rectangle(dc, 0, 0, 4, 4));
    EXPECT_FALSE(Polygon(dc, points, 3));
    EXPECT_FALSE(GetPixels(dc, &pixels));
  }
  const HGDIOBJ objects[] = {nullptr, static_cast<HGDIOBJ>(static_cast<void*>(canvas.dc)),
                             reinterpret_cast<HGDIOBJ>(&local)};
  for (const HGDIOBJ object : objects) {
    EXPECT_EQ(SelectObject(canvas.dc, object), nullptr);
    EXPECT_FALSE(DeleteObject(object));
  }
  EXPECT_EQ(CreateCompatibleDC(dead), nullptr);
  EXPECT_EQ(CreateFontIndirectA(nullptr), nullptr);
  EXPECT_FALSE(Polygon(canvas.dc, nullptr, 3));
  EXPECT_FALSE(Polygon(canvas.dc, points, 1));
  EXPECT_FALSE(Polygon(canvas.dc, points, -5));
  DeleteDC(reused);
}

TEST_F(Objects, HandlesAreNotUsedAgain) {
  const HPEN first = CreatePen(PS_SOLID, 1, 0);
  DeleteObject(first);
  for (int i = 0; i < 10000; ++i) {
    const HPEN pen = CreatePen(PS_SOLID, 1, 0);
    ASSERT_NE(pen, first);
    DeleteObject(pen);
  }
}

TEST_F(Objects, CallsInAnyOrderLeaveNothingBehind) {
  krtest::ShapeMaker maker(7);
  for (int round = 0; round < 40; ++round) {
    std::vector<HDC> contexts{nullptr};
    std::vector<HGDIOBJ> objects{nullptr, GetStockObject(NULL_PEN), GetStockObject(BLACK_BRUSH)};
    const auto any = [&](const auto& list) {
      return list[static_cast<std::size_t>(
          maker.number(0, static_cast<std::int64_t>(list.size()) - 1))];
    };
    for (int i = 0; i < 300; ++i) {
      const HDC dc = any(contexts);
      const auto shape = maker.shape(static_cast<int>(maker.number(0, 1)) * 40);
      switch (maker.number(0, 9)) {
        case 0:
          contexts.push_back(CreateCompatibleDC(dc));
          break;
        case 1:
          objects.push_back(CreateCompatibleBitmap(dc, static_cast<int>(maker.number(-1, 50)), 30));
          break;
        case 2:
          objects.push_back(CreatePen(shape.style, shape.width, 0x123456));
          objects.push_back(CreateSolidBrush(0x654321));
          break;
        case 3:
          DeleteDC(dc);
          break;
        case 4:
          DeleteObject(any(objects));
          break;
        case 5:
          objects.push_back(SelectObject(dc, any(objects)));
          break;
        case 6:
          SetROP2(dc, R2_XORPEN);
          SetViewportOrgEx(dc, shape.points[0].x, shape.points[0].y, nullptr);
          break;
        case 7:
          BitBlt(dc, shape.points[0].x, shape.points[0].y, 20, 20, any(contexts), shape.points[1].x,
                 shape.points[1].y, SRCCOPY);
          break;
        default:
          shape.draw(dc);
      }
    }
    for (const HDC dc : contexts) {
      DeleteDC(dc);
    }
    for (const HGDIOBJ object : objects) {
      DeleteObject(object);
    }
  }
}

TEST_F(Objects, ThreadsMakeAndFreeTheirOwn) {
  const auto work = [] {
    for (int i = 0; i < 2000; ++i) {
      krtest::Canvas canvas(4, 1);
      canvas.pen(PS_SOLID, 1);
      canvas.line(0, 0, 4, 0);
      ASSERT_EQ(canvas.picture(), "####\n");
    }
  };
  std::thread first(work);
  std::thread second(work);
  first.join();
  second.join();
}

TEST_F(Objects, BitmapSizes) {
  const HDC dc = CreateCompatibleDC(nullptr);
  constexpr int kMost = std::numeric_limits<int>::max();
  const struct {
    int w, h, width, height;
  } rows[] = {{0, 5, 1, 1}, {5, -1, 1, 1}, {3, 2, 3, 2}, {1, 100000, 1, 100000}};
  for (const auto& row : rows) {
    const HBITMAP bitmap = CreateCompatibleBitmap(dc, row.w, row.h);
    const HGDIOBJ former = SelectObject(dc, bitmap);
    PIXELS p{};
    GetPixels(dc, &p);
    EXPECT_EQ(p.width, row.width);
    EXPECT_EQ(p.height, row.height);
    SelectObject(dc, former);
    DeleteObject(bitmap);
  }
  EXPECT_EQ(CreateCompatibleBitmap(dc, kMost, kMost), nullptr);
  EXPECT_EQ(CreateCompatibleBitmap(dc, 1 << 16, 1 << 15), nullptr);
  DeleteDC(dc);
}

TEST_F(Objects, ModesGiveTheFormerValueAndRefuseOthers) {
  krtest::Canvas canvas(1, 1);
  EXPECT_EQ(SetBkMode(canvas.dc, OPAQUE), TRANSPARENT);
  EXPECT_EQ(SetBkMode(canvas.dc, 3), 0);
  EXPECT_EQ(SetBkMode(canvas.dc, TRANSPARENT), OPAQUE);
  EXPECT_EQ(SetMapMode(canvas.dc, MM_ISOTROPIC), MM_TEXT);
  EXPECT_EQ(SetMapMode(canvas.dc, 99), 0);
  EXPECT_EQ(SetMapMode(canvas.dc, MM_TEXT), MM_ISOTROPIC);
  EXPECT_EQ(SetROP2(canvas.dc, R2_XORPEN), R2_COPYPEN);
  EXPECT_EQ(SetROP2(canvas.dc, 0), 0);
  EXPECT_EQ(GetROP2(canvas.dc), R2_XORPEN);
  SIZE size{};
  EXPECT_TRUE(SetWindowExtEx(canvas.dc, 1, 1, &size));
  EXPECT_EQ(size.cx, 1);
  EXPECT_FALSE(SetViewportExtEx(canvas.dc, 2, 1, nullptr));
  POINT origin{};
  EXPECT_TRUE(SetViewportOrgEx(canvas.dc, -3, 4, nullptr));
  EXPECT_TRUE(SetViewportOrgEx(canvas.dc, 5, 6, &origin));
  EXPECT_EQ(origin.x, -3);
  EXPECT_TRUE(GetViewportOrgEx(canvas.dc, &origin));
  EXPECT_EQ(origin.y, 6);
  MoveToEx(canvas.dc, 8, 9, nullptr);
  EXPECT_TRUE(MoveToEx(canvas.dc, 1, 1, &origin));
  EXPECT_EQ(origin.x, 8) << "positions are before the origin is added";
}

TEST_F(Objects, AWindowsContextsShareItsPixels) {
  MEMORY_WINDOW window(6, 4);
  const HDC outer = GetDC(window.handle());
  const HDC inner = GetDC(window.handle());
  EXPECT_FALSE(DeleteDC(inner));
  SetPixelV(outer, 5, 3, 0x0000ff);
  EXPECT_EQ(krtest::PixelAt(inner, 5, 3), 0xff0000u);

  const HBITMAP bitmap = CreateCompatibleBitmap(inner, 2, 2);
  EXPECT_EQ(SelectObject(inner, bitmap), nullptr);
  const HDC memory = CreateCompatibleDC(inner);
  const HGDIOBJ of_window = GetCurrentObject(inner, OBJ_BITMAP);
  EXPECT_EQ(SelectObject(memory, of_window), nullptr);
  EXPECT_FALSE(DeleteObject(of_window));
  DeleteDC(memory);
  DeleteObject(bitmap);

  EXPECT_EQ(ReleaseDC(window.handle(), inner), 1);
  EXPECT_EQ(ReleaseDC(window.handle(), inner), 0);
  window.ReleaseContext(inner);
  window.Resize(8, 2);
  EXPECT_TRUE(SetPixelV(outer, 7, 1, 0xffffff)) << "a context that is out follows the new size";
  EXPECT_FALSE(SetPixelV(outer, 5, 3, 0xffffff));
  window.Resize(8, 4);
  EXPECT_EQ(krtest::PixelAt(outer, 5, 3), 0u);
  EXPECT_EQ(krtest::PixelAt(outer, 7, 1), 0xffffffu);
}

TEST_F(Objects, AWindowWithoutPixelsTakesEverything) {
  MEMORY_WINDOW window(0, -3);
  const HDC dc = GetDC(window.handle());
  MoveToEx(dc, -5, -5, nullptr);
  EXPECT_TRUE(LineTo(dc, 5, 5));
  EXPECT_TRUE(Rectangle(dc, -9, -9, 9, 9));
  EXPECT_TRUE(PatBlt(dc, 0, 0, 10, 10, PATCOPY));
  EXPECT_EQ(window.pixels().width + window.pixels().height, 0);
  window.Resize(2, 1);
  EXPECT_EQ(krtest::Picture(dc), "..\n");
}

TEST(Window, TimersAndInvalidations) {
  MEMORY_WINDOW window(10, 20);
  const HWND handle = window.handle();
  EXPECT_EQ(SetTimer(handle, 8, 5000, nullptr), 8u);
  EXPECT_EQ(SetTimer(handle, 8, 700, nullptr), 8u);
  EXPECT_EQ(SetTimer(handle, std::uintptr_t{1} << 32, 1, nullptr), 0u);
  EXPECT_EQ(window.timers, (std::map<std::uint32_t, std::uint32_t>{{8, 700}}));
  EXPECT_TRUE(KillTimer(handle, 8));
  EXPECT_FALSE(KillTimer(handle, 8));
  const RECT area{1, 2, 3, 4};
  EXPECT_TRUE(InvalidateRect(handle, nullptr, FALSE));
  EXPECT_TRUE(InvalidateRect(handle, &area, FALSE));
  ASSERT_EQ(window.invalidated.size(), 2u);
  EXPECT_EQ(window.invalidated[0].bottom, 20);
  EXPECT_EQ(window.invalidated[1].right, 3);
}

TEST(Window, TheCursorIsEachWindowsOwn) {
  POINT p{};
  EXPECT_FALSE(GetCursorPos(&p)) << "no window";
  MEMORY_WINDOW first(10, 10);
  first.cursor = {3, 4};
  HWND gone = nullptr;
  {
    MEMORY_WINDOW second(10, 10);
    second.cursor = {std::numeric_limits<LONG>::max(), -20};
    gone = second.handle();
    GetCursorPos(&p);
    EXPECT_EQ(p.y, -20) << "the screen is the newest window";
    EXPECT_TRUE(ScreenToClient(gone, &p));
    EXPECT_EQ(p.y, -20);
    EXPECT_TRUE(ScreenToClient(first.handle(), &p));
    EXPECT_EQ(p.x, 3);
    EXPECT_EQ(p.y, 4);
  }
  GetCursorPos(&p);
  EXPECT_EQ(p.x, 3);
  EXPECT_FALSE(ScreenToClient(gone, &p));
  EXPECT_EQ(GetDC(gone), nullptr);
  EXPECT_EQ(ReleaseDC(gone, nullptr), 0);
  EXPECT_EQ(SetTimer(nullptr, 8, 1, nullptr), 0u);
  EXPECT_FALSE(InvalidateRect(gone, nullptr, FALSE));
}

}  // namespace

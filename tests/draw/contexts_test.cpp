#include <gtest/gtest.h>

#include "tests/support/device.h"

namespace {

using krtest::OpenDevice;
using krtest::Stage;

TEST(Contexts, CopiesTakeTheWindowsPlaceInTheBuffer) {
  Stage s;
  auto& d = s.device;
  d.ScrollH(5);
  d.ScrollV(3);
  SetPixelV(d.memDC, 65, 57, 0xff);
  SetPixelV(d.memDC, 84, 86, 0xff00);
  SetPixelV(d.memDC, 85, 86, 0xff00);  // right of the rectangle
  RECT r{10, 20, 30, 50};
  d.Render(&r);
  EXPECT_EQ(Stage::At(s.dc, 10, 20), 0xff0000u);
  EXPECT_EQ(Stage::At(s.dc, 29, 49), 0x00ff00u);
  EXPECT_EQ(Stage::At(s.dc, 30, 49), 0u);  // the window was never painted
  EXPECT_EQ(Stage::At(s.dc, 9, 20), 0u);
}

TEST(Contexts, ExtraBufferShowsWhatTheWindowWouldAndSparesTheMainOne) {
  Stage s;
  auto& d = s.device;
  d.line({-20, 0}, {20, 0});
  d.ReleaseContext();
  d.DirectDraw(true);
  d.Render2ExtraBuff(nullptr);  // without a context and in direct mode
  EXPECT_TRUE(d.InDirectDraw());
  EXPECT_FALSE(d.ContextSelected());
  d.DirectDraw(false);
  d.SetContext(s.dc);
  d.EnableExtraBuffer(true);
  d.setPenStyle(0, 0, 0xff);
  d.line({0, -20}, {0, 20});
  EXPECT_EQ(Stage::At(d.extraDC, 40, 40), 0u);
  EXPECT_EQ(Stage::At(d.extraDC, 50, 30), 0xff0000u);
  EXPECT_EQ(Stage::At(d.memDC, 100, 70), 0xffffffu);
  d.DirectDraw(true);
  d.RenderExtraBuff(nullptr);
  EXPECT_EQ(Stage::At(s.dc, 50, 30), 0u);
  d.DirectDraw(false);
  d.RenderExtraBuff(nullptr);
  EXPECT_EQ(Stage::At(s.dc, 50, 30), 0xff0000u);
}

TEST(Contexts, DraftModeDrawnTwiceRestoresEveryPixel) {
  Stage s;
  auto& d = s.device;
  d.line({-30, -30}, {30, 30});
  const int before = Stage::Painted(d.memDC);
  d.SetDraftMode(true);
  for (int pass = 0; pass < 2; ++pass) {
    d.setPenStyle(0, 5, 0xffffff);
    d.setColorBrush(0x00ff00);
    d.fillcirc({3, 4}, 25);
    d.arc({0, 0}, 30, {30, 0}, {0, -30});
    d.fillpoly4({-9, 0}, {40, 7}, {-9, 14}, {33, -20});
    if (pass == 0) {
      EXPECT_NE(Stage::Painted(d.memDC), before);
    }
  }
  EXPECT_EQ(Stage::Painted(d.memDC), before);
}

TEST(Contexts, RasterOperationFollowsTheDraftFlag) {
  Stage s;
  auto& d = s.device;
  d.ReleaseContext();
  d.SetDraftMode(true);
  d.SetContext(s.dc);
  EXPECT_EQ(GetROP2(s.dc), R2_XORPEN);
  d.ReleaseContext();
  EXPECT_EQ(GetROP2(s.dc), R2_COPYPEN);
  EXPECT_EQ(GetROP2(d.memDC), R2_COPYPEN);
  EXPECT_TRUE(d.InDraftMode());
  d.SetContext(s.dc);
  d.SetDraftMode(false);
  EXPECT_EQ(GetROP2(d.memDC), R2_COPYPEN);
}

TEST(Contexts, NestAndGiveBackInnerFirst) {
  Stage s;
  auto& d = s.device;
  HDC const inner = CreateCompatibleDC(s.dc);
  SetViewportOrgEx(inner, 3, 4, nullptr);
  SetBkMode(inner, OPAQUE);
  d.SetContext(inner);
  EXPECT_EQ(d.hdc(), d.memDC);
  EXPECT_EQ(d.ReleaseContext(), inner);
  EXPECT_EQ(SetBkMode(inner, TRANSPARENT), OPAQUE);
  EXPECT_TRUE(d.ContextSelected());
  EXPECT_EQ(d.ReleaseContext(), s.dc);
  EXPECT_FALSE(d.ContextSelected());
  EXPECT_EQ(d.ReleaseContext(), nullptr);  // once too often
  DeleteDC(inner);
}

TEST(Contexts, UpdateFlagStaysInDirectMode) {
  Stage s;
  auto& d = s.device;
  d.needupdate(false);
  EXPECT_FALSE(d.needupdate());
  d.Invalidate(false);
  EXPECT_FALSE(d.needupdate());
  EXPECT_EQ(s.window.invalidated.size(), 1u);
  d.Invalidate(true);
  EXPECT_TRUE(d.needupdate());
  EXPECT_FALSE(d.DirectDraw(true));
  EXPECT_TRUE(d.DirectDraw(true));
  d.needupdate(false);
  EXPECT_TRUE(d.needupdate());
}

TEST(Contexts, ADevicesLifeLeavesNoObjectBehind) {
  const int before = CountGdiObjects();
  {
    Stage s;
    s.device.Resize(300, 20, s.dc);
    s.device.ReleaseContext();
    s.device.Init(10, 10, s.window.handle());  // the first buffers go
  }
  EXPECT_EQ(CountGdiObjects(), before);
}

TEST(Contexts, NullHandlesAndEmptyWindowsAreHarmless) {
  OpenDevice d;
  EXPECT_TRUE(d.Init(0, 0, nullptr));
  d.SetContext(nullptr);
  d.setPenStyle(0, 5, 0);
  d.setColorBrush(3);
  d.cleardevice(0);
  d.dot({0, 0});
  d.Render(nullptr);
  d.ZoomRect({0, 10, 10, 0});
  d.ZoomOut();
  d.Resize(-5, 0x7fffffff, nullptr);
  d.Resize(20, 20, nullptr);
  EXPECT_EQ(d.ReleaseContext(), nullptr);
}

}  // namespace

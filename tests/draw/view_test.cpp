#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "krdcmmn/core/geometry.h"

#include "tests/support/device.h"

namespace {

using krtest::Stage;
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

TEST(Rounding, HalfGoesAwayFromZeroAndEndsSaturate) {
  const struct {
    double v;
    std::int32_t expected;
  } rows[] = {{2.5, 3},
              {-2.5, -3},
              {-0.4, 0},
              {0.49999999999999994, 1},  // the sum is 1.0 already
              {2147483646.5, kMax},
              {2147483647.4, kMax},
              {1e300, kMax},
              {-2147483647.4, -kMax},
              {-2147483647.5, kMin},
              {-1e300, kMin},
              {std::nan(""), 0}};
  for (const auto& row : rows) {
    EXPECT_EQ(KRD::RoundHalfAway(row.v), row.expected) << row.v;
  }
}

TEST(View, MapsTheSamePointInEveryFrame) {
  Stage s;
  auto& d = s.device;
  EXPECT_EQ(d.wX(0), 100);
  EXPECT_EQ(d.wY(10), 70);
  d.DirectDraw(true);
  EXPECT_EQ(d.wX(0), 50);
  EXPECT_EQ(d.wY(10), 30);
  EXPECT_EQ(d.rX(50), 0);
  EXPECT_EQ(d.rY(30), 10);
}

TEST(View, DirectAndWindowFramesDifferByOneWithAnOddWidth) {
  Stage s(101, 80);
  s.device.DirectDraw(true);
  EXPECT_EQ(s.device.wX(0), 51);  // 101 - (202 - 101) / 2
  EXPECT_EQ(s.device.wndX(0), 50);
}

TEST(View, WindowGoesOnePixelFurtherLeftThanRightInItsBuffer) {
  const struct {
    int x, pan, origin;
    bool update;
  } rows[] = {{49, 49, 0, false}, {50, 0, 50, true}, {-50, -50, 0, false}, {-51, 0, -51, true}};
  for (const auto& row : rows) {
    Stage s;
    s.device.needupdate(false);
    s.device.ScrollH(row.x);
    EXPECT_EQ(s.device.panOffset.x, row.pan) << row.x;
    EXPECT_EQ(s.device.bufOrigin.x, row.origin) << row.x;
    EXPECT_EQ(s.device.needupdate(), row.update) << row.x;
    EXPECT_EQ(s.device.GetScrollPosH(), row.x);
  }
  Stage s;
  s.device.ScrollV(41);
  EXPECT_EQ(s.device.bufOrigin.y, -41);
  s.device.ScrollV(42);  // up in the model is up in the buffer
  EXPECT_EQ(s.device.panOffset.y, -1);
}

TEST(View, ZoomOutKeepsThePointUnderTheCursor) {
  Stage s;
  auto& d = s.device;
  d.needupdate(false);
  s.window.cursor = {75, 20};
  d.ZoomOut();
  EXPECT_EQ(d.GetScale(), 0.8705505632961241);
  EXPECT_EQ(d.GetScrollPosH(), -4);
  EXPECT_EQ(d.GetScrollPosV(), -3);
  EXPECT_EQ(d.panOffset.x, -3);
  EXPECT_EQ(d.panOffset.y, 3);
  EXPECT_EQ(d.wndX(25), 75);
  EXPECT_EQ(d.wndY(20), 20);
  EXPECT_TRUE(d.needupdate());
  EXPECT_EQ(s.window.timers, (std::map<std::uint32_t, std::uint32_t>{{8, 5000}}));
}

TEST(View, ZoomRefusesAndZoomRectClampsAtTheLimits) {
  Stage s;
  auto& d = s.device;
  d.SetMaxScale(4.0);
  for (double refused : {4.0000001, -1.0, 1.0, 0.0, HUGE_VAL, std::nan("")}) {
    d.Zoom(refused);
    EXPECT_EQ(d.GetScale(), 1.0) << refused;
    EXPECT_FALSE(d.viewPending) << refused;
  }
  d.Zoom(4.0);
  EXPECT_EQ(d.GetScale(), 4.0);
  d.ZoomRect({-2000, 100, 2000, -100});
  EXPECT_EQ(d.GetScale(), 100 / 4000.0);
  d.ZoomRect({10, 21, 11, 20});
  EXPECT_EQ(d.GetScale(), 4.0);
  EXPECT_EQ(d.GetScrollPosV(), 20);
  d.ZoomRect({7, 40, 7, 0});  // only the height counts
  EXPECT_EQ(d.GetScale(), 2.0);
  const double before = d.GetScale();
  d.ZoomRect({7, 7, 7, 7});
  d.ZoomRect({100, 50, 0, 0});  // reversed: the scale would be 0
  EXPECT_EQ(d.GetScale(), before);
  d.ZoomRect({kMin, kMax, kMax, kMin});
  EXPECT_EQ(d.GetScale(), 80 / 4294967295.0);
  EXPECT_EQ(d.GetScrollPosH(), 0);  // -1 / 2
}

TEST(View, ZoomStepsStopAtTheUpperLimitOnly) {
  Stage s;
  auto& d = s.device;
  EXPECT_FALSE(d.ZoomInAllowed());
  d.ZoomIn();
  EXPECT_EQ(d.GetScale(), 1.0);
  d.SetMaxScale(1.1);
  d.ZoomIn();
  EXPECT_EQ(d.GetScale(), 1.1);
  for (int i = 0; i < 10000; ++i) {
    d.ZoomOut();
  }
  EXPECT_GT(d.GetScale(), 0.0);
  EXPECT_TRUE(d.ZoomOutAllowed());
}

TEST(View, ZoomGoesAroundTheSavedViewWhenTheCursorIsOutside) {
  Stage s;
  auto& d = s.device;
  d.SetMaxScale(8.0);
  s.window.cursor = {500, 500};
  d.ScrollH(30);
  d.ZoomIn();  // no saved view: the window's centre stays
  EXPECT_EQ(d.GetScrollPosH(), 30);
  d.SaveView();
  d.ScrollH(45);
  d.ZoomIn();
  EXPECT_EQ(d.GetScrollPosH(), 30);
  d.ScrollH(45);
  d.Zoom(2.0);  // an unsaved scroll is dropped by Zoom too
  EXPECT_EQ(d.GetScrollPosH(), 30);
}

TEST(History, StepsBackAndForthAndDropsTheForwardPart) {
  Stage s;
  auto& d = s.device;
  d.PrevView();  // nothing saved: nothing read
  EXPECT_EQ(d.curView, -1);
  EXPECT_FALSE(d.IsPrevViewAllowed());
  EXPECT_FALSE(d.IsNextViewAllowed());
  for (int x : {0, 10, 20}) {
    d.ScrollH(x);
    d.NewView();
    EXPECT_TRUE(d.IsPrevViewAllowed());
    d.SaveView();
  }
  EXPECT_TRUE(s.window.timers.empty());
  d.PrevView();
  EXPECT_EQ(d.GetScrollPosH(), 10);
  d.NewView();
  d.SaveView();  // the same view again: no entry, the forward history stays
  EXPECT_TRUE(d.IsNextViewAllowed());
  d.ScrollH(15);
  d.NewView();
  d.PrevView();  // a pending view steps back to the last saved one only
  EXPECT_EQ(d.curView, 1);
  EXPECT_EQ(d.GetScrollPosH(), 10);
  d.ScrollH(17);
  d.NewView();
  d.SaveView();
  EXPECT_EQ(d.curView, 2);
  EXPECT_FALSE(d.IsNextViewAllowed());
  d.PrevView();
  d.NextView();
  EXPECT_EQ(d.GetScrollPosH(), 17);
}

TEST(History, HoldsTwoHundredFiftyOneViews) {
  Stage s;
  for (int i = 0; i < 300; ++i) {
    s.device.ScrollH(i);
    s.device.NewView();
    s.device.SaveView();
  }
  EXPECT_EQ(s.device.curView, 250);
  EXPECT_EQ(s.device.views.count(), 251u);
  EXPECT_EQ(s.device.views[0].scrollX, 49);
}

TEST(View, RectanglesOfTheThreeTargets) {
  Stage s;
  auto& d = s.device;
  d.SetMaxScale(2.0);
  d.Zoom(2.0);
  d.ScrollH(10);
  d.ScrollV(5);
  KRD::LTRB r{};
  const auto expect = [&](std::int32_t l, std::int32_t t, std::int32_t rt, std::int32_t b) {
    EXPECT_EQ(r.left, l);
    EXPECT_EQ(r.top, t);
    EXPECT_EQ(r.right, rt);
    EXPECT_EQ(r.bottom, b);
  };
  d.GetClientRect(r);
  expect(-15, 25, 35, -15);
  d.GetDrawingRect(r);  // the whole main buffer
  expect(-50, 40, 50, -40);
  d.EnableExtraBuffer(true);
  d.GetDrawingRect(r);  // window's size, without the pan
  expect(-25, 20, 25, -20);
  d.DirectDraw(true);
  d.GetDrawingRect(r);
  expect(-15, 25, 35, -15);
}

TEST(View, ResizeGrowsTheBufferOnBothSidesAndNeverShrinksIt) {
  Stage s;
  auto& d = s.device;
  d.needupdate(false);
  d.Resize(60, 50, s.dc);
  EXPECT_EQ(d.bufSize.w, 200);
  EXPECT_FALSE(d.needupdate());
  d.Resize(201, 50, s.dc);
  EXPECT_EQ(d.bufSize.w, 402);
  EXPECT_EQ(d.bufSize.h, 100);
  EXPECT_TRUE(d.needupdate());
  PIXELS p{};
  ASSERT_TRUE(GetPixels(d.memDC, &p));
  EXPECT_EQ(p.width, 402);
  ASSERT_TRUE(GetPixels(d.extraDC, &p));
  EXPECT_EQ(p.width, 201);
}

TEST(View, AnyNumbersLeaveADefinedState) {
  std::mt19937 random(7);
  const std::int32_t extremes[] = {kMin, kMin + 1, -1, 0, 1, kMax - 1, kMax, 12345};
  const double scales[] = {1e-300, 1e-9, 0.5, 1.0, 1e9, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")};
  Stage s;
  auto& d = s.device;
  const auto any = [&] { return extremes[random() % std::size(extremes)]; };
  for (int i = 0; i < 3000; ++i) {
    d.SetMaxScale(scales[random() % std::size(scales)]);
    d.Zoom(scales[random() % std::size(scales)]);
    d.ScrollH(any());
    d.ScrollV(any());
    s.window.cursor = {any(), any()};
    random() % 2 == 0 ? d.ZoomIn() : d.ZoomOut();
    d.ZoomRect({any(), any(), any(), any()});
    KRD::LTRB r{};
    d.GetClientRect(r);
    d.GetDrawingRect(r);
    d.SaveView();
    d.PrevView();
    d.NextView();
    d.line({any(), any()}, {any(), any()});
    d.arc({any(), any()}, any(), {any(), any()}, {any(), any()});
    d.sousage({any(), any()}, any(), {any(), any()}, false);
    d.circle({any(), any()}, any());
    d.fillrect({any(), any()}, {any(), any()});
    ASSERT_GT(d.GetScale(), 0.0);
    ASSERT_TRUE(std::isfinite(d.GetScale()));
  }
}

}  // namespace

// The view of a DRAW_DEVICE: mapping, scrolling, zoom and history.
//
// Main buffer and window, with OX = bufOrigin.x, PX = panOffset.x, BW and W the widths:
//
//      0                 BW/2 - OX + round(x * s)              BW
//      +--------------------------+-----------------------------+   main buffer
//              +------------------+---------+                       window, its corner at
//              (BW - W)/2 + PX                                      (BW - W)/2 + PX
//
// A scroll moves PX while the window stays in the buffer. When it would leave, the buffer is
// re-based: PX is 0 again, OX takes the new centre, and the picture has to be drawn anew.
#include <cmath>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/platform/window.h"

using KRD::RoundHalfAway;

namespace {

// Five steps double or halve the scale: 2 to the power 1/5 and -1/5.
constexpr double kZoomInStep = 1.148698354997035;
constexpr double kZoomOutStep = 0.8705505632961241;

// The index of the oldest view that is dropped: the history holds indices 0 to 250.
constexpr int kLastView = 250;

bool Usable(double scale) {
  return std::isfinite(scale) && scale != 0.0;
}

}  // namespace

void DRAW_DEVICE::GetScrollRangeH(int& lo, int& hi) {
  lo = std::numeric_limits<std::int32_t>::min();
  hi = std::numeric_limits<std::int32_t>::max();
}

void DRAW_DEVICE::GetScrollRangeV(int& lo, int& hi) {
  GetScrollRangeH(lo, hi);
}

int DRAW_DEVICE::wndX(std::int32_t x) const {
  return Clamp(std::int64_t{wndSize.w / 2} - bufOrigin.x - panOffset.x + RoundHalfAway(x * scale));
}

int DRAW_DEVICE::wndY(std::int32_t y) const {
  return Clamp(std::int64_t{wndSize.h / 2} - bufOrigin.y - panOffset.y - RoundHalfAway(y * scale));
}

std::int32_t DRAW_DEVICE::rX(int p) const {
  return ToModel(std::int64_t{bufOrigin.x} - wndSize.w / 2 + panOffset.x + p);
}

std::int32_t DRAW_DEVICE::rY(int p) const {
  return ToModel(std::int64_t{wndSize.h / 2} - bufOrigin.y - panOffset.y - p);
}

void DRAW_DEVICE::ScrollH(std::int32_t x) {
  const int pixel = RoundHalfAway(x * scale);
  const std::int64_t column = std::int64_t{pixel} - bufOrigin.x + bufSize.w / 2;
  const int half = wndSize.w / 2;
  scrollPos.x = x;
  if (column - half >= 0 && column + half < bufSize.w) {
    panOffset.x = static_cast<int>(column - bufSize.w / 2);
    return;
  }
  updateNeeded = true;
  panOffset.x = 0;
  bufOrigin.x = pixel;
}

void DRAW_DEVICE::ScrollV(std::int32_t y) {
  const int pixel = RoundHalfAway(y * scale);
  const std::int64_t row = std::int64_t{bufSize.h / 2} - pixel - bufOrigin.y;
  const int half = wndSize.h / 2;
  scrollPos.y = y;
  if (row - half >= 0 && row + half < bufSize.h) {
    panOffset.y = static_cast<int>(row - bufSize.h / 2);
    return;
  }
  updateNeeded = true;
  panOffset.y = 0;
  bufOrigin.y = Clamp(-std::int64_t{pixel});
}

void DRAW_DEVICE::Zoom(double s) {
  if (!Usable(s) || s < minScale || s > maxScale || s == scale) {
    return;
  }
  scale = s;
  if (curView >= 0) {
    const VIEW view = views[static_cast<unsigned>(curView)];
    ScrollH(view.centreX);
    ScrollV(view.centreY);
  }
  NewView();
  updateNeeded = true;
}

void DRAW_DEVICE::SetMaxScale(double s) {
  maxScale = s;
  if (s < scale) {
    Zoom(s);
  }
}

void DRAW_DEVICE::SetWorkArea(int w, int h) {
  GetMinScale();
  workArea = {w, h};
}

void DRAW_DEVICE::ZoomIn() {
  if (ZoomInAllowed()) {
    ZoomInOut(kZoomInStep);
  }
}

void DRAW_DEVICE::ZoomOut() {
  ZoomInOut(kZoomOutStep);
}

void DRAW_DEVICE::ZoomInOut(double f) {
  POINT cursor{0, 0};
  GetCursorPos(&cursor);
  ScreenToClient(wnd, &cursor);
  const DOT under = {rX(cursor.x), rY(cursor.y)};

  const bool direct = directDraw;
  directDraw = true;  // wX and wY give window pixels
  const std::int64_t dx = std::int64_t{wX(scrollPos.x)} - cursor.x;
  const std::int64_t dy = std::int64_t{wY(scrollPos.y)} - cursor.y;
  directDraw = direct;
  LTRB client;
  GetClientRect(client);
  const DOT centre = WindowCentre();

  if (Usable(scale * f)) {
    scale *= f;
  }
  if (scale > maxScale && Usable(maxScale)) {
    scale = maxScale;
  }
  if (under.x < client.left || under.x > client.right || under.y < client.bottom ||
      under.y > client.top) {
    DOT around = centre;
    if (curView >= 0) {
      const VIEW& view = views[static_cast<unsigned>(curView)];
      around = {view.centreX, view.centreY};
    }
    ScrollH(around.x);
    ScrollV(around.y);
  } else {
    ScrollH(Clamp(std::int64_t{under.x} - ToModel(-dx)));
    ScrollV(Clamp(std::int64_t{under.y} - ToModel(dy)));
  }
  updateNeeded = true;
  NewView();
}

void DRAW_DEVICE::ZoomRect(const LTRB& r) {
  const std::int64_t dw = std::int64_t{r.right} - r.left;
  const std::int64_t dh = std::int64_t{r.top} - r.bottom;
  if (dw == 0 && dh == 0) {
    return;
  }
  const double sx = wndSize.w / static_cast<double>(dw);
  const double sy = wndSize.h / static_cast<double>(dh);
  double fit = sy < sx ? sy : sx;
  if (fit < minScale) {
    fit = minScale;
  }
  if (maxScale < fit) {
    fit = maxScale;
  }
  if (!Usable(fit)) {
    return;
  }
  scale = fit;
  ScrollH(static_cast<std::int32_t>((std::int64_t{r.right} + r.left) / 2));
  ScrollV(static_cast<std::int32_t>((std::int64_t{r.top} + r.bottom) / 2));
  updateNeeded = true;
  NewView();
}

void DRAW_DEVICE::ArmViewTimer() {
  KillTimer(wnd, kViewTimer);
  SetTimer(wnd, kViewTimer, kViewTimerMs, nullptr);
}

void DRAW_DEVICE::NewView() {
  viewPending = true;
  ArmViewTimer();
}

KRD::DOT DRAW_DEVICE::WindowCentre() const {
  return {rX(wndSize.w / 2), ToModel(-(std::int64_t{bufOrigin.y} + panOffset.y))};
}

void DRAW_DEVICE::SaveView() {
  KillTimer(wnd, kViewTimer);
  if (!viewPending) {
    return;
  }
  viewPending = false;
  const DOT centre = WindowCentre();
  const VIEW now = {scrollPos.x, scrollPos.y, centre.x, centre.y, scale};
  const auto same = [&](const VIEW& v) {
    return v.scrollX == now.scrollX && v.scrollY == now.scrollY && v.scale == now.scale &&
           v.centreX == now.centreX && v.centreY == now.centreY;
  };
  if (curView < 0 || !same(views[static_cast<unsigned>(curView)])) {
    views.setNElem(static_cast<unsigned>(curView + 2));  // the forward history goes
    ++curView;
    views[static_cast<unsigned>(curView)] = now;
  }
  if (curView > kLastView) {
    views.del(0, 1);
    --curView;
  }
}

void DRAW_DEVICE::PrevView() {
  if (curView < 0) {
    return;
  }
  if (curView >= 1 && !viewPending) {
    --curView;
  }
  ShowView(curView);
}

void DRAW_DEVICE::NextView() {
  if (IsNextViewAllowed()) {
    ShowView(++curView);
  }
}

void DRAW_DEVICE::ShowView(int i) {
  const VIEW view = views[static_cast<unsigned>(i)];
  scale = view.scale;
  ScrollH(view.centreX);
  ScrollV(view.centreY);
  updateNeeded = true;
  viewPending = false;
}

void DRAW_DEVICE::GetDrawingRect(LTRB& r) {
  const std::int64_t ox = bufOrigin.x;
  const std::int64_t oy = bufOrigin.y;
  if (directDraw) {
    const std::int64_t top = wndSize.h / 2 - oy - panOffset.y;
    r = {ToModel(ox + panOffset.x - wndSize.w / 2), ToModel(top), rX(wndSize.w),
         ToModel(top - wndSize.h)};
    return;
  }
  const PAIR size = extraBuffer ? wndSize : bufSize;
  r = {ToModel(ox - size.w / 2), ToModel(size.h / 2 - oy), ToModel(size.w / 2 + ox),
       ToModel(-(size.h / 2) - oy)};
}

void DRAW_DEVICE::GetClientRect(LTRB& r) {
  const std::int64_t x = std::int64_t{bufOrigin.x} + panOffset.x;
  const std::int64_t top = std::int64_t{wndSize.h / 2} - bufOrigin.y - panOffset.y;
  r = {ToModel(x - wndSize.w / 2), ToModel(top), ToModel(wndSize.w - wndSize.w / 2 + x),
       ToModel(top - wndSize.h)};
}

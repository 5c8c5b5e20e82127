// The surfaces of a DRAW_DEVICE: the two buffers, the lent window context, and the copies between
// them.
#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/platform/window.h"

namespace {

// Logical units are pixels; the gaps of dashed pens stay transparent.
void SetIdentity(HDC dc) {
  SetWindowExtEx(dc, 1, 1, nullptr);
  SetViewportExtEx(dc, 1, 1, nullptr);
}

int Twice(int size) {
  return size > std::numeric_limits<int>::max() / 2   ? std::numeric_limits<int>::max()
         : size < std::numeric_limits<int>::min() / 2 ? std::numeric_limits<int>::min()
                                                      : 2 * size;
}

LOGFONTA DefaultFont() {
  LOGFONTA font{};
  font.lfWeight = 400;
  font.lfCharSet = 204;
  font.lfOutPrecision = 4;
  font.lfClipPrecision = 16;
  font.lfQuality = 2;
  font.lfPitchAndFamily = 0x30;
  return font;
}

}  // namespace

DRAW_DEVICE::DRAW_DEVICE() : fonts{DefaultFont(), LOGFONTA{}} {}

DRAW_DEVICE::~DRAW_DEVICE() {
  DropBuffers();
}

void DRAW_DEVICE::DropBuffers() {
  const auto drop = [](HDC& dc, HBITMAP& bitmap, HBITMAP old) {
    if (bitmap != nullptr) {
      SelectObject(dc, old);
      DeleteObject(bitmap);
      bitmap = nullptr;
    }
    if (dc != nullptr) {
      DeleteDC(dc);
      dc = nullptr;
    }
  };
  drop(memDC, memBitmap, oldMemBitmap);
  drop(extraDC, extraBitmap, oldExtraBitmap);
}

void DRAW_DEVICE::MakeBuffer(HDC dc, int w, int h, HDC target, HBITMAP& bitmap, HBITMAP& old) {
  bitmap = CreateCompatibleBitmap(dc, w, h);
  old = SelectObject(target, bitmap);
}

bool DRAW_DEVICE::Init(int w, int h, HWND window) {
  DropBuffers();
  wnd = window;
  wndSize = {w, h};
  bufSize = {Twice(w), Twice(h)};
  HDC dc = GetDC(wnd);
  memDC = CreateCompatibleDC(dc);
  MakeBuffer(dc, bufSize.w, bufSize.h, memDC, memBitmap, oldMemBitmap);
  extraDC = CreateCompatibleDC(dc);
  MakeBuffer(dc, wndSize.w, wndSize.h, extraDC, extraBitmap, oldExtraBitmap);
  for (HDC buffer : {memDC, extraDC}) {
    SetBkMode(buffer, TRANSPARENT);
    SetMapMode(buffer, MM_ISOTROPIC);
    SetIdentity(buffer);
  }
  ReleaseDC(wnd, dc);
  GetMinScale();
  wndDC = nullptr;
  return true;
}

void DRAW_DEVICE::Resize(int w, int h, HDC dc) {
  if (w == wndSize.w && h == wndSize.h) {
    return;
  }
  if (w > bufSize.w || h > bufSize.h) {
    updateNeeded = true;
    SelectObject(memDC, oldMemBitmap);
    DeleteObject(memBitmap);
    bufSize = {Twice(w), Twice(h)};
    MakeBuffer(dc, bufSize.w, bufSize.h, memDC, memBitmap, oldMemBitmap);
  }
  SelectObject(extraDC, oldExtraBitmap);
  DeleteObject(extraBitmap);
  MakeBuffer(dc, w, h, extraDC, extraBitmap, oldExtraBitmap);
  GetMinScale();
  wndSize = {w, h};
  ScrollH(scrollPos.x);
  ScrollV(scrollPos.y);
}

void DRAW_DEVICE::SetContext(HDC dc) {
  if (wndDC != nullptr) {
    ctxStack.push_back(wndDC);
  }
  wndDC = dc;
  GetViewportOrgEx(wndDC, &savedViewportOrg);
  savedBkMode = SetBkMode(dc, TRANSPARENT);
  savedMapMode = SetMapMode(dc, MM_ISOTROPIC);
  savedRop2 = GetROP2(dc);
  SetIdentity(dc);
  origPen = GetCurrentObject(dc, OBJ_PEN);
  origBrush = GetCurrentObject(dc, OBJ_BRUSH);
  origFont = GetCurrentObject(dc, OBJ_FONT);
  penColour = brushColour = 0xffffffff;
  penWidth = penStyle = -1;
  for (HDC buffer : {memDC, extraDC}) {
    for (HGDIOBJ object : {origPen, origBrush, origFont}) {
      SelectObject(buffer, object);
    }
  }
  if (draftMode) {
    for (HDC surface : {dc, memDC, extraDC}) {
      SetROP2(surface, R2_XORPEN);
    }
  }
  fonts[fontSet].lfHeight = -1;
}

HDC DRAW_DEVICE::ReleaseContext() {
  SetMapMode(wndDC, savedMapMode);
  SetViewportOrgEx(wndDC, savedViewportOrg.x, savedViewportOrg.y, nullptr);
  SetBkMode(wndDC, savedBkMode);
  for (HDC surface : {wndDC, memDC, extraDC}) {
    SetROP2(surface, savedRop2);
  }
  for (HDC buffer : {memDC, extraDC}) {
    for (int kind : {NULL_PEN, NULL_BRUSH, DEVICE_DEFAULT_FONT}) {
      SelectObject(buffer, GetStockObject(kind));
    }
  }
  for (HGDIOBJ object : {origPen, origBrush, origFont}) {
    DeleteObject(SelectObject(wndDC, object));
  }
  HDC released = wndDC;
  wndDC = nullptr;
  if (!ctxStack.empty()) {
    wndDC = ctxStack.back();
    ctxStack.pop_back();
  }
  return released;
}

void DRAW_DEVICE::CopyToWindow(RECT* r, HDC from, SHIFT corner) {
  if (directDraw || wndDC == nullptr) {
    return;
  }
  const RECT area = r != nullptr ? *r : RECT{0, 0, wndSize.w, wndSize.h};
  BitBlt(wndDC, area.left, area.top, Clamp(std::int64_t{area.right} - area.left),
         Clamp(std::int64_t{area.bottom} - area.top), from,
         Clamp(std::int64_t{corner.x} + area.left), Clamp(std::int64_t{corner.y} + area.top),
         SRCCOPY);
}

void DRAW_DEVICE::Render(RECT* r) {
  CopyToWindow(r, memDC, WindowCorner());
}

void DRAW_DEVICE::Render2ExtraBuff(RECT* r) {
  HDC const window = wndDC;
  const bool direct = directDraw;
  wndDC = extraDC;
  directDraw = false;
  Render(r);
  wndDC = window;
  directDraw = direct;
}

void DRAW_DEVICE::RenderExtraBuff(RECT* r) {
  CopyToWindow(r, extraDC, {0, 0});
}

bool DRAW_DEVICE::DirectDraw(bool on) {
  const bool former = directDraw;
  directDraw = on;
  return former;
}

void DRAW_DEVICE::SetDraftMode(bool on) {
  if (on == draftMode) {
    return;
  }
  for (HDC surface : {wndDC, memDC, extraDC}) {
    SetROP2(surface, on ? R2_XORPEN : R2_COPYPEN);
  }
  draftMode = on;
}

void DRAW_DEVICE::needupdate(bool v) {
  updateNeeded = v || directDraw;
}

void DRAW_DEVICE::Invalidate(bool redraw) {
  if (redraw) {
    updateNeeded = true;
  }
  InvalidateRect(wnd, nullptr, FALSE);
}

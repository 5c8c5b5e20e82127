// DRAW_DEVICE: model coordinates to pixels on a window, with zoom, two-stage scrolling and a
// history of views.
//
// Model coordinates are signed 32-bit numbers in a unit that the device does not interpret; y
// points up, so in an LTRB `top` is the greater y. Pixels point down. The scale is in pixels per
// model unit. A length, radius or pen width given to a primitive is a model length. Results that
// leave 32 bits take the nearest end of the range.
//
// The device draws on one of three surfaces: the main buffer, which is larger than the window, so
// that small scrolls only move the window inside it; the extra buffer, of the window's size; or
// straight on the window's context, which the host lends between SetContext and ReleaseContext:
//
//   device.SetContext(dc);
//   if (device.needupdate()) { device.cleardevice(...); ...primitives...; device.needupdate(false);
//   } device.Render(nullptr); device.ReleaseContext();
//
// Nothing here reports a failure: a shape that cannot be seen gives 0, anything else the platform's
// result. The device has no thread and no window procedure: the host forwards resizes (Resize),
// paints, and timer 8 of its window (SaveView).
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/platform/gdi.h"
#include "krdcmmn/platform/types.h"

class KRDCMMN_API DRAW_DEVICE {
 public:
  using DOT = KRD::DOT;
  using LTRB = KRD::LTRB;

  // The brush colour that stands for a hollow brush.
  static constexpr std::uint32_t kHollow = 0xfffffff;
  // The window's timer that SaveView answers, and its period.
  static constexpr std::uint32_t kViewTimer = 8;
  static constexpr std::uint32_t kViewTimerMs = 5000;

  DRAW_DEVICE();
  virtual ~DRAW_DEVICE();  // outside SetContext and ReleaseContext
  DRAW_DEVICE(const DRAW_DEVICE&) = delete;
  DRAW_DEVICE& operator=(const DRAW_DEVICE&) = delete;

  // --- Contexts and buffers
  // -------------------------------------------------------------------------

  // Creates the buffers for a client area of w by h pixels of `window`, which is borrowed. Always
  // true. A second Init replaces the first one's buffers.
  bool Init(int w, int h, HWND window);
  // A new client size; `dc` is a context of the window. The main buffer grows to twice the new size
  // when the window outgrows it on either side, and never shrinks.
  void Resize(int w, int h, HDC dc);
  // Lends a window context, which gets identity mapping and a transparent background. Pens, brushes
  // and fonts must be chosen anew. Contexts nest, but only the handle is stacked.
  void SetContext(HDC dc);
  // Gives the context back as it was, with the objects that the device made deleted, and returns
  // it; null when none is lent.
  HDC ReleaseContext();
  bool ContextSelected() const { return wndDC != nullptr; }

  // Copies of a rectangle in window pixels, or of the whole window for null: main buffer to window,
  // main buffer to extra buffer, extra buffer to window. The copies into the window do nothing in
  // direct mode.
  void Render(RECT* r);
  void Render2ExtraBuff(RECT* r);
  void RenderExtraBuff(RECT* r);

  // Which surface primitives land on: the window in direct mode, else the extra buffer when it is
  // enabled, else the main buffer.
  void EnableExtraBuffer(bool on) { extraBuffer = on; }
  bool ExtraBufferEnabled() { return extraBuffer; }
  bool DirectDraw(bool on);  // gives the former value
  bool InDirectDraw() { return directDraw; }
  // Draft mode: pens and brushes combine by XOR, so that a shape drawn twice is gone.
  void SetDraftMode(bool on);
  bool InDraftMode() { return draftMode; }

  // Whether the main buffer must be redrawn. Clearing it has no effect in direct mode.
  bool needupdate() const { return updateNeeded; }
  void needupdate(bool v);
  // Asks the window for a paint, and with `redraw` for a redraw too.
  void Invalidate(bool redraw);

  // --- View
  // -----------------------------------------------------------------------------------------

  double GetScale() const { return scale; }
  std::int32_t GetScrollPosH() const { return scrollPos.x; }
  std::int32_t GetScrollPosV() const { return scrollPos.y; }
  void GetScrollRangeH(int& lo, int& hi);
  void GetScrollRangeV(int& lo, int& hi);

  // Model to pixels of the drawing target, of the window; a length to pixels.
  int wX(std::int32_t x) const { return Clamp(MainX(x) - TargetOffset().x); }
  int wY(std::int32_t y) const { return Clamp(MainY(y) - TargetOffset().y); }
  int wR(std::int32_t r) const { return KRD::RoundHalfAway(r * scale); }
  int wndX(std::int32_t x) const;
  int wndY(std::int32_t y) const;
  // Window pixels, whatever the target is, to model; a length in pixels to model.
  std::int32_t rX(int p) const;
  std::int32_t rY(int p) const;
  std::int32_t rR(int p) const { return KRD::RoundHalfAway(p / scale); }

  // Centre the window on a model coordinate. Inside the main buffer this only moves the window;
  // beyond it the buffer takes a new place and needs an update.
  void ScrollH(std::int32_t x);
  void ScrollV(std::int32_t y);
  // Goes to scale `s` around the current saved view's centre. Refuses what lies outside the limits,
  // and 0, infinite and not a number.
  void Zoom(double s);
  // One step of 2 to the power 1/5, the model point under the cursor staying where it is. With the
  // cursor outside the window it goes around the saved view's centre, without a saved view around
  // the window's.
  void ZoomIn();
  void ZoomOut();
  // Fits a model rectangle into the window, the scale clamped to the limits. Does nothing for an
  // empty rectangle, or when the scale would be 0, infinite or not a number.
  void ZoomRect(const LTRB& r);
  bool ZoomInAllowed() const { return maxScale > scale; }
  bool ZoomOutAllowed() const { return true; }
  void SetMaxScale(double s);
  void SetWorkArea(int w, int h);

  // The history of views: NewView marks the view as changed and starts timer 8; SaveView, the
  // answer to that timer, enters it. At most 251 views are kept. PrevView without a saved view does
  // nothing.
  void NewView();
  void SaveView();
  void PrevView();
  void NextView();
  bool IsPrevViewAllowed() const { return curView > 0 || viewPending; }
  bool IsNextViewAllowed() const { return curView < static_cast<int>(views.count()) - 1; }

  // The model rectangle of the drawing target, of the window.
  void GetDrawingRect(LTRB& r);
  void GetClientRect(LTRB& r);

  // --- Primitives
  // ----------------------------------------------------------------------------------- 0 for a
  // shape that was rejected, else the last platform call's result.

  int pixel(int x, int y, std::uint32_t colour);
  int dot(DOT p);  // 4 pixels across at any scale
  int line(DOT a, DOT b);
  int rectangle(DOT a, DOT b);  // outline
  int fillrect(std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2);
  int fillrect(DOT a, DOT b);
  int circle(DOT c, std::int32_t r);  // outline
  int fillcirc(DOT c, std::int32_t r);
  // Anticlockwise from `from` to `to`, which count as rays from `c`. Equal ends draw nothing.
  int arc(DOT c, std::int32_t r, DOT from, DOT to);
  // A track of half-width r from c + half to c - half: a stroke with round ends when `thick` (the
  // pen is solid, of width 0, afterwards), else a rectangle drawn with pen and brush; with a zero
  // `half` and without `thick` the disc of radius r. Gives 1 unless rejected.
  int sousage(DOT c, std::int32_t r, DOT half, bool thick);
  int fillpoly3(DOT a, DOT b, DOT c);
  int fillpoly4(DOT a, DOT b, DOT c, DOT d);
  // n points, each moved by `offset`; not rejected as a whole. 0, with nothing drawn, for n 0.
  int fillpoly(unsigned int n, DOT offset, const DOT* pts);
  int fillpoly(unsigned int n, const DOT* pts);
  // The whole target in one colour, which stays the brush's.
  void cleardevice(std::uint32_t colour);
  // Points or lines at multiples of `step` from the grid's origin; nothing when a step is below 10
  // pixels.
  void DrawGrid(const DOT& step, std::uint32_t colour, bool lines);

  // Platform pen styles 0 to 5; `width` is a model length.
  void setPenStyle(int style, int width, std::uint32_t colour);
  void setColorBrush(std::uint32_t colour);
  bool SetFont(const LOGFONTA& font);  // always true
  void RestoreFont();
  std::uint32_t ColourLite(std::uint32_t c) const { return c; }
  std::uint32_t ColourDark(std::uint32_t c) const { return (c >> 1) & 0x7f7f7f7f; }

  // The drawing target.
  int w() { return TargetSize().w; }
  int h() { return TargetSize().h; }
  HDC& hdc();

 protected:
  struct PAIR {
    int w;
    int h;
  };
  struct SHIFT {
    int x;
    int y;
  };
  // One entry of the history.
  struct VIEW {
    std::int32_t scrollX, scrollY;  // scrollPos when the view was saved
    std::int32_t centreX, centreY;  // the model point at the window's centre
    double scale;
  };

  int r2mX(std::int32_t x) const { return Clamp(MainX(x)); }
  int r2mY(std::int32_t y) const { return Clamp(MainY(y)); }
  void GetMinScale() { minScale = 0.0; }

  DOT scrollPos{0, 0};  // the model point last given to ScrollH and ScrollV
  PAIR bufSize{0, 0};   // main buffer, pixels
  PAIR wndSize{0, 0};   // window and extra buffer, pixels
  PAIR workArea{0x7ffffffe, 0x7ffffffe};
  SHIFT panOffset{0, 0};  // the window's centre from the main buffer's centre, pixels
  SHIFT bufOrigin{0, 0};  // the pixel value that the main buffer's centre stands for
  std::vector<HDC> ctxStack;
  HDC wndDC = nullptr;
  HDC memDC = nullptr;
  HDC extraDC = nullptr;
  HBITMAP memBitmap = nullptr;
  HBITMAP extraBitmap = nullptr;
  double scale = 1.0;
  double minScale = 0.1;
  double maxScale = 1.0;
  bool draftMode = false;
  bool directDraw = false;
  bool extraBuffer = false;
  LOGFONTA fonts[2];  // the default, and the one last given to SetFont
  std::uint8_t fontSet = 0;
  KRD::TARRAY<VIEW> views;
  int curView = -1;
  HBITMAP oldMemBitmap = nullptr;
  HBITMAP oldExtraBitmap = nullptr;
  HPEN origPen = nullptr;  // what the window context held when it was lent
  HBRUSH origBrush = nullptr;
  HFONT origFont = nullptr;
  std::uint32_t brushColour = 0xffffffff;
  std::uint32_t penColour = 0xffffffff;
  int penStyle = 0;
  int penWidth = 0;  // pixels; the margin of the rejection tests
  int savedMapMode = 0;
  int savedBkMode = 0;
  POINT savedViewportOrg{0, 0};
  int savedRop2 = R2_COPYPEN;
  bool updateNeeded = true;
  bool viewPending = false;
  HWND wnd = nullptr;
  DOT gridOrigin{0, 0};

 private:
  static int Clamp(std::int64_t v) {
    return static_cast<int>(std::clamp<std::int64_t>(v, std::numeric_limits<std::int32_t>::min(),
                                                     std::numeric_limits<std::int32_t>::max()));
  }
  std::int64_t MainX(std::int32_t x) const {
    return std::int64_t{bufSize.w / 2} - bufOrigin.x + KRD::RoundHalfAway(x * scale);
  }
  std::int64_t MainY(std::int32_t y) const {
    return std::int64_t{bufSize.h / 2} - bufOrigin.y - KRD::RoundHalfAway(y * scale);
  }
  // The window's corner in the main buffer.
  SHIFT WindowCorner() const {
    return {Clamp((std::int64_t{bufSize.w} - wndSize.w) / 2 + panOffset.x),
            Clamp((std::int64_t{bufSize.h} - wndSize.h) / 2 + panOffset.y)};
  }
  SHIFT TargetOffset() const { return directDraw || extraBuffer ? WindowCorner() : SHIFT{0, 0}; }
  PAIR TargetSize() const { return directDraw || extraBuffer ? wndSize : bufSize; }
  POINT Map(DOT p) const { return {wX(p.x), wY(p.y)}; }

  // Whether the box of the points lies outside the target, `margin` pixels wider on every side.
  // With `closed` a box that only touches the far side's margin counts as seen.
  bool Hidden(const POINT* points, int count, std::int64_t margin, bool closed) const;
  // The same for points that reach out by `reach` pixels, tested without a closed far side.
  bool HiddenRound(const POINT* points, int count, std::int64_t reach) const;
  int PolygonOf(const DOT* points, int count);
  int EllipseOf(POINT centre, int radius);
  int Stroke(POINT a, POINT b);
  void SelectFont(const LOGFONTA& description);
  HGDIOBJ SelectEverywhere(HGDIOBJ object);
  void DropReplaced(HGDIOBJ replaced, HGDIOBJ original);

  void MakeBuffer(HDC dc, int w, int h, HDC target, HBITMAP& bitmap, HBITMAP& old);
  void DropBuffers();
  void CopyToWindow(RECT* r, HDC from, SHIFT corner);

  void ShowView(int i);
  void ZoomInOut(double f);
  DOT WindowCentre() const;
  void ArmViewTimer();
  // A pixel count from the model's origin to model units.
  std::int32_t ToModel(std::int64_t pixels) const {
    return KRD::RoundHalfAway(static_cast<double>(pixels) / scale);
  }
};

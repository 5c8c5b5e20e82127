#include "apps/krview/panel.h"

#include "apps/common/default_font.h"
#include "apps/common/slots.h"

namespace kr_view {
namespace {

// Pixels of the font's height, descenders included.
constexpr int kTextHeight = 14;
constexpr double kTextRatio = 0.85;  // of a letter's own width

}  // namespace

Panel::Panel(kr::font& font) : font_(font) {
  device_.Init(1, 1, nullptr);
  device_.DirectDraw(true);
  writer_.InitFont(&font_);
  writer_.SetHeight(kTextHeight);
  writer_.SetSWidth(writer_.heightScale * kTextRatio);
  writer_.SetAlign(kr::ALIGN_BOTTOM_LEFT);
  writer_.SetWidth(1);
}

void Panel::begin(HDC dc, int w, int h) {
  device_.cover(w, h);
  origin_ = {device_.wX(0), device_.wY(0)};
  device_.SetContext(dc);
}

void Panel::end() {
  device_.ReleaseContext();
}

void Panel::fill(RECT area, std::uint32_t colour) {
  device_.setPenStyle(PS_NULL, 0, colour);
  device_.setColorBrush(colour);
  device_.fillrect(at(area.left, area.top), at(area.right, area.bottom));
}

void Panel::frame(RECT area, std::uint32_t colour) {
  device_.setPenStyle(PS_SOLID, 0, colour);
  device_.rectangle(at(area.left, area.top), at(area.right - 1, area.bottom - 1));
}

int Panel::widthOf(const std::string& slots) {
  KRD::DOT corners[4];
  writer_.GetStringSize(slots.c_str(), corners);
  return corners[0].x - corners[3].x;
}

int Panel::width(const std::string& utf8) {
  return widthOf(kr_app::SlotsOf(utf8, font_, kr_app::kDiameterSlot).bytes);
}

int Panel::text(int x, int baseline, const std::string& utf8, std::uint32_t colour, int room) {
  std::string slots = kr_app::SlotsOf(utf8, font_, kr_app::kDiameterSlot).bytes;
  if (widthOf(slots) > room) {
    constexpr const char* kCut = "...";
    std::size_t fits = 0;
    for (std::size_t step = slots.size(); step > 0; step = step == 1 ? 0 : (step + 1) / 2) {
      while (fits + step <= slots.size() && widthOf(slots.substr(0, fits + step) + kCut) <= room) {
        fits += step;
      }
    }
    if (fits == 0) {
      return 0;
    }
    slots = slots.substr(0, fits) + kCut;
  }
  writer_.SetColor(colour);
  writer_.Draw(at(x, baseline), slots.c_str(), device_, false);
  return widthOf(slots);
}

}  // namespace kr_view

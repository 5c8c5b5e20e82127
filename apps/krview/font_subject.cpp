#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/host/codepage.h"

#include "apps/common/default_font.h"
#include "apps/common/slots.h"
#include "apps/krview/subject.h"
#include "apps/sheet/bounds.h"
#include "apps/sheet/painter.h"

namespace kr_view {
namespace {

using KRD::DOT;
using KRD::LTRB;

constexpr int kUnit = 1000;  // model units of a font unit
constexpr int kColumns = 16;
constexpr std::uint32_t kFaint = RGB(150, 170, 200);
constexpr std::uint32_t kLabel = RGB(110, 130, 160);
constexpr const char* kSamples[] = {
    "The quick brown fox jumps over the lazy dog",
    "Съешь ещё этих мягких французских булок, да выпей чаю",
    "0123456789 .,:;!? +-=*/% ()[]{} \"'\\&@#$",
};

class FontSubject final : public Subject {
 public:
  FontSubject(std::unique_ptr<kr::font> font, const std::string& text, kr::font& labels);

  LTRB box() const override { return box_; }
  void draw(DRAW_DEVICE& device, std::uint32_t background) override;
  std::optional<Element> find(DOT p, double reach) override;
  void mark(DRAW_DEVICE& device, Element element, std::int32_t width,
            std::uint32_t colour) override;
  std::string describe(Element element) override;
  const char* unit() const override { return "font units"; }

 private:
  struct Line {
    std::string slots;
    DOT at;  // of the first baseline's start
    double scale;
  };
  // A slot in use: its glyph stands in a frame with its number.
  struct Cell {
    unsigned char slot;
    LTRB frame;
    DOT origin;
  };

  kr::drawfont writer(kr::font& font, double scale, std::uint32_t colour) const;
  void write(DRAW_DEVICE& device, const Line& line, std::uint32_t colour);
  // Puts a block of text below what is there.
  void addText(const std::string& utf8, double scale);
  void addTable();
  std::vector<unsigned char> slotsInUse() const;

  std::unique_ptr<kr::font> font_;
  kr::font& labels_;
  std::vector<Line> lines_;
  std::vector<Cell> cells_;
  std::int64_t y_ = 0;  // the lower end of what is there
  LTRB box_{};
};

FontSubject::FontSubject(std::unique_ptr<kr::font> font, const std::string& text, kr::font& labels)
    : font_(std::move(font)), labels_(labels) {
  if (!text.empty()) {
    addText(text, kUnit);
  } else {
    for (const char* sample : kSamples) {
      if (kr_app::CountOf(kr_app::SlotsOf(sample, *font_, 0).missing) == 0) {
        addText(sample, kUnit);
      }
    }
    addTable();
  }
  kr_sheet::Bounds box;
  for (const Line& line : lines_) {
    DOT corners[4];
    writer(*font_, line.scale, 0).GetStringSize(line.slots.c_str(), corners);
    for (DOT corner : corners) {
      box.add({kr_sheet::Clamped(std::int64_t{corner.x} + line.at.x),
               kr_sheet::Clamped(std::int64_t{corner.y} + line.at.y)});
    }
  }
  for (const Cell& cell : cells_) {
    box.add({cell.frame.left, cell.frame.bottom});
    box.add({cell.frame.right, cell.frame.top});
  }
  if (box.any()) {
    box_ = box.get();
  }
}

kr::drawfont FontSubject::writer(kr::font& font, double scale, std::uint32_t colour) const {
  kr::drawfont writer;
  writer.InitFont(&font);
  writer.SetHeight(KRD::RoundHalfAway(font.height * scale));
  writer.SetSWidth(writer.heightScale);
  writer.SetAlign(kr::ALIGN_BOTTOM_LEFT);
  writer.SetColor(colour);
  writer.SetWidth(1);
  return writer;
}

void FontSubject::addText(const std::string& utf8, double scale) {
  Line line{kr_app::SlotsOf(utf8, *font_, 0).bytes, {0, 0}, scale};
  DOT corners[4];
  writer(*font_, scale, 0).GetStringSize(line.slots.c_str(), corners);
  const auto [low, high] = std::minmax_element(std::begin(corners), std::end(corners),
                                               [](DOT a, DOT b) { return a.y < b.y; });
  line.at.y = kr_sheet::Clamped(y_ - high->y);
  y_ = line.at.y + std::min<std::int64_t>(low->y, 0);
  y_ -= static_cast<std::int64_t>(font_->height * scale / 2);
  lines_.push_back(std::move(line));
}

std::vector<unsigned char> FontSubject::slotsInUse() const {
  std::vector<unsigned char> used;
  for (int slot = 0; slot < kr::font::kSlots; ++slot) {
    const kr::font::PRIM_RANGE prims = font_->Prims(slot);
    if (prims.first < prims.last) {
      used.push_back(static_cast<unsigned char>(slot));
    }
  }
  return used;
}

void FontSubject::addTable() {
  const std::vector<unsigned char> used = slotsInUse();
  std::int64_t width = static_cast<std::int64_t>(font_->height / 2);
  for (unsigned char slot : used) {
    width = std::max<std::int64_t>(width, font_->boxMax[slot].x - font_->boxMin[slot].x);
  }
  const std::int64_t room = std::max<std::int64_t>(static_cast<std::int64_t>(font_->height / 3), 1);
  const std::int64_t cell_width = (width + 2 * room) * kUnit;
  const auto height =
      static_cast<std::int64_t>((font_->height + 3.0 * static_cast<double>(room)) * kUnit);
  for (std::size_t i = 0; i < used.size(); ++i) {
    const auto column = static_cast<std::int64_t>(i % kColumns);
    const auto row = static_cast<std::int64_t>(i / kColumns);
    const std::int64_t left = column * cell_width;
    const std::int64_t top = y_ - row * height;
    Cell cell{used[i],
              {kr_sheet::Clamped(left), kr_sheet::Clamped(top),
               kr_sheet::Clamped(left + cell_width), kr_sheet::Clamped(top - height)},
              {}};
    const std::int64_t glyph =
        (std::int64_t{font_->boxMin[used[i]].x} + font_->boxMax[used[i]].x) * kUnit / 2;
    cell.origin = {kr_sheet::Clamped(left + cell_width / 2 - glyph),
                   kr_sheet::Clamped(top - height + (font_->descent + room) * kUnit)};
    cells_.push_back(cell);
  }
}

void FontSubject::write(DRAW_DEVICE& device, const Line& line, std::uint32_t colour) {
  writer(*font_, line.scale, colour).Draw(line.at, line.slots.c_str(), device, false);
}

void FontSubject::draw(DRAW_DEVICE& device, std::uint32_t background) {
  const std::uint32_t ink = kr_sheet::ContrastTo(background);
  for (const Cell& cell : cells_) {
    device.setPenStyle(PS_SOLID, 0, kFaint);
    device.rectangle({cell.frame.left, cell.frame.top}, {cell.frame.right, cell.frame.bottom});
    device.line({cell.frame.left, cell.origin.y}, {cell.frame.right, cell.origin.y});
    const std::int64_t height = std::int64_t{cell.frame.top} - cell.frame.bottom;
    kr::drawfont number = writer(labels_, static_cast<double>(height) / 5 / labels_.height, kLabel);
    number.SetAlign(kr::ALIGN_BOTTOM_LEFT);
    const auto inset = static_cast<std::int32_t>(height / 20);
    number.Draw({cell.frame.left + inset, kr_sheet::Clamped(cell.frame.top - height / 5)},
                std::to_string(cell.slot).c_str(), device, false);
    const char glyph[] = {static_cast<char>(cell.slot), '\0'};
    write(device, {glyph, cell.origin, kUnit}, ink);
  }
  for (const Line& line : lines_) {
    write(device, line, ink);
  }
}

std::optional<Subject::Element> FontSubject::find(DOT p, double) {
  for (std::uint32_t i = 0; i < cells_.size(); ++i) {
    const LTRB& frame = cells_[i].frame;
    if (p.x >= frame.left && p.x < frame.right && p.y > frame.bottom && p.y <= frame.top) {
      return Element{0, i};
    }
  }
  return std::nullopt;
}

void FontSubject::mark(DRAW_DEVICE& device, Element element, std::int32_t width,
                       std::uint32_t colour) {
  const Cell& cell = cells_[element.index];
  device.setPenStyle(PS_SOLID, width, colour);
  device.rectangle({cell.frame.left, cell.frame.top}, {cell.frame.right, cell.frame.bottom});
  const char glyph[] = {static_cast<char>(cell.slot), '\0'};
  kr::drawfont glyph_writer = writer(*font_, kUnit, colour);
  glyph_writer.SetWidth(width);
  glyph_writer.Draw(cell.origin, glyph, device, false);
}

std::string FontSubject::describe(Element element) {
  const unsigned char slot = cells_[element.index].slot;
  const char byte = static_cast<char>(slot);
  const kr::font::PRIM_RANGE prims = font_->Prims(slot);
  char text[96];
  std::snprintf(text, sizeof text, "slot %d '%s', advance %d, %d primitives", slot,
                slot >= 32 ? AnsiToUtf8(&byte, 1).c_str() : "", font_->advance[slot].x,
                prims.last - prims.first);
  return text;
}

}  // namespace

std::unique_ptr<Subject> MakeFontSubject(std::unique_ptr<kr::font> font, const std::string& name,
                                         const std::string& text, kr::font& labels) {
  auto subject = std::make_unique<FontSubject>(std::move(font), text, labels);
  subject->name = name;
  return subject;
}

}  // namespace kr_view

#include "apps/kr/font/sheet.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "krdcmmn/font/drawfont.h"

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/common/slots.h"
#include "apps/kr/font/listing.h"
#include "apps/kr/text/canvas.h"
#include "apps/kr/text/svg.h"

namespace kr_app {

using KRD::DOT;

namespace {

// Model units, hundredths of a millimetre.
constexpr int kColumns = 16;
constexpr int kCellWidth = 1500;
constexpr int kCellHeight = 2000;
constexpr int kShapeHeight = 1000;  // above plus below, unless the widest shape needs less
constexpr int kShapeWidth = 1150;
constexpr int kShapeLeft = 200;
constexpr int kLabelHeight = 320;
constexpr int kHeading = 1200;
constexpr int kHairline = 4;
constexpr double kFarthest = 1e6;  // of a metric line, so that damaged metrics do no harm
constexpr unsigned kInk = 0x000000;
constexpr unsigned kMetrics = 0x6090d0;  // red, green, blue
constexpr unsigned kCells = 0xc8c8c8;

// Where a sheet is drawn: lines of a hairline, and texts.
class Target {
 public:
  virtual ~Target() = default;
  virtual void Line(DOT from, DOT to, unsigned colour) = 0;
  virtual void Text(kr::drawfont& text, DOT position, const std::string& bytes) = 0;
};

class PictureTarget : public Target {
 public:
  explicit PictureTarget(DRAW_DEVICE& device) : device_(device) {}
  void Line(DOT from, DOT to, unsigned colour) override {
    device_.setPenStyle(PS_SOLID, 0,
                        (colour & 0xff) << 16 | (colour & 0xff00) | (colour >> 16 & 0xff));
    device_.line(from, to);
  }
  void Text(kr::drawfont& text, DOT position, const std::string& bytes) override {
    text.Draw(position, bytes.c_str(), device_, false);
  }

 private:
  DRAW_DEVICE& device_;
};

// One group for each pen.
class SvgTarget : public Target {
 public:
  void Line(DOT from, DOT to, unsigned colour) override {
    GroupOf(colour, kHairline).line(0, from, to);
  }
  void Text(kr::drawfont& text, DOT position, const std::string& bytes) override {
    SvgSink& sink = GroupOf(kInk, text.width);
    sink.Expect(ArcRadii(text, bytes.c_str()));
    text.Write(position, bytes.c_str(), sink);
  }
  std::string Groups() const {
    std::string all;
    for (const Group& group : groups_) {
      char colour[16];
      std::snprintf(colour, sizeof colour, "#%06x", group.colour);
      all += group.sink.Group(colour, group.pen);
    }
    return all;
  }

 private:
  struct Group {
    unsigned colour;
    int pen;
    SvgSink sink;
  };
  SvgSink& GroupOf(unsigned colour, int pen) {
    for (Group& group : groups_) {
      if (group.colour == colour && group.pen == pen) {
        return group.sink;
      }
    }
    groups_.push_back({colour, pen, {}});
    return groups_.back().sink;
  }

  std::vector<Group> groups_;
};

class Sheet {
 public:
  Sheet(const kr::font& font, std::string title) : shown_(font), title_(std::move(title)) {
    if (!(font.height > 0.0)) {
      throw Failure("the font has no height: it holds no shapes, or its header is damaged");
    }
    int widest = 1;
    for (int slot = 0; slot < kr::font::kSlots; ++slot) {
      if (InUse(font, slot)) {
        slots_.push_back(slot);
        const auto c = static_cast<unsigned>(slot);
        widest = std::max({widest, font.advance[c].x, font.boxMax[c].x});
      }
    }
    const double scale = std::min(kShapeHeight / font.height, double{kShapeWidth} / widest);
    Prepare(shape_, shown_, KRD::RoundHalfAway(scale * font.height));
    LoadDefaultFont(labels_);
    Prepare(label_, labels_, kLabelHeight);
  }

  Box Paper() const {
    const auto rows = static_cast<std::int64_t>((slots_.size() + kColumns - 1) / kColumns);
    return {-kCellWidth / 4, -rows * kCellHeight - kCellWidth / 4,
            kColumns * kCellWidth + kCellWidth / 4, kHeading + kCellWidth / 4};
  }

  void DrawOn(Target& target) {
    const kr::font original = shown_;
    Heading(target, original);
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      const DOT corner = {static_cast<int>(i % kColumns) * kCellWidth,
                          -static_cast<int>(i / kColumns) * kCellHeight};
      Cell(target, original, slots_[i], corner);
    }
  }

 private:
  static void Prepare(kr::drawfont& text, kr::font& font, int height) {
    text.InitFont(&font);
    text.SetHeight(height);
    text.SetSWidth(0.0);
    text.SetWidth(std::max(KRD::RoundHalfAway(text.heightScale), 1));
    text.SetAlign(kr::ALIGN_BOTTOM_LEFT);
    text.SetColor(kInk);
  }

  // `at` is where the text's origin goes.
  static void Put(Target& target, kr::drawfont& text, DOT at, const std::string& bytes) {
    const int half = KRD::RoundHalfAway(0.5 * text.heightScale);
    target.Text(text, {at.x - half, at.y - half}, bytes);
  }

  void Heading(Target& target, const kr::font& font) {
    char metrics[160];
    std::snprintf(metrics, sizeof metrics, "above %g, below %d, line pitch %d; %zu slots",
                  font.height - font.descent, font.descent, -font.boxMin[10].y, slots_.size());
    Put(target, label_, {0, kHeading / 2}, SlotsOf(title_, labels_, kDiameterSlot).bytes);
    Put(target, label_, {0, kHeading / 8}, metrics);
  }

  void Cell(Target& target, const kr::font& font, int slot, DOT corner) {
    const DOT far = {corner.x + kCellWidth, corner.y - kCellHeight};
    target.Line(corner, {far.x, corner.y}, kCells);
    target.Line({far.x, corner.y}, far, kCells);
    target.Line(far, {corner.x, far.y}, kCells);
    target.Line({corner.x, far.y}, corner, kCells);
    char number[32];
    std::snprintf(number, sizeof number, "%d  %02X", slot, static_cast<unsigned>(slot));
    Put(target, label_, {corner.x + kShapeLeft / 2, corner.y - kLabelHeight}, number);

    const double scale = shape_.heightScale;
    const auto scaled = [&](double v) {
      return KRD::RoundHalfAway(std::clamp(v * scale, -kFarthest, kFarthest));
    };
    const DOT origin = {corner.x + kShapeLeft,
                        far.y + kShapeLeft + scaled(std::max(font.descent, 0))};
    const int above = origin.y + scaled(font.height - font.descent);
    const int below = origin.y - scaled(font.descent);
    for (const int y : {origin.y, above, below}) {
      target.Line({corner.x + kShapeLeft / 2, y}, {far.x - kShapeLeft / 2, y}, kMetrics);
    }
    const auto c = static_cast<unsigned>(slot);
    for (const int x : {origin.x, origin.x + scaled(font.advance[c].x)}) {
      target.Line({x, below}, {x, above}, kMetrics);
    }
    // Some slots cannot stand in a string, so each takes the place of one that can.
    shown_.primFirst[unsigned{'A'}] = font.primFirst[c];
    shown_.primCount[unsigned{'A'}] = font.primCount[c];
    Put(target, shape_, origin, "A");
  }

  kr::font shown_;
  kr::font labels_;
  std::string title_;
  kr::drawfont shape_;
  kr::drawfont label_;
  std::vector<int> slots_;
};

}  // namespace

std::string SheetSvg(const kr::font& font, const std::string& title) {
  Sheet sheet(font, title);
  SvgTarget target;
  sheet.DrawOn(target);
  return SvgPage(sheet.Paper(), title, target.Groups());
}

std::string SheetPng(const kr::font& font, const std::string& title, double dpi) {
  Sheet sheet(font, title);
  Canvas canvas(sheet.Paper(), dpi);
  PictureTarget target(canvas.device());
  sheet.DrawOn(target);
  return canvas.Png();
}

}  // namespace kr_app

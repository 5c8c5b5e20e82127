// Entities that are texts.
#include <cmath>
#include <numbers>

#include "apps/sheet/dxf_collector.h"
#include "apps/sheet/dxf_text.h"

namespace kr_sheet {
namespace {

constexpr double kRadians = std::numbers::pi / 180;

}  // namespace

void Collector::words(FDOT at, double height, double factor, double angle, int align, bool mirrored,
                      std::string text) {
  if (text.find_first_not_of(" \n") == std::string::npos) {
    unread("without a text");
    return;
  }
  Item item = begin(Shape::kText);
  item.index = static_cast<std::int32_t>(source_.texts.size());
  item.detail = align | (mirrored ? kTextMirrored : 0);
  source_.texts.push_back(std::move(text));
  for (double v : {at.x, at.y, height, factor == 0 ? 1 : factor, angle}) {
    number(v);
  }
  add(item);
}

void Collector::alignedText(const DL_TextData& d) {
  constexpr int kBackwards = 2;
  constexpr int kUpsideDown = 4;
  enum { kLeft, kCentre, kRight, kAligned, kMiddle, kFit };
  const int across = chunk_->integer(72, 0);
  const int up = chunk_->integer(kind_ == "ATTRIB" ? 74 : 73, 0);
  FDOT at = {d.ipx, d.ipy};
  double angle = chunk_->number(50, 0) * kRadians;
  int column = 0;
  int row = up == 3 ? 0 : up == 2 ? 1 : 2;
  if (across == kAligned || across == kFit) {
    // Between two points: along them, from the first one on.
    const FDOT along = FDOT{d.apx, d.apy} - at;
    angle = Length(along) > 0 ? std::atan2(along.y, along.x) : angle;
    row = 2;
  } else if (across != kLeft || up != 0) {
    at = {d.apx, d.apy};
    column = across == kCentre || across == kMiddle ? 1 : across == kRight ? 2 : 0;
    row = across == kMiddle ? 1 : row;
  }
  const bool upside_down = (d.textGenerationFlags & kUpsideDown) != 0;
  const bool backwards = (d.textGenerationFlags & kBackwards) != 0;
  // Upside down is mirrored and turned by half.
  words(at, d.height, d.xScaleFactor, upside_down ? angle + std::numbers::pi : angle,
        row * 3 + column, backwards != upside_down, PlainText(text(chunk_->text(1))));
}

void Collector::addText(const DL_TextData& d) {
  alignedText(d);
}

void Collector::addAttribute(const DL_AttributeData& d) {
  constexpr int kInvisible = 1;
  if ((chunk_->integer(70, 0) & kInvisible) != 0) {
    unread("invisible");
    return;
  }
  alignedText(d);
}

void Collector::addMText(const DL_MTextData& d) {
  std::string all;
  for (const Group& group : chunk_->groups) {
    if (group.code == 3 || group.code == 1) {
      all += group.value;
    }
  }
  const bool turned = chunk_->has(11) || chunk_->has(21);
  const double angle = turned ? std::atan2(d.diry, d.dirx) : chunk_->number(50, 0) * kRadians;
  const int align = d.attachmentPoint >= 1 && d.attachmentPoint <= 9 ? d.attachmentPoint - 1 : 0;
  words({d.ipx, d.ipy}, d.height, 1, angle, align, false, PlainMText(text(all)));
}

}  // namespace kr_sheet

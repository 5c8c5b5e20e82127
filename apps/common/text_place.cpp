#include "apps/common/text_place.h"

#include <cmath>
#include <numbers>

namespace kr_app {

namespace {

// The ratio of width to height that the layout anchors by.
constexpr double kAnchorRatio = 0.75;

}  // namespace

KRD::DOT WidthCorrection(const kr::drawfont& text, const char* s) {
  const int place = text.align >= 0 && text.align <= kr::ALIGN_BOTTOM_RIGHT ? text.align : 6;
  const double share = 0.5 * (place % 3);  // of the width that lies ahead of the anchor
  kr::drawfont centred = text;
  centred.SetAlign(kr::ALIGN_TOP_CENTRE);
  centred.SetAngle(0);
  centred.SetMirror(false);
  const double width = centred.GetStrAlign(s).x / (-0.5 * kAnchorRatio);  // in font units
  double shift = -share * width * (text.widthScale - kAnchorRatio * text.heightScale);
  if (text.mirror) {
    shift = -shift;
  }
  const double turn = static_cast<int>(text.angle * 0.1) * std::numbers::pi / 180.0;
  return {KRD::RoundHalfAway(shift * std::cos(turn)), KRD::RoundHalfAway(shift * std::sin(turn))};
}

}  // namespace kr_app

#include "apps/kr/text/text_job.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "krdcmmn/draw/draw_device.h"

#include "apps/common/errors.h"
#include "apps/common/text_place.h"

namespace kr_app {

using KRD::DOT;
using KRD::FDOT;

namespace {

int Units(double mm) {
  return KRD::RoundHalfAway(mm * kUnitsPerMm);
}

// The box of the strokes, arcs and circles as far as they reach.
class Extent : public StrokeSink {
 public:
  Box box{std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::max(),
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::min()};

  void Take(double x, double y) {
    box.left = std::min(box.left, static_cast<std::int64_t>(std::floor(x)));
    box.bottom = std::min(box.bottom, static_cast<std::int64_t>(std::floor(y)));
    box.right = std::max(box.right, static_cast<std::int64_t>(std::ceil(x)));
    box.top = std::max(box.top, static_cast<std::int64_t>(std::ceil(y)));
  }

 protected:
  void Line(DOT from, DOT to) override {
    Take(from.x, from.y);
    Take(to.x, to.y);
  }
  void Arc(const ArcStroke& arc) override {
    constexpr double kQuarter = 0.5 * std::numbers::pi;
    for (double part : {0.0, 1.0}) {
      const FDOT end = arc.At(part);
      Take(end.x, end.y);
    }
    // The points at quarter turns that lie on it.
    for (double k = std::ceil(arc.start / kQuarter); k * kQuarter < arc.start + arc.sweep; ++k) {
      const FDOT p = arc.At((k * kQuarter - arc.start) / arc.sweep);
      Take(p.x, p.y);
    }
  }
  void Circle(DOT centre, int radius) override {
    Take(centre.x - static_cast<double>(radius), centre.y - static_cast<double>(radius));
    Take(centre.x + static_cast<double>(radius), centre.y + static_cast<double>(radius));
  }
};

}  // namespace

TextJob::TextJob(std::unique_ptr<kr::font> font, const TextSettings& settings, std::string bytes)
    : font_(std::move(font)), settings_(settings), bytes_(std::move(bytes)) {
  if (!(font_->height > 0.0)) {
    throw Failure("the font has no height: it holds no shapes, or its header is damaged");
  }
  text_.InitFont(font_.get());
  text_.SetHeight(Units(settings.height_mm));
  text_.SetSWidth(text_.heightScale * settings.width_factor);
  text_.SetAngle((settings.angle % 360 + 360) % 360 * 10);
  text_.SetAlign(settings.align);
  text_.SetMirror(settings.mirror);
  text_.SetColor(0);
  text_.SetRectColor(0);
  // Draw derives a width of 0 in this way and takes it for circles too; Write would not.
  const int pen = Units(settings.pen_mm);
  text_.SetWidth(pen != 0 ? pen : std::max(KRD::RoundHalfAway(text_.heightScale), 1));
  position_ = WidthCorrection(text_, bytes_.c_str());
}

int TextJob::Write(StrokeSink& sink) const {
  sink.Expect(ArcRadii(text_, bytes_.c_str()));
  int strokes = text_.Write(position_, bytes_.c_str(), sink);
  if (settings_.frame) {
    const Frame frame = TextFrame();
    for (int i = 0; i < 4; ++i) {
      strokes += sink.line(0, frame.corner[i], frame.corner[(i + 1) % 4]);
    }
  }
  return strokes;
}

void TextJob::Draw(DRAW_DEVICE& device) const {
  text_.Draw(position_, bytes_.c_str(), device, settings_.frame);
}

TextJob::Frame TextJob::TextFrame() const {
  Frame frame;
  text_.GetStringSize(bytes_.c_str(), frame.corner);
  text_.AddOffsetToRect(frame.corner, position_);
  return frame;
}

Box TextJob::Paper() const {
  Extent extent;
  if (Write(extent) == 0) {
    extent.Take(0.0, 0.0);
  }
  const std::int64_t around = Units(settings_.margin_mm) + (text_.width + 1) / 2;
  Box box = extent.box;
  box = {box.left - around, box.bottom - around, box.right + around, box.top + around};
  constexpr std::int64_t kFarthest = std::numeric_limits<std::int32_t>::max();
  if (std::max({-box.left, -box.bottom, box.right, box.top}) >= kFarthest) {
    throw Failure("the text is larger than 21 km: lower --height or break it into lines");
  }
  return box;
}

}  // namespace kr_app

#include "apps/kr/text/canvas.h"

#include <cmath>

#include "apps/common/errors.h"
#include "apps/common/png_file.h"
#include "apps/kr/text/forms.h"

namespace kr_app {

namespace {

constexpr double kMmPerInch = 25.4;
constexpr double kLargestSide = 16384.0;
constexpr double kMostPixels = 32.0 * 1024 * 1024;

double PixelsPerUnit(double dpi) {
  return dpi / kMmPerInch / kUnitsPerMm;
}

struct Size {
  int width;
  int height;
};

Size PictureSize(const Box& paper, double dpi) {
  const double scale = PixelsPerUnit(dpi);
  const double width = std::ceil(static_cast<double>(paper.width()) * scale) + 1.0;
  const double height = std::ceil(static_cast<double>(paper.height()) * scale) + 1.0;
  if (width > kLargestSide || height > kLargestSide || width * height > kMostPixels) {
    throw Failure("the picture would have " + Number(width, 0) + " x " + Number(height, 0) +
                  " pixels: lower --dpi or --height");
  }
  return {static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace

Canvas::Canvas(const Box& paper, double dpi)
    : dpi_(dpi), window_(PictureSize(paper, dpi).width, PictureSize(paper, dpi).height) {
  device_.Init(window_.width(), window_.height(), window_.handle());
  context_ = window_.GetContext();
  device_.SetContext(context_);
  device_.DirectDraw(true);
  device_.SetWorkArea(window_.width(), window_.height());
  device_.SetMaxScale(1e6);
  device_.cleardevice(0xffffff);
  device_.Zoom(PixelsPerUnit(dpi));
  device_.ScrollH(static_cast<std::int32_t>((paper.left + paper.right) / 2));
  device_.ScrollV(static_cast<std::int32_t>((paper.bottom + paper.top) / 2));
}

Canvas::~Canvas() {
  device_.ReleaseContext();
  window_.ReleaseContext(context_);
}

std::string Canvas::Png() const {
  return PngOf(window_.pixels(), static_cast<unsigned>(std::lround(dpi_ / kMmPerInch * 1000.0)));
}

}  // namespace kr_app

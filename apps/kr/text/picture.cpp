// A picture of the paper, drawn by the device: black on white, PNG.
#include <cmath>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/platform/window.h"

#include "apps/common/errors.h"
#include "apps/common/png_file.h"
#include "apps/kr/text/forms.h"

namespace kr_app {

namespace {

constexpr double kMmPerInch = 25.4;
constexpr double kLargestSide = 16384.0;
constexpr double kMostPixels = 32.0 * 1024 * 1024;

// A device that draws straight on a window in memory, which it shows whole.
class Canvas {
 public:
  Canvas(int width, int height) : window_(width, height) {
    device_.Init(width, height, window_.handle());
    context_ = window_.GetContext();
    device_.SetContext(context_);
    device_.DirectDraw(true);
    device_.SetWorkArea(width, height);
    device_.SetMaxScale(1e6);
    device_.cleardevice(0xffffff);
  }
  ~Canvas() {
    device_.ReleaseContext();
    window_.ReleaseContext(context_);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  DRAW_DEVICE& device() { return device_; }
  PIXELS pixels() const { return window_.pixels(); }

 private:
  MEMORY_WINDOW window_;
  DRAW_DEVICE device_;
  HDC context_ = nullptr;
};

}  // namespace

std::string PngForm(const TextJob& job, const FormOptions& options) {
  const Box paper = job.Paper();
  const double scale = options.dpi / kMmPerInch / kUnitsPerMm;
  const double width = std::ceil(static_cast<double>(paper.width()) * scale) + 1.0;
  const double height = std::ceil(static_cast<double>(paper.height()) * scale) + 1.0;
  if (width > kLargestSide || height > kLargestSide || width * height > kMostPixels) {
    throw Failure("the picture would have " + Number(width, 0) + " x " + Number(height, 0) +
                  " pixels: lower --dpi or --height");
  }
  Canvas canvas(static_cast<int>(width), static_cast<int>(height));
  DRAW_DEVICE& device = canvas.device();
  device.Zoom(scale);
  device.ScrollH(static_cast<std::int32_t>((paper.left + paper.right) / 2));
  device.ScrollV(static_cast<std::int32_t>((paper.bottom + paper.top) / 2));
  job.Draw(device);
  return PngOf(canvas.pixels(),
               static_cast<unsigned>(std::lround(options.dpi / kMmPerInch * 1000.0)));
}

}  // namespace kr_app

// A picture of the paper, drawn by the device: black on white, PNG.
#include "apps/kr/text/canvas.h"
#include "apps/kr/text/forms.h"

namespace kr_app {

std::string PngForm(const TextJob& job, const FormOptions& options) {
  Canvas canvas(job.Paper(), options.dpi);
  job.Draw(canvas.device());
  return canvas.Png();
}

}  // namespace kr_app

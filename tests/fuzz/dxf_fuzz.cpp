// Any bytes as a DXF: a failure, or a drawing that is sound and can be drawn.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "krdcmmn/platform/window.h"

#include "apps/common/errors.h"
#include "apps/sheet/dxf_import.h"
#include "apps/sheet/painter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kr_sheet::ImportOptions options;
  options.tolerance = 1000;
  kr_sheet::Counts counts;
  try {
    const auto drawing =
        kr_sheet::ImportDxf({reinterpret_cast<const char*>(data), size}, "fuzz", options, counts);
    if (!drawing->damage().empty()) {
      std::abort();
    }
    KRD::LTRB box;
    drawing->extents(box);
    MEMORY_WINDOW window(32, 32);
    DRAW_DEVICE device;
    device.Init(32, 32, window.handle());
    HDC dc = window.GetContext();
    kr_sheet::ShowBox(device, box);
    device.SetContext(dc);
    kr_sheet::Painter(*drawing).draw(device, 0xffffff);
    device.ReleaseContext();
    window.ReleaseContext(dc);
  } catch (const kr_app::Failure&) {
  }
  return 0;
}

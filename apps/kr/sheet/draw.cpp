#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>

#include "krdcmmn/font/font.h"
#include "krdcmmn/platform/window.h"

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/common/png_file.h"
#include "apps/common/slots.h"
#include "apps/common/whole_file.h"
#include "apps/kr/progress.h"
#include "apps/kr/sheet/operations.h"
#include "apps/sheet/painter.h"
#include "apps/sheet/store.h"

namespace kr_app {
namespace {

constexpr int kMostSide = 32767;

using kr_sheet::Drawing;
using kr_sheet::SheetStore;

// What texts are drawn in.
struct Font {
  explicit Font(const std::string& path) {
    if (path.empty()) {
      LoadDefaultFont(glyphs);
      diameter = kDiameterSlot;
    } else {
      Naming(path, [&] { glyphs.LoadFile(path.c_str()); });
    }
  }

  kr::font glyphs;
  unsigned char diameter = 0;
};

// A device on a window in memory.
class Canvas {
 public:
  Canvas(int width, int height) : window_(width, height) {
    if (window_.width() != width || window_.height() != height) {
      throw Failure("no memory for a picture of " + std::to_string(width) + "x" +
                    std::to_string(height) + " pixels");
    }
    // The picture is drawn once, so straight on the window.
    device_.Init(1, 1, window_.handle());
    context_ = window_.GetContext();
    device_.Resize(width, height, context_);
    device_.DirectDraw(true);
  }
  ~Canvas() { window_.ReleaseContext(context_); }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  void draw(const Drawing& drawing, const KRD::LTRB& box, std::uint32_t background, Font& font) {
    kr_sheet::ShowBox(device_, box);
    device_.SetContext(context_);
    device_.cleardevice(background);
    kr_sheet::Painter painter(drawing, &font.glyphs, font.diameter);
    painter.draw(device_, background);
    device_.ReleaseContext();
    if (painter.missingCharacters() != 0) {
      std::fprintf(stderr, "kr: \"%s\": %d characters are not in the font\n", drawing.name.c_str(),
                   painter.missingCharacters());
    }
  }
  // A line of text at the foot of the picture.
  void caption(const std::string& text, std::uint32_t background, Font& font) {
    constexpr std::int32_t kHeight = 9;
    device_.ZoomRect({0, window_.height(), window_.width(), 0});
    device_.SetContext(context_);
    kr::drawfont writer;
    writer.InitFont(&font.glyphs);
    writer.SetHeight(kHeight);
    writer.SetAlign(kr::ALIGN_BOTTOM_LEFT);
    writer.SetColor(kr_sheet::ContrastTo(background));
    writer.Draw({3, 4}, SlotsOf(text, font.glyphs, font.diameter).bytes.c_str(), device_, false);
    device_.ReleaseContext();
  }
  HDC context() const { return context_; }
  PIXELS pixels() const { return window_.pixels(); }

 private:
  MEMORY_WINDOW window_;
  DRAW_DEVICE device_;
  HDC context_ = nullptr;
};

std::unique_ptr<Drawing> Choose(SheetStore& store, const std::string& path,
                                const std::string& name) {
  if (!name.empty()) {
    auto drawing = store.load(name);
    if (drawing == nullptr) {
      throw Failure(path + ": no drawing \"" + name + "\"; kr sheet ls lists them");
    }
    return drawing;
  }
  const auto entries = store.list();
  if (entries.size() != 1) {
    throw Failure(path + ": " + std::to_string(entries.size()) +
                  " drawings; name one of them (kr sheet ls lists them)");
  }
  return store.load(entries.front());
}

KRD::LTRB BoxOf(const Drawing& drawing, const std::vector<double>& millimetres) {
  KRD::LTRB box{};
  if (millimetres.empty()) {
    drawing.extents(box);
    return box;
  }
  const auto micrometres = [&](std::size_t i) { return KRD::RoundHalfAway(millimetres[i] * 1000); };
  box = {micrometres(0), micrometres(1), micrometres(2), micrometres(3)};
  return {std::min(box.left, box.right), std::max(box.top, box.bottom),
          std::max(box.left, box.right), std::min(box.top, box.bottom)};
}

}  // namespace

bool ParseColour(const std::string& text, std::uint32_t& colour) {
  if (text == "white" || text == "black") {
    colour = text == "white" ? 0xffffff : 0;
    return true;
  }
  constexpr std::size_t kLength = 7;
  std::uint32_t rgb = 0;
  const char* end = text.data() + text.size();
  if (text.size() != kLength || text.front() != '#') {
    return false;
  }
  const auto result = std::from_chars(text.data() + 1, end, rgb, 16);
  colour = RGB(rgb >> 16, rgb >> 8, rgb);
  return result.ec == std::errc() && result.ptr == end;
}

void SheetDraw(const std::string& path, const DrawOptions& options) {
  SheetStore store(path, SheetStore::Access::kRead);
  const auto drawing = Choose(store, path, options.name);
  Font font(options.font);
  Canvas canvas(options.width, options.height);
  canvas.draw(*drawing, BoxOf(*drawing, options.box), options.background, font);
  WriteWholeFile(options.output, PngOf(canvas.pixels()));
}

void SheetContact(const std::string& path, const std::vector<std::string>& names,
                  const DrawOptions& options, int columns) {
  SheetStore store(path, SheetStore::Access::kRead);
  auto entries = store.list();
  std::erase_if(entries, [&](const SheetStore::Entry& entry) {
    return !names.empty() && std::none_of(names.begin(), names.end(), [&](const std::string& part) {
      return entry.name.find(part) != std::string::npos;
    });
  });
  if (entries.empty()) {
    throw Failure(path + ": no such drawings");
  }
  Font font(options.font);
  const int count = static_cast<int>(entries.size());
  const int rows = (count + columns - 1) / columns;
  const int width = std::max(options.width / columns, 1);
  const int height = std::max(options.height / columns, 1);
  if (std::int64_t{height} * rows > kMostSide) {
    throw Failure(path + ": " + std::to_string(count) +
                  " drawings do not fit into a picture; take more columns or a smaller size");
  }
  MEMORY_WINDOW sheet(width * columns, height * rows);
  HDC target = sheet.GetContext();
  const HBRUSH paper = CreateSolidBrush(options.background);
  const HGDIOBJ former = SelectObject(target, paper);
  PatBlt(target, 0, 0, sheet.width(), sheet.height(), PATCOPY);
  SelectObject(target, former);
  DeleteObject(paper);
  Progress progress("drawings", entries.size());
  for (int i = 0; i < count; ++i) {
    const SheetStore::Entry& entry = entries[static_cast<std::size_t>(i)];
    const auto drawing = store.load(entry);
    Canvas canvas(width, height);
    canvas.draw(*drawing, BoxOf(*drawing, {}), options.background, font);
    canvas.caption(drawing->name, options.background, font);
    BitBlt(target, i % columns * width, i / columns * height, width, height, canvas.context(), 0, 0,
           SRCCOPY);
    progress.step(entry.name);
  }
  WriteWholeFile(options.output, PngOf(sheet.pixels()));
  sheet.ReleaseContext(target);
}

}  // namespace kr_app

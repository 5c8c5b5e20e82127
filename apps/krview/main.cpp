// krview: drawings and fonts in a window. Exit status: 0 done, 1 the work failed, 2 usage.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <fstream>

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/common/png_file.h"
#include "apps/common/whole_file.h"
#include "apps/krview/script.h"
#include "apps/krview/sdl_screen.h"
#include "apps/krview/viewer.h"

namespace {

using kr_app::Failure;
using namespace kr_view;

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kLargestSide = 16384;
constexpr std::uint32_t kLight = 0xffffff;
constexpr std::uint32_t kDark = RGB(24, 28, 34);

struct Options {
  std::string source;
  std::string drawing;
  std::string font;
  std::string script;
  std::string screenshot;
  std::string size = "1200x800";
  int width = 0;
  int height = 0;
  bool dark = false;
  bool headless = false;
};

// A script without a screen: time passes only where the script says so.
class NoScreen final : public Stage {
 public:
  void wait(int ms) override { now += ms; }
  void resize(int, int) override {}
  void show() override {}

  std::int64_t now = 0;
};

class OnScreen final : public Stage {
 public:
  OnScreen(SdlScreen& screen, FrameWindow& window, Viewer& viewer)
      : screen_(screen), window_(window), viewer_(viewer) {}

  // Until the viewer is finished, or the clock says `end` (-1: no end).
  void run(std::int64_t end) {
    std::vector<Event> events;
    while (!viewer_.finished() && (end < 0 || window_.now() < end)) {
      if (viewer_.update()) {
        show();
      }
      std::int64_t sleep = end < 0 ? -1 : end - window_.now();
      if (const auto due = window_.untilDue()) {
        sleep = sleep < 0 ? *due : std::min(sleep, *due);
      }
      events.clear();
      screen_.wait(static_cast<int>(std::min<std::int64_t>(sleep, 1 << 30)), events);
      for (const Event& event : events) {
        viewer_.handle(event);
      }
    }
  }

  void wait(int ms) override { run(window_.now() + ms); }
  void resize(int w, int h) override { screen_.resize(w, h); }
  void show() override {
    screen_.setTitle(viewer_.title());
    screen_.setPointer(viewer_.pointer());
    screen_.show(window_.pixels());
  }

 private:
  SdlScreen& screen_;
  FrameWindow& window_;
  Viewer& viewer_;
};

std::int64_t Milliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// "1200x800".
bool ReadSize(Options& options) {
  char end = 0;
  return std::sscanf(options.size.c_str(), "%dx%d%c", &options.width, &options.height, &end) == 2 &&
         options.width >= 1 && options.width <= kLargestSide && options.height >= 1 &&
         options.height <= kLargestSide;
}

std::vector<Step> ScriptOf(const Options& options) {
  if (options.script.empty()) {
    return {};
  }
  std::ifstream in(options.script);
  if (!in) {
    throw Failure(options.script + ": cannot be opened");
  }
  return ReadScript(in, options.script);
}

std::unique_ptr<Library> LibraryOf(const Options& options, kr::font& texts) {
  return options.font.empty() ? OpenDrawings(options.source, texts)
                              : OpenFont(options.font, options.source, texts);
}

// The entry to begin with, or the list of them.
void Begin(const Options& options, const Library& library, Viewer& viewer) {
  const std::vector<std::string>& names = library.names();
  if (!options.drawing.empty()) {
    const auto found = std::find(names.begin(), names.end(), options.drawing);
    if (found == names.end()) {
      throw Failure(library.path() + ": no drawing \"" + options.drawing +
                    "\"; without a name krview lists them");
    }
    viewer.open(static_cast<std::size_t>(found - names.begin()));
  } else if (names.size() == 1) {
    viewer.open(0);
  } else {
    viewer.choose();
  }
}

void RequireSize(const FrameWindow& window, const Viewer& viewer, const Options& options) {
  if (window.width() != options.width || window.height() != options.height ||
      !viewer.device().bufferMade()) {
    throw Failure("no memory for a picture of " + options.size + " pixels");
  }
}

void Run(const Options& options) {
  const std::vector<Step> steps = ScriptOf(options);
  kr::font texts;
  kr_app::LoadDefaultFont(texts);
  const auto library = LibraryOf(options, texts);
  NoScreen none;
  const bool headless = options.headless || !options.screenshot.empty();
  FrameWindow window(
      options.width, options.height,
      headless ? FrameWindow::Clock([&] { return none.now; }) : FrameWindow::Clock(Milliseconds));
  Viewer viewer(window, *library, texts, options.dark ? kDark : kLight);
  RequireSize(window, viewer, options);
  Begin(options, *library, viewer);
  if (headless) {
    viewer.update();
    Play(steps, viewer, window, none);
    if (!options.screenshot.empty()) {
      kr_app::WriteWholeFile(options.screenshot, kr_app::PngOf(window.pixels()));
    }
    return;
  }
  SdlScreen screen(options.width, options.height, viewer.title());
  OnScreen stage(screen, window, viewer);
  Event size{.kind = EventKind::kResize};
  screen.size(size.x, size.y);
  viewer.handle(size);
  stage.run(0);
  Play(steps, viewer, window, stage);
  stage.run(-1);
}

int Main(int argc, char** argv) {
  Options options;
  CLI::App krview("Shows drawings and fonts in a window; ? lists its keys", "krview");
  krview.set_version_flag("--version", "krview " KR_VERSION);
  krview.add_option("SOURCE", options.source,
                    "container of drawings (.krd) or drawing (.dxf); with --font the text to show");
  krview.add_option("DRAWING", options.drawing, "a drawing of the container");
  krview.add_option("--font", options.font, "show a font (.shx, .shp) instead of a drawing");
  krview.add_option("--size", options.size, "size of the window or picture in pixels")
      ->capture_default_str();
  krview.add_flag("--dark", options.dark, "dark background");
  krview.add_option("--screenshot", options.screenshot,
                    "write one picture (PNG; - is standard output), without a screen, and end");
  krview.add_option("--script", options.script, "play events from a file");
  krview.add_flag("--headless", options.headless, "play the script without a screen and end");
  krview.footer(
      "Examples:\n"
      "  krview plans.krd                     choose one of the drawings\n"
      "  krview plans.krd \"ground floor\"\n"
      "  krview house.dxf --dark\n"
      "  krview --font romans.shx             samples and a table of the glyphs\n"
      "  krview --font romans.shx \"Scale 1:50\"\n"
      "  krview house.dxf --screenshot house.png --size 800x600");
  try {
    krview.parse(argc, argv);
    if (options.source.empty() && options.font.empty()) {
      throw CLI::RequiredError("a drawing, a container or --font");
    }
    if (!options.font.empty() && !options.drawing.empty()) {
      throw CLI::ValidationError("--font", "takes one text; put it in quotes");
    }
    if (!ReadSize(options)) {
      throw CLI::ValidationError("--size", options.size + ": WIDTHxHEIGHT, each from 1 to " +
                                               std::to_string(kLargestSide));
    }
  } catch (const CLI::ParseError& e) {
    return krview.exit(e) == 0 ? 0 : kUsage;
  }
  Run(options);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (...) {
    std::fprintf(stderr, "krview: %s\n", kr_app::TextOfException().c_str());
    return kFailed;
  }
}

// What a text costs: laid out into a sink that does nothing, and drawn on a window in memory beside
// cairo stroking the same lines and arcs without antialiasing. A sheet of 100,000 characters at
// full view, zoomed so that most of it cannot be seen, and with nothing to be seen. And what of a
// drawn sheet is layout, mapping and pixels.
#include <benchmark/benchmark.h>
#include <cairo.h>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/font.h"
#include "krdcmmn/font/fontstream.h"
#include "krdcmmn/platform/window.h"

namespace {

constexpr int kWidth = 1600;
constexpr int kHeight = 1200;
constexpr int kRow = 50;     // characters in a text of the sheet
constexpr int kRows = 2000;  // texts, in columns of 100
constexpr int kTextHeight = 500;
constexpr int kRowPitch = 700;
constexpr int kColumnWidth = 20000;

kr::font& Font() {
  static kr::font font = [] {
    kr::font loaded;
    loaded.LoadFromRes(nullptr, 1);
    return loaded;
  }();
  return font;
}

kr::drawfont Attributes(int angle = 0) {
  kr::drawfont text;
  text.InitFont(&Font());
  text.SetHeight(kTextHeight);
  text.SetSWidth(0.0);
  text.SetAlign(kr::ALIGN_BOTTOM_LEFT);
  text.SetAngle(angle * 10);
  text.SetColor(0);
  return text;
}

struct PLACED {
  KRD::DOT at;
  std::string bytes;
};

// 20 columns of 100 texts: letters of both alphabets and digits, as many blanks as words have.
const std::vector<PLACED>& SheetOfTexts() {
  static const std::vector<PLACED> sheet = [] {
    std::mt19937 random(3);
    std::vector<PLACED> texts;
    for (int i = 0; i < kRows; ++i) {
      PLACED text{{i / 100 * kColumnWidth, -(i % 100) * kRowPitch}, ""};
      for (int k = 0; k < kRow; ++k) {
        const auto n = random() % 7;
        text.bytes += static_cast<char>(n == 0   ? ' '
                                        : n < 4  ? 'a' + random() % 26
                                        : n == 4 ? '0' + random() % 10
                                                 : 0xe0 + random() % 32);
      }
      texts.push_back(text);
    }
    return texts;
  }();
  return sheet;
}

struct COUNTER : kr::fontstream {
  int line(int, KRD::DOT, KRD::DOT) override { return 1; }
  int arc(int, KRD::DOT, KRD::DOT, KRD::DOT) override { return 1; }
  int circle(int, KRD::DOT, int) override { return 1; }
};

std::int64_t Strokes() {
  COUNTER counter;
  kr::drawfont text = Attributes();
  std::int64_t strokes = 0;
  for (const PLACED& t : SheetOfTexts()) {
    strokes += text.Write(t.at, t.bytes.c_str(), counter);
  }
  return strokes;
}

// The device on its main buffer, twice the window on both sides, as a host uses it.
struct CANVAS {
  CANVAS(double scale, KRD::DOT centre) : window(kWidth, kHeight) {
    device.Init(kWidth, kHeight, window.handle());
    dc = window.GetContext();
    device.SetContext(dc);
    device.SetWorkArea(kWidth, kHeight);
    device.SetMaxScale(1e6);
    device.Zoom(scale);
    device.ScrollH(centre.x);
    device.ScrollV(centre.y);
  }
  ~CANVAS() {
    device.ReleaseContext();
    window.ReleaseContext(dc);
  }
  CANVAS(const CANVAS&) = delete;
  CANVAS& operator=(const CANVAS&) = delete;

  MEMORY_WINDOW window;
  DRAW_DEVICE device;
  HDC dc = nullptr;
};

constexpr KRD::DOT kMiddle = {10 * kColumnWidth, -50 * kRowPitch};
constexpr KRD::DOT kFarAway = {-400 * kColumnWidth, 0};
constexpr double kFullView = 0.004;  // 400,000 units on the main buffer

void Layout(benchmark::State& state) {
  kr::drawfont text = Attributes(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    for (const PLACED& t : SheetOfTexts()) {
      benchmark::DoNotOptimize(text.GetStrAlign(t.bytes.c_str()));
    }
  }
  state.SetItemsProcessed(state.iterations() * kRow * kRows);
}
BENCHMARK(Layout)->Arg(0)->Unit(benchmark::kMillisecond);

void WriteToNothing(benchmark::State& state) {
  kr::drawfont text = Attributes(static_cast<int>(state.range(0)));
  COUNTER counter;
  for (auto _ : state) {
    for (const PLACED& t : SheetOfTexts()) {
      benchmark::DoNotOptimize(text.Write(t.at, t.bytes.c_str(), counter));
    }
  }
  state.SetItemsProcessed(state.iterations() * Strokes());
}
BENCHMARK(WriteToNothing)->Arg(0)->Arg(30)->Unit(benchmark::kMillisecond);

// Layout and mapping to pixels, without pixels: the strokes of Write mapped as the device maps
// them.
void WriteAndMap(benchmark::State& state) {
  CANVAS canvas(kFullView, kMiddle);
  struct MAPPER : COUNTER {
    explicit MAPPER(DRAW_DEVICE& d) : device(d) {}
    void Map(KRD::DOT p) { sum += device.wX(p.x) + device.wY(p.y); }
    int line(int, KRD::DOT a, KRD::DOT b) override {
      Map(a);
      Map(b);
      return 1;
    }
    int arc(int, KRD::DOT c, KRD::DOT a, KRD::DOT b) override {
      Map(c);
      Map(a);
      Map(b);
      return 1;
    }
    DRAW_DEVICE& device;
    std::int64_t sum = 0;
  } mapper(canvas.device);
  kr::drawfont text = Attributes();
  for (auto _ : state) {
    for (const PLACED& t : SheetOfTexts()) {
      text.Write(t.at, t.bytes.c_str(), mapper);
    }
    benchmark::DoNotOptimize(mapper.sum);
  }
  state.SetItemsProcessed(state.iterations() * Strokes());
}
BENCHMARK(WriteAndMap)->Unit(benchmark::kMillisecond);

void DrawSheet(benchmark::State& state, double scale, KRD::DOT centre, int angle) {
  CANVAS canvas(scale, centre);
  canvas.device.cleardevice(0xffffff);
  kr::drawfont text = Attributes(angle);
  for (auto _ : state) {
    for (const PLACED& t : SheetOfTexts()) {
      text.Draw(t.at, t.bytes.c_str(), canvas.device, false);
    }
  }
  state.SetItemsProcessed(state.iterations() * Strokes());
}
BENCHMARK_CAPTURE(DrawSheet, full_view, kFullView, kMiddle, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawSheet, readable, 0.02, kMiddle, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawSheet, zoomed, 0.08, kMiddle, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawSheet, zoomed_far, 0.5, kMiddle, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawSheet, zoomed_far_turned, 0.5, kMiddle, 30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawSheet, out_of_sight, 0.02, kFarAway, 0)->Unit(benchmark::kMillisecond);

// The same strokes on a surface of the main buffer's size, a path for each stroke, as above.
void DrawByCairo(benchmark::State& state, double scale) {
  cairo_surface_t* surface =
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, 2 * kWidth, 2 * kHeight);
  cairo_t* cr = cairo_create(surface);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  struct PEN : COUNTER {
    int line(int, KRD::DOT a, KRD::DOT b) override {
      cairo_move_to(context, X(a), Y(a));
      cairo_line_to(context, X(b), Y(b));
      cairo_stroke(context);
      return 1;
    }
    int arc(int, KRD::DOT c, KRD::DOT a, KRD::DOT b) override {
      cairo_new_path(context);
      cairo_arc(context, X(c), Y(c), scale * std::hypot(a.x - c.x, a.y - c.y),
                std::atan2(c.y - a.y, a.x - c.x), std::atan2(c.y - b.y, b.x - c.x));
      cairo_stroke(context);
      return 1;
    }
    double X(KRD::DOT p) const { return kWidth + (p.x - kMiddle.x) * scale; }
    double Y(KRD::DOT p) const { return kHeight - (p.y - kMiddle.y) * scale; }
    cairo_t* context;
    double scale;
  } pen;
  pen.context = cr;
  pen.scale = scale;
  kr::drawfont text = Attributes();
  cairo_set_line_width(cr, std::max(1.0, std::round(text.heightScale * scale)));
  for (auto _ : state) {
    for (const PLACED& t : SheetOfTexts()) {
      text.Write(t.at, t.bytes.c_str(), pen);
    }
  }
  state.SetItemsProcessed(state.iterations() * Strokes());
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}
BENCHMARK_CAPTURE(DrawByCairo, full_view, kFullView)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawByCairo, readable, 0.02)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DrawByCairo, zoomed_far, 0.5)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

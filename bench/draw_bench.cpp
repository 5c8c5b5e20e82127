// How fast does DRAW_DEVICE draw: each primitive with mapping and rejection, beside cairo's image
// surface without antialiasing; and a drawing of a million lines at full view, at high zoom and
// panned.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cairo.h>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/platform/window.h"

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
constexpr int kShapes = 10000;
constexpr int kNoPen = -1;

struct SHAPE {
  KRD::DOT a, b, c, d;
};

// Squares with sides of `reach` pixels, turned every way, anywhere on the window; the model's
// origin is in its middle. A line is the first side.
std::vector<SHAPE> Shapes(int reach) {
  std::mt19937 random(1);
  const auto any = [&](int size) {
    return static_cast<int>(random() % static_cast<unsigned>(size)) - size / 2;
  };
  std::vector<SHAPE> shapes(kShapes);
  for (SHAPE& s : shapes) {
    s.a = {any(kWidth), any(kHeight)};
    const double turn = any(6284) / 1000.0;
    const int dx = static_cast<int>(std::lround(reach * std::cos(turn)));
    const int dy = static_cast<int>(std::lround(reach * std::sin(turn)));
    s.b = {s.a.x + dx, s.a.y + dy};
    s.c = {s.b.x - dy, s.b.y + dx};
    s.d = {s.a.x - dy, s.a.y + dx};
  }
  return shapes;
}

// The device drawing straight on a window in memory.
struct CANVAS {
  CANVAS() : window(kWidth, kHeight) {
    device.Init(kWidth, kHeight, window.handle());
    dc = window.GetContext();
    device.SetContext(dc);
    device.SetMaxScale(1e6);
    device.setPenStyle(0, 0, 0x00ff00);
    device.setColorBrush(0x808080);
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

template <class Draw>
void OnDevice(benchmark::State& state, int reach, int pen, Draw draw) {
  CANVAS canvas;
  canvas.device.DirectDraw(true);
  canvas.device.setPenStyle(pen == kNoPen ? PS_NULL : PS_SOLID, std::max(pen, 0), 0x00ff00);
  const auto shapes = Shapes(reach);
  for (auto _ : state) {
    for (const SHAPE& s : shapes) {
      draw(canvas.device, s);
    }
  }
  state.SetItemsProcessed(state.iterations() * kShapes);
}

template <class Draw>
void OnCairo(benchmark::State& state, int reach, double pen, Draw draw) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight);
  cairo_t* cr = cairo_create(surface);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_width(cr, pen);
  cairo_translate(cr, kWidth / 2, kHeight / 2);
  const auto shapes = Shapes(reach);
  for (auto _ : state) {
    for (const SHAPE& s : shapes) {
      draw(cr, s);
    }
  }
  state.SetItemsProcessed(state.iterations() * kShapes);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

void DeviceLine(DRAW_DEVICE& d, const SHAPE& s) {
  d.line(s.a, s.b);
}
void CairoLine(cairo_t* cr, const SHAPE& s) {
  cairo_move_to(cr, s.a.x, s.a.y);
  cairo_line_to(cr, s.b.x, s.b.y);
  cairo_stroke(cr);
}
void DeviceCircle(DRAW_DEVICE& d, const SHAPE& s) {
  d.circle(s.a, 20);
}
void CairoCircle(cairo_t* cr, const SHAPE& s) {
  cairo_new_path(cr);
  cairo_arc(cr, s.a.x, s.a.y, 20, 0, 6.283185307179586);
  cairo_stroke(cr);
}
void DeviceQuad(DRAW_DEVICE& d, const SHAPE& s) {
  d.fillpoly4(s.a, s.b, s.c, s.d);
}
void CairoQuad(cairo_t* cr, const SHAPE& s) {
  cairo_move_to(cr, s.a.x, s.a.y);
  for (const KRD::DOT& p : {s.b, s.c, s.d}) {
    cairo_line_to(cr, p.x, p.y);
  }
  cairo_close_path(cr);
  cairo_fill(cr);
}

BENCHMARK_CAPTURE(OnDevice, line_30px, 30, 0, DeviceLine);
BENCHMARK_CAPTURE(OnCairo, line_30px, 30, 1.0, CairoLine);
BENCHMARK_CAPTURE(OnDevice, line_30px_wide_5, 30, 5, DeviceLine);
BENCHMARK_CAPTURE(OnCairo, line_30px_wide_5, 30, 5.0, CairoLine);
BENCHMARK_CAPTURE(OnDevice, circle_r20, 30, 0, DeviceCircle);
BENCHMARK_CAPTURE(OnCairo, circle_r20, 30, 1.0, CairoCircle);
BENCHMARK_CAPTURE(OnDevice, filled_quad_20px, 20, 0, DeviceQuad);
BENCHMARK_CAPTURE(OnDevice, filled_quad_20px_no_pen, 20, kNoPen, DeviceQuad);
BENCHMARK_CAPTURE(OnCairo, filled_quad_20px, 20, 1.0, CairoQuad);

// A million lines on a plane of 100,000 units, redrawn on the main buffer.
const std::vector<SHAPE>& Drawing() {
  static const std::vector<SHAPE> lines = [] {
    std::mt19937 random(2);
    std::vector<SHAPE> all(1000000);
    for (SHAPE& s : all) {
      s.a = {static_cast<int>(random() % 100000) - 50000,
             static_cast<int>(random() % 75000) - 37500};
      s.b = {s.a.x + static_cast<int>(random() % 600) - 300,
             s.a.y + static_cast<int>(random() % 600) - 300};
    }
    return all;
  }();
  return lines;
}

void Frame(benchmark::State& state, double scale) {
  CANVAS canvas;
  canvas.device.Zoom(scale);
  std::int64_t seen = 0;
  for (auto _ : state) {
    canvas.device.cleardevice(0);
    canvas.device.setPenStyle(0, 0, 0xffffff);
    seen = 0;
    for (const SHAPE& s : Drawing()) {
      seen += canvas.device.line(s.a, s.b);
    }
    canvas.device.Render(nullptr);
  }
  state.SetItemsProcessed(state.iterations() * 1000000);
  state.SetLabel(std::to_string(seen) + " drawn");
}
BENCHMARK_CAPTURE(Frame, full_view, 0.01)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Frame, high_zoom, 1.0)->Unit(benchmark::kMillisecond);

// A pan inside the buffer: new offsets and one copy.
void Pan(benchmark::State& state) {
  CANVAS canvas;
  int x = 0;
  for (auto _ : state) {
    x = (x + 7) % 400;
    canvas.device.ScrollH(x - 200);
    canvas.device.Render(nullptr);
  }
  state.SetBytesProcessed(state.iterations() * kWidth * kHeight * 4);
}
BENCHMARK(Pan);

// Mapping and rejection alone: everything lies outside.
void RejectedLines(benchmark::State& state) {
  CANVAS canvas;
  canvas.device.ScrollH(10000000);
  for (auto _ : state) {
    for (const SHAPE& s : Drawing()) {
      benchmark::DoNotOptimize(canvas.device.line(s.a, s.b));
    }
  }
  state.SetItemsProcessed(state.iterations() * 1000000);
}
BENCHMARK(RejectedLines)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

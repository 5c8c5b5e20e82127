// How many shapes a second the raster layer draws through its calls, beside cairo's image surface
// without antialiasing and AGG's aliased renderers, on the same shapes and 1000 by 1000 pixels of
// 32 bits. And what a copy of pixels costs beside memcpy.
#include <agg_conv_stroke.h>
#include <agg_ellipse_bresenham.h>
#include <agg_path_storage.h>
#include <agg_pixfmt_rgba.h>
#include <agg_rasterizer_scanline_aa.h>
#include <agg_renderer_base.h>
#include <agg_renderer_primitives.h>
#include <agg_renderer_scanline.h>
#include <agg_rendering_buffer.h>
#include <agg_scanline_bin.h>
#include <array>
#include <benchmark/benchmark.h>
#include <cairo.h>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "krdcmmn/platform/gdi.h"

namespace {

constexpr int kSide = 1000;
constexpr std::size_t kShapes = 4096;
constexpr int kRadius = 20;

struct Segment {
  POINT a, b;
};
using Quad = std::array<POINT, 4>;

LONG Rounded(double v) {
  return static_cast<LONG>(std::lround(v));
}

// Everything lies inside the canvas: nothing is won by clipping.
struct Shapes {
  std::vector<Segment> lines;  // 30 pixels long, in all directions
  std::vector<Quad> quads;     // squares of 20 pixels, turned
  std::vector<POINT> centres;

  Shapes() {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> place(50, kSide - 50), turn(0, 6.283185307179586);
    for (std::size_t i = 0; i < kShapes; ++i) {
      const double x = place(random), y = place(random), t = turn(random);
      const double c = std::cos(t), s = std::sin(t);
      const POINT middle{Rounded(x), Rounded(y)};
      centres.push_back(middle);
      lines.push_back({middle, {middle.x + Rounded(30 * c), middle.y + Rounded(30 * s)}});
      Quad quad{};
      for (std::size_t k = 0; k < 4; ++k) {
        const double u = k == 0 || k == 3 ? -10 : 10, v = k < 2 ? -10 : 10;
        quad[k] = {Rounded(x + u * c - v * s), Rounded(y + u * s + v * c)};
      }
      quads.push_back(quad);
    }
  }
};

const Shapes& TheShapes() {
  static const Shapes shapes;
  return shapes;
}

// Draws all shapes again and again; items are shapes.
template <class Draw>
void Run(benchmark::State& state, Draw draw) {
  for (auto _ : state) {
    for (std::size_t i = 0; i < kShapes; ++i) {
      draw(i);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kShapes));
}

// ---- ours

class Ours {
 public:
  Ours(int style, int width, bool filled, int operation = R2_COPYPEN)
      : dc(CreateCompatibleDC(nullptr)),
        bitmap_(CreateCompatibleBitmap(dc, kSide, kSide)),
        pen_(CreatePen(style, width, RGB(255, 128, 0))),
        brush_(CreateSolidBrush(RGB(0, 128, 255))) {
    SelectObject(dc, bitmap_);
    SelectObject(dc, pen_);
    SelectObject(dc, filled ? brush_ : GetStockObject(NULL_BRUSH));
    SetBkMode(dc, TRANSPARENT);
    SetROP2(dc, operation);
  }
  ~Ours() {
    DeleteDC(dc);
    DeleteObject(bitmap_);
    DeleteObject(pen_);
    DeleteObject(brush_);
  }
  Ours(const Ours&) = delete;
  Ours& operator=(const Ours&) = delete;

  void line(const Segment& s) const {
    MoveToEx(dc, s.a.x, s.a.y, nullptr);
    LineTo(dc, s.b.x, s.b.y);
  }

  const HDC dc;

 private:
  HBITMAP bitmap_;
  HPEN pen_;
  HBRUSH brush_;
};

void Nothing_ours(benchmark::State& state) {
  const Ours ours(PS_NULL, 1, false);
  Run(state, [&](std::size_t i) { ours.line(TheShapes().lines[i]); });
}

template <int kWidth, int kOperation, int kStyle = PS_SOLID>
void Lines_ours(benchmark::State& state) {
  const Ours ours(kStyle, kWidth, false, kOperation);
  Run(state, [&](std::size_t i) { ours.line(TheShapes().lines[i]); });
}

// A thousand times longer than the canvas is wide; about as many pixels visible as the canvas has.
void LongLines_ours(benchmark::State& state) {
  const Ours ours(PS_SOLID, 1, false);
  const auto& lines = TheShapes().lines;
  const auto visible = [&](std::size_t i, LONG times) {
    const Segment& s = lines[i];
    const LONG dx = s.b.x - s.a.x, dy = s.b.y - s.a.y;
    ours.line({{s.a.x - dx * times, s.a.y - dy * times}, {s.a.x + dx * times, s.a.y + dy * times}});
  };
  Run(state, [&](std::size_t i) { visible(i, static_cast<LONG>(state.range(0))); });
}

template <int kWidth, bool kFilled>
void Circles_ours(benchmark::State& state) {
  const Ours ours(PS_SOLID, kWidth, kFilled);
  Run(state, [&](std::size_t i) {
    const POINT c = TheShapes().centres[i];
    Ellipse(ours.dc, c.x - kRadius, c.y + kRadius, c.x + kRadius, c.y - kRadius);
  });
}

void Arcs_ours(benchmark::State& state) {
  const Ours ours(PS_SOLID, 1, false);
  Run(state, [&](std::size_t i) {
    const Segment& s = TheShapes().lines[i];
    const Segment& other = TheShapes().lines[kShapes - 1 - i];
    Arc(ours.dc, s.a.x - kRadius, s.a.y + kRadius, s.a.x + kRadius, s.a.y - kRadius, s.b.x, s.b.y,
        s.a.x + other.b.x - other.a.x, s.a.y + other.b.y - other.a.y);
  });
}

template <int kStyle>
void Quads_ours(benchmark::State& state) {
  const Ours ours(kStyle, 1, true);
  Run(state, [&](std::size_t i) { Polygon(ours.dc, TheShapes().quads[i].data(), 4); });
}

// ---- cairo

class Cairo {
 public:
  Cairo() : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, kSide, kSide)) {
    cr = cairo_create(surface_);
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
    cairo_set_source_rgb(cr, 1, 0.5, 0);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cr, 1);
  }
  ~Cairo() {
    cairo_destroy(cr);
    cairo_surface_destroy(surface_);
  }
  Cairo(const Cairo&) = delete;
  Cairo& operator=(const Cairo&) = delete;

  cairo_t* cr;

 private:
  cairo_surface_t* surface_;
};

template <int kWidth>
void Lines_cairo(benchmark::State& state) {
  const Cairo c;
  cairo_set_line_width(c.cr, kWidth);
  Run(state, [&](std::size_t i) {
    const Segment& s = TheShapes().lines[i];
    cairo_move_to(c.cr, s.a.x + 0.5, s.a.y + 0.5);
    cairo_line_to(c.cr, s.b.x + 0.5, s.b.y + 0.5);
    cairo_stroke(c.cr);
  });
}

void Circles_cairo(benchmark::State& state) {
  const Cairo c;
  Run(state, [&](std::size_t i) {
    const POINT p = TheShapes().centres[i];
    cairo_arc(c.cr, p.x, p.y, kRadius, 0, 6.283185307179586);
    cairo_stroke(c.cr);
  });
}

void Quads_cairo(benchmark::State& state) {
  const Cairo c;
  Run(state, [&](std::size_t i) {
    for (const POINT& p : TheShapes().quads[i]) {
      cairo_line_to(c.cr, p.x, p.y);
    }
    cairo_close_path(c.cr);
    cairo_fill(c.cr);
  });
}

// ---- AGG: its aliased primitives where it has them, else paths through the aliased scanline

class Agg {
 public:
  using Format = agg::pixfmt_bgra32;
  using Base = agg::renderer_base<Format>;

  Agg()
      : pixels_(std::size_t{kSide} * kSide * 4),
        buffer_(pixels_.data(), kSide, kSide, kSide * 4),
        format_(buffer_),
        base(format_),
        primitives(base) {
    primitives.line_color(colour);
  }

  template <class Path>
  void fill(Path& path) {
    rasteriser_.reset();
    rasteriser_.add_path(path);
    agg::render_scanlines_bin_solid(rasteriser_, scanline_, base, colour);
  }

 private:
  std::vector<agg::int8u> pixels_;
  agg::rendering_buffer buffer_;
  Format format_;
  agg::rasterizer_scanline_aa<> rasteriser_;
  agg::scanline_bin scanline_;

 public:
  const agg::rgba8 colour{255, 128, 0};
  Base base;
  agg::renderer_primitives<Base> primitives;
};

void Lines_agg_1(benchmark::State& state) {
  Agg a;
  using Primitives = agg::renderer_primitives<Agg::Base>;
  Run(state, [&](std::size_t i) {
    const Segment& s = TheShapes().lines[i];
    a.primitives.line(Primitives::coord(s.a.x), Primitives::coord(s.a.y), Primitives::coord(s.b.x),
                      Primitives::coord(s.b.y));
  });
}

void Lines_agg_5(benchmark::State& state) {
  Agg a;
  agg::path_storage path;
  agg::conv_stroke<agg::path_storage> stroke(path);
  stroke.width(5);
  stroke.line_cap(agg::round_cap);
  Run(state, [&](std::size_t i) {
    const Segment& s = TheShapes().lines[i];
    path.remove_all();
    path.move_to(s.a.x + 0.5, s.a.y + 0.5);
    path.line_to(s.b.x + 0.5, s.b.y + 0.5);
    a.fill(stroke);
  });
}

void Circles_agg(benchmark::State& state) {
  Agg a;
  Run(state, [&](std::size_t i) {
    const POINT p = TheShapes().centres[i];
    a.primitives.ellipse(p.x, p.y, kRadius, kRadius);
  });
}

void Quads_agg(benchmark::State& state) {
  Agg a;
  agg::path_storage path;
  Run(state, [&](std::size_t i) {
    const Quad& q = TheShapes().quads[i];
    path.remove_all();
    path.move_to(q[0].x, q[0].y);
    for (std::size_t k = 1; k < 4; ++k) {
      path.line_to(q[k].x, q[k].y);
    }
    path.close_polygon();
    a.fill(path);
  });
}

// ---- copies

void Copy_ours(benchmark::State& state) {
  const Ours from(PS_SOLID, 1, true), to(PS_SOLID, 1, true);
  const int side = static_cast<int>(state.range(0));
  for (auto _ : state) {
    BitBlt(to.dc, 3, 5, side, side, from.dc, 7, 11, SRCCOPY);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * side * side * 4);
}

// On the same pixels: how far the two lie apart matters.
void Copy_memcpy(benchmark::State& state) {
  const Ours from(PS_SOLID, 1, true), to(PS_SOLID, 1, true);
  PIXELS source{}, target{};
  GetPixels(from.dc, &source);
  GetPixels(to.dc, &target);
  const int side = static_cast<int>(state.range(0));
  for (auto _ : state) {
    for (int y = 0; y < side; ++y) {
      std::memcpy(target.data + std::ptrdiff_t{y + 5} * kSide + 3,
                  source.data + std::ptrdiff_t{y + 11} * kSide + 7,
                  static_cast<std::size_t>(side) * 4);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * side * side * 4);
}

BENCHMARK(Nothing_ours);
BENCHMARK(Lines_ours<1, R2_COPYPEN>)->Name("Lines_1_ours");
BENCHMARK(Lines_ours<1, R2_XORPEN>)->Name("Lines_1_xor_ours");
BENCHMARK(Lines_ours<1, R2_COPYPEN, PS_DASH>)->Name("Lines_1_dashed_ours");
BENCHMARK(Lines_cairo<1>)->Name("Lines_1_cairo");
BENCHMARK(Lines_agg_1)->Name("Lines_1_agg");
BENCHMARK(LongLines_ours)->Arg(100)->Arg(1000)->Arg(1000000);
BENCHMARK(Lines_ours<5, R2_COPYPEN>)->Name("Lines_5_ours");
BENCHMARK(Lines_cairo<5>)->Name("Lines_5_cairo");
BENCHMARK(Lines_agg_5)->Name("Lines_5_agg");
BENCHMARK(Circles_ours<1, false>)->Name("Circles_ours");
BENCHMARK(Circles_ours<1, true>)->Name("Circles_filled_ours");
BENCHMARK(Circles_ours<5, false>)->Name("Circles_wide_ours");
BENCHMARK(Circles_cairo);
BENCHMARK(Circles_agg);
BENCHMARK(Arcs_ours);
BENCHMARK(Quads_ours<PS_NULL>)->Name("Quads_ours");
BENCHMARK(Quads_ours<PS_SOLID>)->Name("Quads_outlined_ours");
BENCHMARK(Quads_cairo);
BENCHMARK(Quads_agg);
BENCHMARK(Copy_ours)->Arg(100)->Arg(980);
BENCHMARK(Copy_memcpy)->Arg(100)->Arg(980);

}  // namespace

BENCHMARK_MAIN();

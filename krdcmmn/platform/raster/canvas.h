// Pixels to paint on, what to paint them with, and the kernels under every shape: a shape ends in
// horizontal runs of pixels, and one kernel a raster operation paints them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace krraster {

// A place in device pixels. Callers keep both within 34 bits: a 32-bit coordinate and an origin.
struct Place {
  std::int64_t x;
  std::int64_t y;
};

// Pixels [left, right) by [top, bottom).
struct Area {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;

  bool empty() const { return left >= right || top >= bottom; }
  bool holds(Place p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
};

// Borrowed pixels, each 0x00RRGGBB; `stride` pixels lie between a pixel and the one below it.
struct Canvas {
  std::uint32_t* data;
  std::int32_t width;
  std::int32_t height;
  std::ptrdiff_t stride;

  Area area() const { return {0, 0, width, height}; }
  std::uint32_t* at(std::int64_t x, std::int64_t y) const { return data + y * stride + x; }
};

struct Ink {
  std::uint32_t pixel;  // top byte 0
  bool inverts;         // XOR with what is there instead of replacing it
};

// Four pixels at once, at any address.
struct FourPixels {
  std::uint32_t lane[4];

  static FourPixels Of(std::uint32_t pixel) { return {{pixel, pixel, pixel, pixel}}; }
  static FourPixels Load(const std::uint32_t* p) {
    FourPixels four;
    std::memcpy(&four, p, sizeof four);
    return four;
  }
  void store(std::uint32_t* p) const { std::memcpy(p, this, sizeof *this); }
  FourPixels operator^(const FourPixels& o) const {
    return {{lane[0] ^ o.lane[0], lane[1] ^ o.lane[1], lane[2] ^ o.lane[2], lane[3] ^ o.lane[3]}};
  }
};

// Kernels paint one pixel, or a run of n >= 1. Most runs are short and their lengths vary, so that
// a loop over single pixels would be mispredicted: a run of 4 and more is painted by fours, the
// last of which may overlap those before.
struct CopyKernel {
  std::uint32_t pixel;

  void dot(std::uint32_t* p) const { *p = pixel; }
  void run(std::uint32_t* p, std::int64_t n) const {
    const FourPixels four = FourPixels::Of(pixel);
    if (n < 4) {
      p[0] = pixel;
      p[n >> 1] = pixel;
      p[n - 1] = pixel;
    } else if (n <= 8) {
      four.store(p);
      four.store(p + n - 4);
    } else if (n <= 16) {
      four.store(p);
      four.store(p + 4);
      four.store(p + n - 8);
      four.store(p + n - 4);
    } else {
      for (std::int64_t i = 0; i < n - 16; i += 16) {
        sixteen(p + i, four);
      }
      sixteen(p + n - 16, four);
    }
  }

 private:
  static void sixteen(std::uint32_t* p, const FourPixels& four) {
    four.store(p);
    four.store(p + 4);
    four.store(p + 8);
    four.store(p + 12);
  }
};

struct XorKernel {
  std::uint32_t pixel;

  void dot(std::uint32_t* p) const { *p ^= pixel; }
  void run(std::uint32_t* p, std::int64_t n) const {
    if (n < 4) {
      for (std::int64_t i = 0; i < n; ++i) {
        p[i] ^= pixel;
      }
      return;
    }
    const FourPixels four = FourPixels::Of(pixel);
    const FourPixels end = FourPixels::Load(p + n - 4) ^ four;  // before any of it is changed
    for (std::int64_t i = 0; i < n - 4; i += 4) {
      (FourPixels::Load(p + i) ^ four).store(p + i);
    }
    end.store(p + n - 4);
  }
};

// Calls `work` with the kernel of `ink`.
template <class Work>
void WithKernel(Ink ink, Work&& work) {
  if (ink.inverts) {
    work(XorKernel{ink.pixel});
  } else {
    work(CopyKernel{ink.pixel});
  }
}

// Paints runs [x0, x1) of rows that lie on the canvas.
template <class Kernel>
struct CanvasSink {
  Canvas canvas;
  Kernel kernel;

  void operator()(std::int64_t y, std::int64_t x0, std::int64_t x1) const {
    kernel.run(canvas.at(x0, y), x1 - x0);
  }
};

// Hands the part of [x0, x1) that lies in the area's columns to `sink`, if there is any.
template <class Sink>
void ClippedRun(const Area& area, Sink&& sink, std::int64_t y, std::int64_t x0, std::int64_t x1) {
  x0 = std::max<std::int64_t>(x0, area.left);
  x1 = std::min<std::int64_t>(x1, area.right);
  if (x0 < x1) {
    sink(y, x0, x1);
  }
}

}  // namespace krraster

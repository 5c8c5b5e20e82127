// The viewer on a window in memory, with a clock that the test moves.
#pragma once

#include <gmock/gmock.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "apps/common/default_font.h"
#include "apps/krview/script.h"
#include "tests/sheet/dxf_text.h"
#include "tests/support/temp_dir.h"

namespace krtest {

inline kr::font& Texts() {
  static kr::font font;
  if (!(font.height > 0)) {
    kr_app::LoadDefaultFont(font);
  }
  return font;
}

// A plate of 120 by 80 mm with holes, a slanted line, an area and a text.
inline std::string Plate() {
  std::string holes;
  for (const char* x : {"20", "60", "100"}) {
    holes += Entity("CIRCLE", {{8, "holes"}, {10, x}, {20, "60"}, {40, "8"}}) +
             Entity("ARC", {{8, "0"}, {10, x}, {20, "60"}, {40, "11"}, {50, "30"}, {51, "150"}});
  }
  return Dxf(LineEntity("0", "0", "120", "0") + LineEntity("120", "0", "120", "80") +
             LineEntity("120", "80", "0", "80") + LineEntity("0", "80", "0", "0") +
             LineEntity("0", "0", "120", "80") + holes +
             Entity("TEXT", {{8, "0"}, {10, "70"}, {20, "10"}, {40, "5"}, {1, "Plate"}}) +
             Entity("SOLID", {{8, "0"},
                              {62, "5"},
                              {10, "10"},
                              {20, "30"},
                              {11, "30"},
                              {21, "30"},
                              {12, "10"},
                              {22, "45"},
                              {13, "30"},
                              {23, "45"}}));
}

// The pixels of the rows above the status line, or those of the status line.
inline std::vector<std::uint32_t> Rows(const PIXELS& pixels, bool status = false) {
  const int edge = std::max(pixels.height - kr_view::Panel::kLine, 0);
  std::vector<std::uint32_t> rows;
  for (int y = status ? edge : 0; y < (status ? pixels.height : edge); ++y) {
    const std::uint32_t* row = pixels.data + std::ptrdiff_t{y} * pixels.stride;
    rows.insert(rows.end(), row, row + pixels.width);
  }
  return rows;
}

class Shown : public kr_view::Stage {
 public:
  static constexpr int kWidth = 400;
  static constexpr int kHeight = 322;
  static constexpr std::uint32_t kPaper = 0xffffff;

  explicit Shown(kr_view::Library& library, int w = kWidth, int h = kHeight)
      : window(w, h, [this] { return now; }), viewer(window, library, Texts(), kPaper) {
    viewer.open(0);
    viewer.update();
  }

  void wait(int ms) override { now += ms; }
  void resize(int, int) override {}
  void show() override { ++shown; }

  // Plays lines of a script.
  void play(const std::string& script) {
    std::istringstream in(script);
    Play(kr_view::ReadScript(in, "script"), viewer, window, *this);
  }
  std::vector<std::uint32_t> picture() const { return Rows(window.pixels()); }
  // The view drawn anew, grid and all: the background goes there and back.
  std::vector<std::uint32_t> redrawn() {
    play("leave\nkey b\nkey b");
    return picture();
  }
  // Whether what is seen, but for the mark under the cursor, is the view drawn anew.
  bool asRedrawn() {
    play("leave");
    const std::vector<std::uint32_t> seen = picture();
    return seen == redrawn();
  }
  const kr_view::ViewDevice& device() const { return viewer.device(); }
  KRD::DOT modelAt(int x, int y) const { return {device().rX(x), device().rY(y)}; }

  std::int64_t now = 1000;
  int shown = 0;
  kr_view::FrameWindow window;
  kr_view::Viewer viewer;
};

// A library of one drawing in a file.
struct PlateFile {
  PlateFile() {
    WriteBytes(dir.file("plate.dxf"), Plate());
    library = kr_view::OpenDrawings(dir.file("plate.dxf"), Texts());
  }
  TempDir dir;
  std::unique_ptr<kr_view::Library> library;
};

}  // namespace krtest

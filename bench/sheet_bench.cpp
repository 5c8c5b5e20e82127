// What a drawing of a million elements costs: a frame by the painter beside a bare loop over the
// device's primitives, at full view, at high zoom and in between; reading it as DXF and from a
// container.
#include <benchmark/benchmark.h>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "krdcmmn/platform/window.h"

#include "apps/sheet/dxf_import.h"
#include "apps/sheet/painter.h"
#include "apps/sheet/store.h"

namespace {

using kr_sheet::Drawing;

constexpr int kElements = 1'000'000;
constexpr int kSide = 4'000'000;  // micrometres

// Short lines, a tenth of them in another colour each, laid down street by street as a plan is.
std::unique_ptr<Drawing> City(int count) {
  std::mt19937 random(1);
  auto d = std::make_unique<Drawing>();
  d->name = "city";
  d->layers.add({d->names.add("0"), kr_sheet::kContrast, 0, 0});
  for (int pen = 0; pen < 10; ++pen) {
    d->pens.add({0, pen * 0x111111, 0});
  }
  const auto step = [&](int size) {
    return static_cast<int>(random() % static_cast<unsigned>(size)) - size / 2;
  };
  KRD::DOT at{0, 0};
  for (int i = 0; i < count; ++i) {
    if (i % 1000 == 0) {
      at = {step(2 * kSide), step(2 * kSide)};
    }
    const KRD::DOT to = {at.x + step(20000), at.y + step(20000)};
    d->lines.add({i / 100 % 10, at, to});
    at = to;
  }
  d->sortByPen();
  return d;
}

const Drawing& TheCity() {
  static const auto city = City(kElements);
  return *city;
}

struct Screen {
  Screen() : window(1600, 1000) {
    device.Init(1600, 1000, window.handle());
    dc = window.GetContext();
  }
  ~Screen() { window.ReleaseContext(dc); }

  // A view of one part in `zoom` of the drawing.
  void show(std::int64_t zoom) {
    const auto half = static_cast<std::int32_t>(kSide / zoom);
    kr_sheet::ShowBox(device, {-half, half, half, -half});
    device.SetContext(dc);
    device.DirectDraw(true);
  }

  MEMORY_WINDOW window;
  DRAW_DEVICE device;
  HDC dc = nullptr;
};

void Painted(benchmark::State& state) {
  kr_sheet::Painter painter(TheCity());
  Screen screen;
  screen.show(state.range(0));
  for (auto _ : state) {
    screen.device.cleardevice(0xffffff);
    painter.draw(screen.device, 0xffffff);
  }
  screen.device.ReleaseContext();
  state.SetItemsProcessed(state.iterations() * kElements);
}

void BareLoop(benchmark::State& state) {
  Screen screen;
  screen.show(state.range(0));
  for (auto _ : state) {
    screen.device.cleardevice(0xffffff);
    std::int32_t pen = -1;
    for (const kr_sheet::Line& line : TheCity().lines) {
      if (line.pen != pen) {
        pen = line.pen;
        screen.device.setPenStyle(0, 0, static_cast<std::uint32_t>(pen * 0x111111));
      }
      screen.device.line(line.from, line.to);
    }
  }
  screen.device.ReleaseContext();
  state.SetItemsProcessed(state.iterations() * kElements);
}

void Prepare(benchmark::State& state) {
  for (auto _ : state) {
    kr_sheet::Painter painter(TheCity());
    benchmark::DoNotOptimize(painter);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}

void ImportDxf(benchmark::State& state) {
  constexpr int kLines = 100'000;
  std::string text = "0\nSECTION\n2\nENTITIES\n";
  const auto city = City(kLines);
  for (const kr_sheet::Line& line : city->lines) {
    text += "0\nLINE\n8\n0\n10\n" + std::to_string(line.from.x / 1000.0) + "\n20\n" +
            std::to_string(line.from.y / 1000.0) + "\n11\n" + std::to_string(line.to.x / 1000.0) +
            "\n21\n" + std::to_string(line.to.y / 1000.0) + "\n";
  }
  text += "0\nENDSEC\n0\nEOF\n";
  for (auto _ : state) {
    kr_sheet::Counts counts;
    benchmark::DoNotOptimize(kr_sheet::ImportDxf(text, "city", {}, counts));
  }
  state.SetItemsProcessed(state.iterations() * kLines);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void LoadFromContainer(benchmark::State& state) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("krdcmmn-sheet-bench-" + std::to_string(std::random_device{}()));
  {
    kr_sheet::SheetStore store(path.string(), kr_sheet::SheetStore::Access::kWrite);
    store.put(*City(kElements));
    store.commit();
  }
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
  for (auto _ : state) {
    kr_sheet::SheetStore store(path.string(), kr_sheet::SheetStore::Access::kRead);
    benchmark::DoNotOptimize(store.load("city"));
  }
  std::filesystem::remove(path);
  state.SetItemsProcessed(state.iterations() * kElements);
}

BENCHMARK(Painted)->Arg(1)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BareLoop)->Arg(1)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(Prepare)->Unit(benchmark::kMillisecond);
BENCHMARK(ImportDxf)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadFromContainer)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

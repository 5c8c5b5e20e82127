// How long does a load take beside reading the file alone? A compiled font of 256 shapes in both
// layouts, and a source of 1 MB, in ns for each byte of input.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include "krdcmmn/font/font.h"
#include "krdcmmn/font/shape_reader.h"

#include "apps/kr/font/hershey.h"
#include "apps/kr/font/shp_compiler.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr int kShapes = 256;
constexpr std::size_t kSourceSize = 1000000;
constexpr const char* kFaces[] = {"rowmans", "rowmand", "scriptc", "gothgbt"};

// Shapes of stroke fonts as they are, under numbers that fill all slots: the Hershey faces of the
// package hershey-fonts-data.
std::vector<std::string> Shapes() {
  std::vector<std::string> shapes;
  for (const char* face : kFaces) {
    const std::string jhf =
        krtest::ReadBytes("/usr/share/hershey-fonts/" + std::string(face) + ".jhf");
    const std::string source = kr_app::ImportHershey(jhf, face).source + "*";
    for (std::size_t at = source.find("\n*00A"); at != std::string::npos;) {
      const std::size_t next = source.find("\n*", at + 2);
      if (next != std::string::npos) {
        const std::size_t comma = source.find(',', at);
        shapes.push_back(source.substr(comma, next + 1 - comma));
      }
      at = next;
    }
  }
  return shapes;
}

// One set of fonts for all benchmarks, in files.
struct Fonts {
  Fonts() {
    const std::vector<std::string> shapes = Shapes();
    const std::string head = "*0,4,font\r\n21,7,0,0\r\n";
    std::string small = head;
    std::string large = head;
    for (std::size_t i = 0; i < kShapes; ++i) {
      // Slots below 129 by their numbers, then the letters of the code page.
      const std::size_t code = i < 128 ? i + 1 : 0x401 + i % 92;
      small += "*" + std::to_string(code) + shapes[i % shapes.size()];
    }
    for (std::size_t i = 0; large.size() < kSourceSize; ++i) {
      large += "*" + std::to_string(33 + i % 90) + shapes[i % shapes.size()];
    }
    Write("shapes.shx", kr_app::CompileShp(small, kr_app::ShxLayout::kShapes).bytes);
    Write("unifont.shx", kr_app::CompileShp(small, kr_app::ShxLayout::kUnifont).bytes);
    Write("source.shp", large);
  }
  void Write(const char* name, const std::string& bytes) {
    krtest::WriteBytes(dir.file(name), bytes);
  }
  krtest::TempDir dir;
};

std::string FontPath(const char* name) {
  static Fonts fonts;
  return fonts.dir.file(name);
}

// The loader prints; while this lives that goes nowhere.
class QuietOutput {
 public:
  QuietOutput() : kept_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  ~QuietOutput() {
    std::fflush(stdout);
    dup2(kept_, STDOUT_FILENO);
    close(kept_);
  }

 private:
  int kept_;
};

void Report(benchmark::State& state, const std::string& path) {
  const auto bytes = static_cast<double>(std::filesystem::file_size(path));
  const auto total = bytes * static_cast<double>(state.iterations());
  state.SetBytesProcessed(static_cast<std::int64_t>(total));
  state.counters["bytes"] = bytes;
  state.counters["ns_per_byte"] =
      benchmark::Counter(total / 1e9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void Load(benchmark::State& state, const char* name) {
  const std::string path = FontPath(name);
  const QuietOutput quiet;
  for (auto _ : state) {
    kr::font font;
    font.LoadFile(path.c_str());
    benchmark::DoNotOptimize(font.primKind.count());
  }
  Report(state, path);
}

void LoadAgain(benchmark::State& state, const char* name) {
  const std::string path = FontPath(name);
  const QuietOutput quiet;
  kr::font font;
  for (auto _ : state) {
    font.LoadFromSHXFile(path.c_str());
    benchmark::DoNotOptimize(font.primKind.count());
  }
  Report(state, path);
}

void ReadFileAlone(benchmark::State& state, const char* name) {
  const std::string path = FontPath(name);
  std::vector<char> bytes(std::filesystem::file_size(path));
  for (auto _ : state) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    benchmark::DoNotOptimize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
  }
  Report(state, path);
}

// The tokenizer and the drawing steps without the file.
void ReadSource(benchmark::State& state) {
  const std::string path = FontPath("source.shp");
  const std::string source = krtest::ReadBytes(path);
  kr::font font;
  for (auto _ : state) {
    font.ResetGlyphs();
    kr::ShapeReader(&font).ReadSource(source.data(), source.data() + source.size());
    benchmark::DoNotOptimize(font.primKind.count());
  }
  Report(state, path);
}

BENCHMARK_CAPTURE(ReadFileAlone, shapes, "shapes.shx");
BENCHMARK_CAPTURE(Load, shapes, "shapes.shx");
BENCHMARK_CAPTURE(LoadAgain, shapes, "shapes.shx");
BENCHMARK_CAPTURE(ReadFileAlone, unifont, "unifont.shx");
BENCHMARK_CAPTURE(Load, unifont, "unifont.shx");
BENCHMARK_CAPTURE(ReadFileAlone, source, "source.shp");
BENCHMARK_CAPTURE(Load, source, "source.shp");
BENCHMARK(ReadSource);

}  // namespace

BENCHMARK_MAIN();

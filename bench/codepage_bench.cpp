// How fast does text go between UTF-8 and the ANSI code page, beside an iconv descriptor that stays
// open? Texts of a word and of a megabyte, in ASCII and in Russian.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <iconv.h>
#include <string>

#include "krdcmmn/host/codepage.h"

namespace {

enum Text { kAscii, kRussian };

std::string Words(Text text, std::size_t size) {
  const std::string word = text == kAscii ? "drawing sheet " : "лист чертежа ";
  std::string all;
  while (all.size() < size) {
    all += word;
  }
  return all;
}

std::string WithIconv(iconv_t conversion, const std::string& text) {
  std::string out(text.size() * 2, '\0');
  char* from = const_cast<char*>(text.data());
  char* to = out.data();
  std::size_t from_left = text.size();
  std::size_t to_left = out.size();
  iconv(conversion, &from, &from_left, &to, &to_left);
  out.resize(out.size() - to_left);
  return out;
}

void Bytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void ToAnsi(benchmark::State& state, Text kind, std::size_t size) {
  const std::string text = Words(kind, size);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Utf8ToAnsi(text.data(), static_cast<unsigned>(text.size())));
  }
  Bytes(state, text);
}

void ToUtf8(benchmark::State& state, Text kind, std::size_t size) {
  const std::string utf8 = Words(kind, size);
  const std::string text = Utf8ToAnsi(utf8.data(), static_cast<unsigned>(utf8.size()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(AnsiToUtf8(text.data(), static_cast<unsigned>(text.size())));
  }
  Bytes(state, text);
}

void Iconv(benchmark::State& state, bool to_ansi, Text kind, std::size_t size) {
  const std::string utf8 = Words(kind, size);
  iconv_t conversion = to_ansi ? iconv_open("CP1251", "UTF-8") : iconv_open("UTF-8", "CP1251");
  const std::string text =
      to_ansi ? utf8 : Utf8ToAnsi(utf8.data(), static_cast<unsigned>(utf8.size()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(WithIconv(conversion, text));
  }
  iconv_close(conversion);
  Bytes(state, text);
}

void Register() {
  for (const Text kind : {kAscii, kRussian}) {
    for (const std::size_t size : {std::size_t{10}, std::size_t{1} << 20}) {
      const std::string name =
          std::string(kind == kAscii ? "ascii/" : "russian/") + (size > 10 ? "megabyte" : "word");
      benchmark::RegisterBenchmark(("to_ansi/" + name).c_str(), ToAnsi, kind, size);
      benchmark::RegisterBenchmark(("to_ansi_iconv/" + name).c_str(), Iconv, true, kind, size);
      benchmark::RegisterBenchmark(("to_utf8/" + name).c_str(), ToUtf8, kind, size);
      benchmark::RegisterBenchmark(("to_utf8_iconv/" + name).c_str(), Iconv, false, kind, size);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  Register();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

// What does it cost to append int32 one by one up to 1 GB, beside std::vector, and how much memory
// is held at the most?
#include <benchmark/benchmark.h>
#include <cstdint>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "krdcmmn/core/tarray.h"

namespace {

constexpr std::int64_t kBytes = 1000000000;
constexpr int kCount = kBytes / 4;

// A process of its own, so that neither side finds the other's pages and the peak is its own.
// Gives the peak resident memory in bytes.
template <class Work>
double PeakOf(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(0);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  return status == 0 ? 1024.0 * static_cast<double>(usage.ru_maxrss) : 0;
}

void AppendToArray() {
  KRD::TARRAY<std::int32_t> array;
  for (std::int32_t i = 0; i < kCount; ++i) {
    array.add(i);
  }
  benchmark::DoNotOptimize(array.elements());
}

void AppendToVector() {
  std::vector<std::int32_t> array;
  for (std::int32_t i = 0; i < kCount; ++i) {
    array.push_back(i);
  }
  benchmark::DoNotOptimize(array.data());
}

template <class Work>
void Run(benchmark::State& state, Work work) {
  double peak = 0;
  for (auto _ : state) {
    peak = PeakOf(work);
  }
  state.SetBytesProcessed(state.iterations() * kBytes);
  state.counters["peak/data"] = peak / static_cast<double>(kBytes);
}

BENCHMARK_CAPTURE(Run, marray, AppendToArray)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Run, vector, AppendToVector)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

// How fast are arrays packed and unpacked, beside blosc (byte shuffle and lz4, level 1, one thread)
// and memcpy, and how small do they get? Bytes per second are those of the unpacked array.
#include <benchmark/benchmark.h>
#include <blosc.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/checksum.h"
#include "krdcmmn/core/packed_block.h"

namespace {

constexpr int kBytes = 4 << 20;

struct DataSet {
  const char* name;
  int size_elem;
  std::vector<char> bytes;

  int count() const { return kBytes / size_elem; }
};

DataSet Ints(const char* name, const std::function<std::int32_t(int i)>& value) {
  DataSet set{name, 4, std::vector<char>(kBytes)};
  for (int i = 0; i < set.count(); ++i) {
    KRD::StoreI32(&set.bytes[static_cast<std::size_t>(i) * 4], value(i));
  }
  return set;
}

// A drawing's primitive: a number, a kind, a layer, two points that wander, a colour of few, a
// double, and a name of which the end counts.
DataSet Records() {
  std::mt19937 random(7);
  DataSet set{"records", 64, std::vector<char>(kBytes)};
  std::int32_t x = 1000000;
  std::int32_t y = 2000000;
  for (int i = 0; i < set.count(); ++i) {
    char* r = &set.bytes[static_cast<std::size_t>(i) * 64];
    x += static_cast<std::int32_t>(random() % 401) - 200;
    y += static_cast<std::int32_t>(random() % 401) - 200;
    const double length = x / 1000.0;
    KRD::StoreI32(r, i);
    KRD::StoreI32(r + 4, static_cast<std::int32_t>(random() % 3));
    KRD::StoreI32(r + 8, i / 500);
    KRD::StoreI32(r + 12, x);
    KRD::StoreI32(r + 16, y);
    KRD::StoreI32(r + 20, x + 100);
    KRD::StoreI32(r + 24, y);
    KRD::StoreI32(r + 28, static_cast<std::int32_t>(random() % 8 * 0x1f1f));
    std::memcpy(r + 32, &length, 8);
    const std::string name = "ELEMENT-" + std::to_string(i);
    std::memcpy(r + 48, name.c_str(), std::min<std::size_t>(name.size(), 15));
  }
  return set;
}

std::vector<DataSet> MakeSets() {
  std::mt19937 random(1);
  std::int32_t at = 1000000;
  std::vector<DataSet> sets;
  sets.push_back(Ints("constant", [](int) { return 12345678; }));
  sets.push_back(Ints("sequential", [](int i) { return i; }));
  sets.push_back(
      Ints("walk", [&](int) { return at += static_cast<std::int32_t>(random() % 401) - 200; }));
  sets.push_back(Ints("sparse", [&](int) {
    return random() % 100 == 0 ? static_cast<std::int32_t>(random()) : 0;
  }));
  sets.push_back(Ints("random", [&](int) { return static_cast<std::int32_t>(random()); }));
  sets.push_back(Records());
  return sets;
}

void Report(benchmark::State& state, std::size_t packed) {
  state.SetBytesProcessed(state.iterations() * kBytes);
  state.counters["ratio"] = static_cast<double>(kBytes) / static_cast<double>(packed);
}

void Pack(benchmark::State& state, const DataSet& set) {
  std::size_t size = 0;
  for (auto _ : state) {
    const KRD::PackedBlock block(set.bytes.data(), set.count(), set.size_elem);
    size = block.size();
    benchmark::DoNotOptimize(block.bytes());
  }
  Report(state, size);
}

void Measure(benchmark::State& state, const DataSet& set) {
  std::size_t size = 0;
  for (auto _ : state) {
    size = KRD::PackedSize(set.bytes.data(), set.count(), set.size_elem);
    benchmark::DoNotOptimize(size);
  }
  Report(state, size);
}

void Unpack(benchmark::State& state, const DataSet& set) {
  const KRD::PackedBlock block(set.bytes.data(), set.count(), set.size_elem);
  std::vector<char> out(kBytes);
  const std::size_t length = block.size() - KRD::kBlockOverhead;
  for (auto _ : state) {
    const char* payload = block.bytes() + KRD::kLengthSize;
    if (KRD::BlockChecksum(payload, length) != KRD::LoadU32(payload + length) ||
        !KRD::UnpackPayload(payload, length, out.data(), set.count(), set.size_elem)) {
      state.SkipWithError("damaged");
    }
  }
  if (out != set.bytes) {
    state.SkipWithError("did not come back");
  }
  Report(state, block.size());
}

void BloscPack(benchmark::State& state, const DataSet& set) {
  std::vector<char> out(kBytes + BLOSC_MAX_OVERHEAD);
  int size = 0;
  for (auto _ : state) {
    size = blosc_compress_ctx(1, BLOSC_SHUFFLE, static_cast<std::size_t>(set.size_elem), kBytes,
                              set.bytes.data(), out.data(), out.size(), "lz4", 0, 1);
    benchmark::DoNotOptimize(out.data());
  }
  Report(state, static_cast<std::size_t>(size));
}

void BloscUnpack(benchmark::State& state, const DataSet& set) {
  std::vector<char> packed(kBytes + BLOSC_MAX_OVERHEAD);
  std::vector<char> out(kBytes);
  const int size =
      blosc_compress_ctx(1, BLOSC_SHUFFLE, static_cast<std::size_t>(set.size_elem), kBytes,
                         set.bytes.data(), packed.data(), packed.size(), "lz4", 0, 1);
  for (auto _ : state) {
    blosc_decompress_ctx(packed.data(), out.data(), out.size(), 1);
    benchmark::DoNotOptimize(out.data());
  }
  Report(state, static_cast<std::size_t>(size));
}

void Copy(benchmark::State& state, const DataSet& set) {
  std::vector<char> out(kBytes);
  for (auto _ : state) {
    std::memcpy(out.data(), set.bytes.data(), kBytes);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  Report(state, kBytes);
}

void Checksum(benchmark::State& state, const DataSet& set) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(KRD::BlockChecksum(set.bytes.data(), kBytes));
  }
  Report(state, kBytes);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<DataSet> sets = MakeSets();
  const struct {
    const char* name;
    void (*run)(benchmark::State&, const DataSet&);
  } kinds[] = {{"pack", Pack},        {"blosc_pack", BloscPack},     {"measure", Measure},
               {"unpack", Unpack},    {"blosc_unpack", BloscUnpack}, {"memcpy", Copy},
               {"checksum", Checksum}};
  for (const DataSet& set : sets) {
    for (const auto& kind : kinds) {
      benchmark::RegisterBenchmark((std::string(set.name) + "/" + kind.name).c_str(),
                                   [&set, &kind](benchmark::State& s) { kind.run(s, set); });
    }
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

// What do a million distinct strings of 8 to 24 bytes cost in an index: putting one in, finding
// one, missing one, and the memory of one, beside std::unordered_map<std::string, int> and
// absl::flat_hash_map? And what does replacing the texts of a tree's parents cost in a list?
#include <absl/container/flat_hash_map.h>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <malloc.h>
#include <memory>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "krdcmmn/text/hash_text.h"

namespace {

constexpr int kStrings = 1000000;

struct DataSet {
  std::vector<std::string> in;
  std::vector<std::string> found;   // those of `in`, in another order
  std::vector<std::string> missed;  // none of `in`
};

const DataSet& Data() {
  static const DataSet set = [] {
    std::mt19937_64 random(1);
    std::unordered_set<std::string> all;
    while (all.size() < 2 * kStrings) {
      std::string s(8 + random() % 17, ' ');
      std::generate(s.begin(), s.end(), [&] { return static_cast<char>('a' + random() % 26); });
      all.insert(s);
    }
    DataSet made;
    for (const std::string& s : all) {
      (made.in.size() < kStrings ? made.in : made.missed).push_back(s);
    }
    std::shuffle(made.in.begin(), made.in.end(), random);
    made.found = made.in;
    std::shuffle(made.found.begin(), made.found.end(), random);
    std::shuffle(made.missed.begin(), made.missed.end(), random);
    all.clear();
    malloc_trim(0);  // or the first to ask for memory pays for what was just freed
    return made;
  }();
  return set;
}

struct Ours {
  KRD::HASH_TEXT index;
  void add(const std::string& s) { index.add(s.c_str()); }
  int find(const std::string& s) const { return index(s.c_str()); }
};

template <class Map>
struct Peer {
  Map map;
  void add(const std::string& s) { map.emplace(s, static_cast<int>(map.size())); }
  int find(const std::string& s) const {
    const auto at = map.find(s);
    return at != map.end() ? at->second : -1;
  }
};

using StdMap = Peer<std::unordered_map<std::string, int>>;
using AbslMap = Peer<absl::flat_hash_map<std::string, int>>;

template <class Index>
void Fill(Index& index) {
  for (const std::string& s : Data().in) {
    index.add(s);
  }
}

long ResidentPages() {
  long size = 0;
  long resident = 0;
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  if (file != nullptr) {
    if (std::fscanf(file, "%ld %ld", &size, &resident) != 2) {
      resident = 0;
    }
    std::fclose(file);
  }
  return resident;
}

// Bytes a string, measured in a process of its own so that no freed memory is used again.
template <class Index>
double BytesAnEntry() {
  Data();
  int ends[2];
  if (pipe(ends) != 0) {
    return 0;
  }
  const pid_t child = fork();
  if (child == 0) {
    malloc_trim(0);
    const long before = ResidentPages();
    Index* const index = new Index;
    Fill(*index);
    const long pages = ResidentPages() - before;
    _exit(write(ends[1], &pages, sizeof pages) == static_cast<ssize_t>(sizeof pages) ? 0 : 1);
  }
  long pages = 0;
  if (read(ends[0], &pages, sizeof pages) != static_cast<ssize_t>(sizeof pages)) {
    pages = 0;
  }
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  return static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / kStrings;
}

template <class Index>
void In(benchmark::State& state) {
  const double bytes = BytesAnEntry<Index>();
  for (auto _ : state) {
    auto index = std::make_unique<Index>();
    Fill(*index);
    benchmark::DoNotOptimize(index);
    state.PauseTiming();
    index.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kStrings);
  state.counters["bytes_an_entry"] = bytes;
}

template <class Index>
void Look(benchmark::State& state, const std::vector<std::string>& strings) {
  Index index;
  Fill(index);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(index.find(strings[i]));
    i = i + 1 < strings.size() ? i + 1 : 0;
  }
}

template <class Index>
void Found(benchmark::State& state) {
  Look<Index>(state, Data().found);
}

template <class Index>
void Missed(benchmark::State& state) {
  Look<Index>(state, Data().missed);
}

// The walk alone, which every figure above contains.
void Walk(benchmark::State& state) {
  const std::vector<std::string>& strings = Data().found;
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(strings[i].c_str()[0]);
    i = i + 1 < strings.size() ? i + 1 : 0;
  }
}

// One parent in front of `n` children: every child that closes replaces the parent's text twice.
template <void (KRD::BASE_TEXT::*set)(int, const char*)>
void Close(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  for (auto _ : state) {
    KRD::BASE_TEXT list;
    list.add("");
    for (int i = 1; i <= n; ++i) {
      list.add("");
      (list.*set)(0, "\n    ");
      (list.*set)(i, "the text of a child");
      (list.*set)(0, "");
    }
    benchmark::DoNotOptimize(list.nElem());
  }
  state.SetItemsProcessed(state.iterations() * n);
}

BENCHMARK(In<Ours>)->Iterations(5)->Unit(benchmark::kMillisecond)->Name("in/ours");
BENCHMARK(In<StdMap>)->Iterations(5)->Unit(benchmark::kMillisecond)->Name("in/std");
BENCHMARK(In<AbslMap>)->Iterations(5)->Unit(benchmark::kMillisecond)->Name("in/absl");
BENCHMARK(Found<Ours>)->Iterations(2 * kStrings)->Name("found/ours");
BENCHMARK(Found<StdMap>)->Iterations(2 * kStrings)->Name("found/std");
BENCHMARK(Found<AbslMap>)->Iterations(2 * kStrings)->Name("found/absl");
BENCHMARK(Missed<Ours>)->Iterations(2 * kStrings)->Name("missed/ours");
BENCHMARK(Missed<StdMap>)->Iterations(2 * kStrings)->Name("missed/std");
BENCHMARK(Missed<AbslMap>)->Iterations(2 * kStrings)->Name("missed/absl");
BENCHMARK(Walk)->Iterations(2 * kStrings)->Name("walk");
BENCHMARK(Close<&KRD::BASE_TEXT::set>)->Arg(4000)->Name("close/set");
BENCHMARK(Close<&KRD::BASE_TEXT::setLater>)->Arg(4000)->Arg(400000)->Name("close/setLater");

}  // namespace

BENCHMARK_MAIN();

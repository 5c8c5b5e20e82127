// How long does it take to put a drawing's arrays on the medium and to get them back, beside SQLite
// (one transaction, full synchronisation), libzip (stored) and a plain write with fsync, and how
// large is the file? And does a storage's work grow in line with its entries?
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <random>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>
#include <zip.h>

#include "krdcmmn/core/tarray.h"
#include "krdcmmn/vfs/vfstorage.h"

namespace {

constexpr int kEntries = 1000;
constexpr unsigned kValues = 16384;
constexpr std::size_t kEntryBytes = kValues * sizeof(std::int32_t);

using Values = std::vector<std::int32_t>;

// Coordinates that wander by at most 20 from one to the next.
const std::vector<Values>& Data() {
  static const std::vector<Values> data = [] {
    std::mt19937 random(1);
    std::vector<Values> all(kEntries, Values(kValues));
    std::int32_t at = 1000000;
    for (Values& values : all) {
      for (std::int32_t& value : values) {
        value = at += static_cast<std::int32_t>(random() % 41) - 20;
      }
    }
    return all;
  }();
  return data;
}

std::string NameOf(int i) {
  return "entry" + std::to_string(i);
}

void Require(bool holds) {
  if (!holds) {
    throw std::runtime_error("a peer failed");
  }
}

std::string PathOf(const char* name) {
  return (std::filesystem::temp_directory_path() / (std::string("krd-bench-") + name)).string();
}

class Storage final : public KRD::VFSTORAGE {
 public:
  explicit Storage(const std::string& at, bool write) {
    Require(Start(at.c_str(), write, write, true));
  }
  bool ReadHeader(std::int32_t size) override { return size == 0; }
  bool WriteHeader() override { return true; }
  std::int32_t GetHeaderSize() override { return 0; }
  unsigned count() const { return keep.count(); }
};

struct Krdcmmn {
  static constexpr const char* kName = "krdcmmn";
  // A storage takes over the caller's arrays, so each round needs its own; the peers copy from the
  // same data round after round.
  static inline std::deque<KRD::TARRAY<std::int32_t>> arrays;
  static void prepare() {
    arrays.clear();
    for (const Values& values : Data()) {
      arrays.emplace_back().setNElem(kValues);
      std::memcpy(arrays.back().elements(), values.data(), kEntryBytes);
    }
  }
  static void write(const std::string& path) {
    Storage storage(path, true);
    for (int i = 0; i < kEntries; ++i) {
      KRD::auto_vfile(storage, NameOf(i).c_str(), 'w').file << arrays[static_cast<std::size_t>(i)];
    }
    Require(storage.Commit());
  }
  static void read(const std::string& path) {
    Storage storage(path, false);
    for (int i = 0; i < kEntries; ++i) {
      KRD::TARRAY<std::int32_t> array;
      KRD::auto_vfile(storage, NameOf(i).c_str(), 'r').file >> array;
      Require(array[kValues - 1] == Data()[static_cast<std::size_t>(i)].back());
    }
  }
};

class Database {
 public:
  explicit Database(const std::string& path) { Require(sqlite3_open(path.c_str(), &db_) == 0); }
  ~Database() { sqlite3_close(db_); }
  void run(const std::string& text) {
    Require(sqlite3_exec(db_, text.c_str(), nullptr, nullptr, nullptr) == 0);
  }
  sqlite3_stmt* prepare(const char* text) {
    sqlite3_stmt* statement = nullptr;
    Require(sqlite3_prepare_v2(db_, text, -1, &statement, nullptr) == 0);
    return statement;
  }

 private:
  sqlite3* db_ = nullptr;
};

template <int kPage>
struct Sqlite {
  static constexpr const char* kName = kPage == 4096 ? "sqlite-4k" : "sqlite-64k";
  static void write(const std::string& path) {
    Database db(path);
    db.run("PRAGMA page_size=" + std::to_string(kPage) + "; PRAGMA synchronous=FULL");
    db.run("CREATE TABLE files (name TEXT PRIMARY KEY, data BLOB); BEGIN");
    sqlite3_stmt* insert = db.prepare("INSERT INTO files VALUES (?, ?)");
    for (int i = 0; i < kEntries; ++i) {
      sqlite3_bind_text(insert, 1, NameOf(i).c_str(), -1, SQLITE_TRANSIENT);
      sqlite3_bind_blob(insert, 2, Data()[static_cast<std::size_t>(i)].data(), kEntryBytes,
                        SQLITE_STATIC);
      Require(sqlite3_step(insert) == SQLITE_DONE);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    db.run("COMMIT");
  }
  static void read(const std::string& path) {
    Database db(path);
    sqlite3_stmt* select = db.prepare("SELECT data FROM files WHERE name = ?");
    Values values(kValues);
    for (int i = 0; i < kEntries; ++i) {
      sqlite3_bind_text(select, 1, NameOf(i).c_str(), -1, SQLITE_TRANSIENT);
      Require(sqlite3_step(select) == SQLITE_ROW);
      std::memcpy(values.data(), sqlite3_column_blob(select, 0), kEntryBytes);
      Require(values.back() == Data()[static_cast<std::size_t>(i)].back());
      sqlite3_reset(select);
    }
    sqlite3_finalize(select);
  }
};

void SyncFile(const std::string& path) {
  const int file = open(path.c_str(), O_RDWR);
  Require(file >= 0 && fsync(file) == 0);
  close(file);
}

struct Zip {
  static constexpr const char* kName = "libzip";
  static void write(const std::string& path) {
    zip_t* zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    Require(zip != nullptr);
    for (int i = 0; i < kEntries; ++i) {
      zip_source_t* source =
          zip_source_buffer(zip, Data()[static_cast<std::size_t>(i)].data(), kEntryBytes, 0);
      const zip_int64_t added = zip_file_add(zip, NameOf(i).c_str(), source, 0);
      Require(added >= 0);
      zip_set_file_compression(zip, static_cast<zip_uint64_t>(added), ZIP_CM_STORE, 0);
    }
    Require(zip_close(zip) == 0);
    SyncFile(path);
  }
  static void read(const std::string& path) {
    zip_t* zip = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    Values values(kValues);
    for (int i = 0; i < kEntries; ++i) {
      zip_file_t* file = zip_fopen(zip, NameOf(i).c_str(), 0);
      Require(zip_fread(file, values.data(), kEntryBytes) == kEntryBytes);
      Require(values.back() == Data()[static_cast<std::size_t>(i)].back());
      zip_fclose(file);
    }
    zip_close(zip);
  }
};

struct Plain {
  static constexpr const char* kName = "plain";
  static void write(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    Require(file != nullptr);
    for (const Values& values : Data()) {
      Require(std::fwrite(values.data(), 1, kEntryBytes, file) == kEntryBytes);
    }
    std::fclose(file);
    SyncFile(path);
  }
  static void read(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    Values values(kValues);
    for (int i = 0; i < kEntries; ++i) {
      Require(std::fread(values.data(), 1, kEntryBytes, file) == kEntryBytes);
      Require(values.back() == Data()[static_cast<std::size_t>(i)].back());
    }
    std::fclose(file);
  }
};

template <class Peer>
void Prepare() {
  Data();
  if constexpr (requires { Peer::prepare(); }) {
    Peer::prepare();
  }
}

template <class Peer>
void BM_Write(benchmark::State& state) {
  const std::string path = PathOf(Peer::kName);
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(path);
    Prepare<Peer>();
    state.ResumeTiming();
    Peer::write(path);
  }
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kEntries * kEntryBytes));
}

template <class Peer>
void BM_Read(benchmark::State& state) {
  const std::string path = PathOf(Peer::kName);
  if (!std::filesystem::exists(path)) {
    Prepare<Peer>();
    Peer::write(path);
  }
  for (auto _ : state) {
    Peer::read(path);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kEntries * kEntryBytes));
}

// Creates `n` files in one directory, opens each by its name, commits, removes every other one and
// commits again.
void BM_Growth(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  const std::string path = PathOf("growth");
  for (auto _ : state) {
    Storage storage(path, true);
    KRD::VDIR root = storage.root();
    for (int i = 0; i < n; ++i) {
      KRD::VFILE file = root.vfopen(NameOf(i).c_str(), 'w');
      root.vfclose(file);
    }
    Require(storage.Commit());
    for (int i = 0; i < n; ++i) {
      KRD::VFILE file = root.vfopen(NameOf(i).c_str(), 'r');
      root.vfclose(file);
    }
    for (int i = 0; i < n; i += 2) {
      root.vfremove(NameOf(i).c_str());
    }
    Require(storage.Commit() && storage.count() == static_cast<unsigned>(n / 2));
  }
  std::filesystem::remove(path);
  state.counters["us_per_entry"] = benchmark::Counter(
      n / 1e6, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Prints the times of the peers as multiples of ours behind the table.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const std::string name = run.run_name.function_name;
      const double time = run.GetAdjustedRealTime();
      if (run.run_type == Run::RT_Iteration && (times_.count(name) == 0 || time < times_[name])) {
        times_[name] = time;
      }
    }
  }
  void Finalize() override {
    for (const char* work : {"write/", "read/"}) {
      const double ours = times_[std::string(work) + Krdcmmn::kName];
      for (const auto& [name, time] : times_) {
        if (name.rfind(work, 0) == 0 && ours != 0) {
          std::printf("%-18s %6.2f times our time (best of all repetitions)\n", name.c_str(),
                      time / ours);
        }
      }
    }
  }

 private:
  std::map<std::string, double> times_;
};

template <class Peer>
void Register() {
  const std::string name = Peer::kName;
  benchmark::RegisterBenchmark(("write/" + name).c_str(), BM_Write<Peer>)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(("read/" + name).c_str(), BM_Read<Peer>)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  Register<Krdcmmn>();
  Register<Sqlite<4096>>();
  Register<Sqlite<65536>>();
  Register<Zip>();
  Register<Plain>();
  benchmark::RegisterBenchmark("growth", BM_Growth)
      ->Arg(12500)
      ->Arg(25000)
      ->Arg(50000)
      ->Arg(100000)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const char* name : {"krdcmmn", "sqlite-4k", "sqlite-64k", "libzip", "plain"}) {
    std::filesystem::remove(PathOf(name));
  }
  return 0;
}

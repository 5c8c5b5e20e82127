#include "apps/sheet/store.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "apps/common/errors.h"
#include "apps/common/store_names.h"

namespace kr_sheet {
namespace {

using kr_app::Failure;
using kr_app::Naming;

constexpr kr_app::StoreHeader kHeader = {"KRDR", 1};

// The arrays of an entry in the order in which they stand there.
template <class F>
void ForEachArray(Drawing& d, F&& f) {
  f(d.names.rawOffsets());
  f(d.names.rawPool());
  f(d.texts.rawOffsets());
  f(d.texts.rawPool());
  f(d.layers);
  f(d.pens);
  f(d.polygons);
  f(d.corners);
  f(d.tracks);
  f(d.lines);
  f(d.arcs);
  f(d.circles);
  f(d.points);
  f(d.labels);
  f(d.unread);
}

// An entry open for reading, closed at the end of the scope.
struct OpenedFile {
  OpenedFile(KRD::VDIR in, const char* name) : dir(in), file(dir.vfopen(name, 'r')) {}
  ~OpenedFile() { close(); }
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  int close() { return dir.vfclose(file); }

  KRD::VDIR dir;
  KRD::VFILE file;
};

std::string Get(KRD::VFILE& file) {
  KRD::KRDSTR text;
  file >> text;
  return text.c_str();
}

}  // namespace

SheetStore::SheetStore(const std::string& file_path, Access access) : path_(file_path) {
  std::error_code ignored;
  const bool exists = std::filesystem::exists(file_path, ignored);
  const bool write = access == Access::kWrite;
  if (!write) {
    if (!exists) {
      throw Failure(path_ + ": no such file; kr sheet import makes a container of drawings");
    }
    if (std::filesystem::is_regular_file(file_path, ignored) &&
        std::filesystem::file_size(file_path, ignored) == 0) {
      throw Failure(path_ + ": an empty file; kr sheet import makes a container of drawings of it");
    }
  }
  if (!Naming(path_, [&] { return Start(path_.c_str(), write, false, write); })) {
    throw Failure(path_ + ": not a container of drawings");
  }
  created_ = !exists;
}

SheetStore::~SheetStore() {
  if (created_) {
    Close();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
}

bool SheetStore::ReadHeader(std::int32_t size) {
  return kr_app::ReadStoreHeader(file, size, kHeader);
}

bool SheetStore::WriteHeader() {
  return kr_app::WriteStoreHeader(file, kHeader);
}

std::int32_t SheetStore::GetHeaderSize() {
  return kr_app::kStoreHeaderBytes;
}

std::string SheetStore::nameAt(int index) {
  for (const auto& [at, name] : added_) {
    if (at == index) {
      return name;
    }
  }
  OpenedFile opened(root(), keep.vfile(static_cast<unsigned>(index)).name);
  return Get(opened.file);
}

std::vector<SheetStore::Entry> SheetStore::list() {
  std::vector<Entry> entries;
  for (int i = keep.firstRoot; i >= 0; i = keep.vfile(static_cast<unsigned>(i)).nextEntry) {
    const KRD::virt_file& record = keep.vfile(static_cast<unsigned>(i));
    Entry entry{i, record.name, {}};
    if (record.isFile == 0) {
      entry.damage = "a directory, which no container of drawings has";
    } else {
      try {
        entry.name = nameAt(i);
      } catch (...) {
        entry.damage = kr_app::TextOfException();
      }
    }
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries;
}

int SheetStore::find(const std::string& name) {
  int damaged = -1;
  for (int number = 0; number < kr_app::kSameHash; ++number) {
    const int index = keep.vfaccess(kr_app::TableName(name, number).c_str(), -1);
    if (index < 0) {
      continue;
    }
    try {
      if (nameAt(index) == name) {
        return index;
      }
    } catch (...) {
      // One that cannot be read is found by its hash, so that it can be replaced.
      kr_app::TextOfException();
      damaged = damaged < 0 ? index : damaged;
    }
  }
  return damaged;
}

std::unique_ptr<Drawing> SheetStore::load(const std::string& name) {
  const int index = Naming(path_ + ": \"" + name + '"', [&] { return find(name); });
  return index < 0 ? nullptr : load(Entry{index, name, {}});
}

std::unique_ptr<Drawing> SheetStore::load(const Entry& entry) {
  const std::string shown = path_ + ": \"" + entry.name + '"';
  if (!entry.damage.empty()) {
    throw Failure(shown + ": " + entry.damage);
  }
  return Naming(shown, [&] {
    auto drawing = std::make_unique<Drawing>();
    OpenedFile opened(root(), keep.vfile(static_cast<unsigned>(entry.index)).name);
    drawing->name = Get(opened.file);
    drawing->units = Get(opened.file);
    ForEachArray(*drawing, [&](KRD::MARRAY& array) { opened.file >> array; });
    if (opened.close() != 0) {
      throw Failure(shown + ": the drawing is longer than it should be");
    }
    drawing->names.filled();
    drawing->texts.filled();
    const std::string damage = drawing->damage();
    if (!damage.empty()) {
      throw Failure(shown + ": " + damage);
    }
    return drawing;
  });
}

void SheetStore::put(Drawing& drawing) {
  Naming(path_, [&] {
    const int old = find(drawing.name);
    if (old >= 0) {
      keep.vfremove(old);
      std::erase_if(added_, [&](const auto& row) { return row.first == old; });
    }
    KRD::VDIR dir = root();
    std::string table_name;
    for (int number = 0; number < kr_app::kSameHash && table_name.empty(); ++number) {
      std::string candidate = kr_app::TableName(drawing.name, number);
      if (dir.vfaccess(candidate.c_str()) < 0) {
        table_name = std::move(candidate);
      }
    }
    if (table_name.empty()) {
      throw Failure(path_ + ": no place for \"" + drawing.name +
                    "\" beside the names that hash like it");
    }
    KRD::VFILE opened = dir.vfopen(table_name.c_str(), 'w');
    const int index = opened.index;
    opened << KRD::KRDSTR(drawing.name.c_str()) << KRD::KRDSTR(drawing.units.c_str());
    drawing.names.settle();
    drawing.texts.settle();
    ForEachArray(drawing, [&](KRD::MARRAY& array) { opened << array; });
    dir.vfclose(opened);
    added_.emplace_back(index, drawing.name);
  });
}

void SheetStore::commit() {
  Naming(path_, [&] {
    if (!Commit()) {
      throw Failure(path_ + ": the header could not be written");
    }
  });
  created_ = false;
  added_.clear();
}

}  // namespace kr_sheet

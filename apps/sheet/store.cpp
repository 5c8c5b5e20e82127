#include "apps/sheet/store.h"

#include <algorithm>

#include "apps/common/errors.h"
#include "apps/common/store_names.h"

namespace kr_sheet {
namespace {

using kr_app::Failure;
using kr_app::Naming;
using kr_app::OpenedFile;

constexpr kr_app::StoreKind kKind = {
    {"KRDR", 1}, "a container of drawings", "kr sheet import makes a container of drawings"};

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

std::string Get(KRD::VFILE& file) {
  KRD::KRDSTR text;
  file >> text;
  return text.c_str();
}

}  // namespace

SheetStore::SheetStore(const std::string& file_path, Access access)
    : AppStore(file_path, access, kKind) {}

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
  AppStore::commit();
  added_.clear();
}

}  // namespace kr_sheet

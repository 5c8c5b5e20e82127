// kr vfs ls, tree and info.
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <unistd.h>

#include "apps/common/errors.h"
#include "apps/kr/vfs/file_store.h"
#include "apps/kr/vfs/operations.h"

namespace kr_app {
namespace {

// A name for a line of text: on a terminal, control characters do nothing but stand out.
std::string Shown(const std::string& name) {
  static const bool terminal = isatty(STDOUT_FILENO) != 0;
  std::string shown = name;
  for (char& c : shown) {
    if (terminal && (static_cast<unsigned char>(c) < ' ' || c == '\x7f')) {
      c = '?';
    }
  }
  return shown;
}

std::string ModeText(const Attributes& attributes) {
  std::string text = attributes.directory ? "d" : "-";
  for (int shift : {6, 3, 0}) {
    const std::uint32_t bits = attributes.mode >> shift;
    text += (bits & 4) != 0 ? 'r' : '-';
    text += (bits & 2) != 0 ? 'w' : '-';
    text += (bits & 1) != 0 ? 'x' : '-';
  }
  return text;
}

std::string TimeText(std::int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  char text[32] = "";
  if (gmtime_r(&time, &parts) != nullptr) {
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  }
  return text;
}

class Lister {
 public:
  Lister(FileStore& store, ListOptions options) : store_(store), options_(options) {}

  void list(int directory, const std::string& prefix, int level) {
    if (level == kMostLevels) {
      throw Failure(store_.name() + ": the storage's directories are nested too deeply");
    }
    for (const Entry& entry : store_.list(directory)) {
      line(entry, prefix);
      if (options_.recursive && entry.attributes.directory) {
        list(entry.index, prefix + entry.attributes.name + '/', level + 1);
      }
    }
  }

  void line(const Entry& entry, const std::string& prefix) {
    const Attributes& attributes = entry.attributes;
    if (!entry.damage.empty()) {
      complaints_.add(store_.name() + ": " + prefix + attributes.name + ": " + entry.damage);
      return;
    }
    if (options_.details) {
      std::printf("%s %12" PRIu64 " %10" PRIu32 " %s ", ModeText(attributes).c_str(),
                  attributes.size, entry.packed, TimeText(attributes.seconds).c_str());
    }
    std::printf("%s%s\n", Shown(prefix + attributes.name).c_str(), attributes.directory ? "/" : "");
  }

  void finish() const { complaints_.finish(store_.name()); }

 private:
  FileStore& store_;
  ListOptions options_;
  Complaints complaints_;
};

struct Totals {
  std::uint64_t files = 0;
  std::uint64_t directories = 0;
  std::uint64_t bytes = 0;
  std::uint64_t packed = 0;
};

// Adds up a directory and all below it, with `visit` for each entry in order.
template <class Visit>
void Walk(FileStore& store, int directory, int level, Totals& totals, Visit visit) {
  if (level == kMostLevels) {
    throw Failure(store.name() + ": the storage's directories are nested too deeply");
  }
  const std::vector<Entry> entries = store.list(directory);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries[i];
    if (!entry.damage.empty()) {
      throw Failure(store.name() + ": " + entry.attributes.name + ": " + entry.damage +
                    "; kr vfs check lists what is damaged");
    }
    const auto inner = visit(entry, i + 1 == entries.size());
    totals.bytes += entry.attributes.size;
    if (entry.attributes.directory) {
      ++totals.directories;
      Walk(store, entry.index, level + 1, totals, inner);
    } else {
      ++totals.files;
    }
  }
}

// Draws an entry behind the lines of the directories that it is in.
struct Branch {
  std::string lines;
  Branch operator()(const Entry& entry, bool last) const {
    std::printf("%s%s %s\n", lines.c_str(), last ? "└──" : "├──",
                Shown(entry.attributes.name).c_str());
    return {lines + (last ? "    " : "│   ")};
  }
};

struct Nothing {
  Nothing operator()(const Entry&, bool) const { return {}; }
};

}  // namespace

void VfsList(const std::string& store_path, const std::string& directory, ListOptions options) {
  FileStore store(store_path, FileStore::Access::kRead);
  const auto entry = store.find(directory);
  if (!entry) {
    throw Failure(store_path + ": no entry \"" + directory + '"');
  }
  Lister lister(store, options);
  if (entry->attributes.directory) {
    lister.list(entry->index, "", 0);
  } else {
    lister.line(*entry, "");
  }
  lister.finish();
}

void VfsTree(const std::string& store_path) {
  FileStore store(store_path, FileStore::Access::kRead);
  std::printf(".\n");
  Totals totals;
  Walk(store, FileStore::kRoot, 0, totals, Branch());
  std::printf("\n%" PRIu64 " directories, %" PRIu64 " files\n", totals.directories, totals.files);
}

void VfsInfo(const std::string& store_path) {
  FileStore store(store_path, FileStore::Access::kRead);
  Totals totals;
  Walk(store, FileStore::kRoot, 0, totals, Nothing());
  const KRD::VF_KEEP& table = store.table();
  for (unsigned i = 0; i < table.count(); ++i) {
    totals.packed += table.vfile(i).sizeFull;
  }
  const std::int64_t end = std::int64_t{table.tablePos} + table.getSizePack() + 4;
  const auto number = [](const char* what, std::uint64_t value) {
    std::printf("%-22s %12" PRIu64 "\n", what, value);
  };
  number("owner's header, bytes", static_cast<std::uint64_t>(store.GetHeaderSize()));
  number("table, entries", table.count());
  number("table, offset", static_cast<std::uint64_t>(table.tablePos));
  number("storage, bytes", static_cast<std::uint64_t>(end));
  number("directories", totals.directories);
  number("files", totals.files);
  number("files, bytes", totals.bytes);
  number("entries packed, bytes", totals.packed);
  if (totals.bytes != 0) {
    std::printf("%-22s %12.3f\n", "storage / files",
                static_cast<double>(end) / static_cast<double>(totals.bytes));
  }
}

}  // namespace kr_app

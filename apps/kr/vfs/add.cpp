// kr vfs add and kr vfs rm.
#include <cstdio>
#include <filesystem>

#include "apps/common/errors.h"
#include "apps/kr/progress.h"
#include "apps/kr/vfs/host_files.h"
#include "apps/kr/vfs/operations.h"

namespace kr_app {
namespace {

class Adder {
 public:
  Adder(FileStore& store, Complaints& complaints)
      : store_(store),
        complaints_(complaints),
        own_(LookAt(store.name(), Links::kFollow)),
        progress_("adding") {}

  // `path` under its own name: its directories are made in the storage, from the last ".." on and
  // without a leading slash.
  void addPath(const std::string& path) {
    const HostEntry given = LookAt(path);
    if (given.kind == HostKind::kLink || given.kind == HostKind::kSpecial) {
      throw Failure(path + ": " + kindText(given.kind) + "; name the file that it leads to");
    }
    int directory = FileStore::kRoot;
    const std::filesystem::path parts = std::filesystem::path(path).lexically_normal();
    std::filesystem::path so_far;
    std::vector<std::pair<std::string, std::string>> components;  // name, path on the host
    for (const auto& part : parts) {
      so_far /= part;
      if (part == "..") {
        components.clear();
      } else if (!part.empty() && part != "." && part != "/") {
        components.emplace_back(part.string(), so_far.string());
      }
    }
    if (components.empty()) {  // all that is in it, in the root directory
      addContents(path, directory, 0);
      return;
    }
    for (std::size_t i = 0; i + 1 < components.size(); ++i) {
      directory = enter(components[i].second, components[i].first, directory);
    }
    addEntry(path, components.back().first, directory, 0);
  }

 private:
  static const char* kindText(HostKind kind) {
    return kind == HostKind::kLink ? "a symbolic link, not stored" : "a special file, not stored";
  }

  // A directory on the way to what was named; one that is there already stays as it is.
  int enter(const std::string& path, const std::string& name, int directory) {
    const auto found = store_.findIn(directory, name);
    if (found && found->attributes.directory) {
      return found->index;
    }
    HostEntry entry = LookAt(path, Links::kFollow);
    entry.attributes.name = name;
    return store_.addDirectory(directory, entry.attributes);
  }

  void addEntry(const std::string& path, const std::string& name, int directory, int level) {
    HostEntry entry;
    std::deque<Bytes> parts;
    try {
      entry = LookAt(path);
      entry.attributes.name = name;
      if (entry.kind == HostKind::kFile && !isStore(entry)) {
        parts = ReadHostFile(path, entry.attributes);
      }
    } catch (const Failure& failure) {
      complaints_.add(failure.what());
      return;
    }
    if (entry.kind == HostKind::kDirectory) {
      addContents(path, store_.addDirectory(directory, entry.attributes), level);
    } else if (entry.kind != HostKind::kFile) {
      complaints_.note(path + ": " + kindText(entry.kind));
    } else if (isStore(entry)) {
      complaints_.note(path + ": the storage itself, not stored");
    } else {
      store_.addFile(directory, entry.attributes, parts);
      progress_.step(path);
    }
  }

  bool isStore(const HostEntry& entry) const {
    return entry.device == own_.device && entry.node == own_.node;
  }

  void addContents(const std::string& path, int directory, int level) {
    std::vector<std::string> names;
    if (level == kMostLevels) {
      throw Failure(path + ": more than " + std::to_string(kMostLevels) + " directories deep");
    }
    try {
      names = NamesIn(path);
    } catch (const Failure& failure) {
      complaints_.add(failure.what());
    }
    const std::string prefix = path.back() == '/' ? path : path + '/';
    for (const std::string& name : names) {
      addEntry(std::string(prefix).append(name), name, directory, level + 1);
    }
  }

  FileStore& store_;
  Complaints& complaints_;
  HostEntry own_;
  Progress progress_;
};

int EntryToRemove(FileStore& store, const std::string& name) {
  const auto entry = store.find(name);
  if (!entry || entry->index < 0) {
    throw Failure(store.name() + ": no entry \"" + name + "\"; nothing was removed");
  }
  return entry->index;
}

}  // namespace

void VfsAdd(const std::string& store_path, const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    LookAt(path);  // a name that is wrong is told before any work, and before a storage is made
  }
  FileStore store(store_path, FileStore::Access::kWrite);
  Complaints complaints;
  {
    Adder adder(store, complaints);
    for (const std::string& path : paths) {
      adder.addPath(path);
    }
  }
  store.commit();
  complaints.finish(store_path);
}

void VfsRemove(const std::string& store_path, const std::vector<std::string>& names) {
  FileStore store(store_path, FileStore::Access::kChange);
  for (const std::string& name : names) {
    store.remove(EntryToRemove(store, name));
  }
  store.commit();
}

}  // namespace kr_app

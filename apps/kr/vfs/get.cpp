// kr vfs get and kr vfs cat.
#include <cstdio>

#include "apps/common/errors.h"
#include "apps/kr/progress.h"
#include "apps/kr/vfs/host_files.h"
#include "apps/kr/vfs/operations.h"

namespace kr_app {
namespace {

class Extractor {
 public:
  Extractor(FileStore& store, Complaints& complaints)
      : store_(store), complaints_(complaints), progress_("extracting") {}

  // The entry under its whole name; the directories above it are made, but keep their attributes
  // when they are there already.
  void extract(HostDirectory& target, const std::string& name) {
    const auto entry = store_.find(name);
    if (!entry) {
      complaints_.add(store_.name() + ": no entry \"" + name + '"');
      return;
    }
    if (entry->index < 0) {
      extractAll(target, FileStore::kRoot, 0);
      return;
    }
    extractBelow(target, *entry, name, 0);
  }

  void extractAll(HostDirectory& target, int directory, int level) {
    if (level == kMostLevels) {
      throw Failure(target.path() + ": the storage's directories are nested too deeply");
    }
    for (const Entry& entry : store_.list(directory)) {
      extractEntry(target, entry, level);
    }
  }

 private:
  // Goes down from `target` along `name` to the entry at its end.
  void extractBelow(HostDirectory& target, const Entry& entry, const std::string& name,
                    std::size_t from) {
    while (name.compare(from, 1, "/") == 0 || name.compare(from, 2, "./") == 0) {
      ++from;
    }
    const std::size_t slash = name.find('/', from);
    const bool last =
        slash == std::string::npos || name.find_first_not_of("./", slash) == std::string::npos;
    if (last) {
      extractEntry(target, entry, 0);
      return;
    }
    HostDirectory inner = target.enter(name.substr(from, slash - from));
    extractBelow(inner, entry, name, slash + 1);
  }

  void extractEntry(HostDirectory& target, const Entry& entry, int level) {
    try {
      if (!entry.damage.empty()) {
        throw Failure(store_.name() + ": \"" + entry.attributes.name + "\": " + entry.damage);
      }
      if (entry.attributes.directory) {
        HostDirectory inner = target.enter(entry.attributes.name);
        extractAll(inner, entry.index, level + 1);
        inner.finish(entry.attributes);
      } else {
        HostFileWriter file(target, entry.attributes);
        store_.readFile(entry, [&](const char* bytes, std::size_t n) { file.write(bytes, n); });
        file.finish();
        progress_.step(target.path() + '/' + entry.attributes.name);
      }
    } catch (const Failure& failure) {
      complaints_.add(failure.what());
    }
  }

  FileStore& store_;
  Complaints& complaints_;
  Progress progress_;
};

}  // namespace

void VfsGet(const std::string& store_path, const std::vector<std::string>& names,
            const std::string& target) {
  FileStore store(store_path, FileStore::Access::kRead);
  Complaints complaints;
  {
    HostDirectory directory(target);
    Extractor extractor(store, complaints);
    if (names.empty()) {
      extractor.extractAll(directory, FileStore::kRoot, 0);
    }
    for (const std::string& name : names) {
      extractor.extract(directory, name);
    }
  }
  complaints.finish(store_path);
}

void VfsCat(const std::string& store_path, const std::string& name) {
  FileStore store(store_path, FileStore::Access::kRead);
  const auto entry = store.find(name);
  if (!entry || entry->attributes.directory) {
    throw Failure(store_path + ": no file \"" + name + '"');
  }
  store.readFile(*entry, [](const char* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, stdout) != size) {
      throw Failure("standard output could not be written");
    }
  });
}

}  // namespace kr_app

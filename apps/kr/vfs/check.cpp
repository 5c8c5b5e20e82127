// kr vfs check, and the complaints of all subcommands.
#include <cstdio>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "krdcmmn/vfs/container_check.h"

#include "apps/common/errors.h"
#include "apps/kr/vfs/file_store.h"
#include "apps/kr/vfs/operations.h"

namespace kr_app {
namespace {

// Reads every file through the store, and remembers the full names for what the container's own
// check finds by index.
class FileCheck {
 public:
  FileCheck(FileStore& store, const std::vector<KRD::CONTAINER_DAMAGE>& known,
            Complaints& complaints)
      : store_(store), complaints_(complaints) {
    for (const KRD::CONTAINER_DAMAGE& damage : known) {
      known_.insert(damage.entry);
    }
  }

  void run(int directory, const std::string& prefix, int level) {
    if (level == kMostLevels) {
      complaints_.add(store_.name() + ": " + prefix + ": the directories are nested too deeply");
      return;
    }
    for (const Entry& entry : store_.list(directory)) {
      const std::string name = prefix + entry.attributes.name;
      if (entry.damage.empty()) {
        names_[entry.index] = name;
      }
      if (known_.count(entry.index) != 0) {
        // Told already.
      } else if (!entry.damage.empty()) {
        complaints_.add(store_.name() + ": " + name + ": " + entry.damage);
      } else if (!entry.attributes.directory) {
        read(entry, name);
      }
      if (entry.attributes.directory) {
        run(entry.index, name + '/', level + 1);
      }
    }
  }

  std::string nameOf(const KRD::CONTAINER_DAMAGE& damage) const {
    const auto known = names_.find(damage.entry);
    return known != names_.end() ? known->second
                                 : damage.name + " (entry " + std::to_string(damage.entry) + ")";
  }

 private:
  void read(const Entry& entry, const std::string& name) {
    try {
      store_.readFile(entry, [](const char*, std::size_t) {});
    } catch (const Failure& failure) {
      complaints_.add(store_.name() + ": " + name + ": " + failure.what());
    }
  }

  FileStore& store_;
  Complaints& complaints_;
  std::unordered_set<int> known_;  // damaged by the container's own check
  std::unordered_map<int, std::string> names_;
};

}  // namespace

void Complaints::note(const std::string& text) {
  std::fprintf(stderr, "kr: %s\n", text.c_str());
}

void Complaints::add(const std::string& text) {
  ++count_;
  note(text);
}

void Complaints::finish(const std::string& store) const {
  if (count_ != 0) {
    throw Failure(store + ": " + std::to_string(count_) + (count_ == 1 ? " failure" : " failures"));
  }
}

void VfsCheck(const std::string& store_path) {
  const std::vector<KRD::CONTAINER_DAMAGE> damages =
      Naming(store_path, [&] { return KRD::CheckContainer(store_path.c_str()); });
  Complaints complaints;
  const bool table_lost = !damages.empty() && damages.front().entry < 0;
  std::optional<FileStore> store;
  std::optional<FileCheck> files;
  try {
    store.emplace(store_path, FileStore::Access::kRead);
    files.emplace(*store, damages, complaints);
    files->run(FileStore::kRoot, "", 0);
  } catch (const Failure& failure) {
    if (!table_lost) {
      complaints.add(failure.what());
    }
  }
  for (const KRD::CONTAINER_DAMAGE& damage : damages) {
    std::string text = store_path + ": ";
    if (damage.entry >= 0) {
      text.append(files ? files->nameOf(damage) : damage.name).append(": ");
    }
    complaints.add(text.append(damage.text));
  }
  complaints.finish(store_path);
  std::printf("%s: %u entries, no damage\n", store_path.c_str(), store->table().count());
}

}  // namespace kr_app

#include "apps/kr/vfs/file_store.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "krdcmmn/core/byte_order.h"

#include "apps/common/errors.h"
#include "apps/common/store_names.h"

namespace kr_app {
namespace {

constexpr StoreKind kKind = {{"KRVF", 1}, "a storage of kr vfs", "kr vfs add makes a storage"};

// Attributes in the entry.
constexpr int kModeAt = 0;
constexpr int kNanosecondsAt = 4;
constexpr int kSecondsAt = 8;
constexpr int kSizeAt = 16;
constexpr int kAttributeBytes = 24;

constexpr const char* kDirectoryEntry = ".";

void Store64(char* to, std::uint64_t value) {
  KRD::StoreU32(to, static_cast<std::uint32_t>(value));
  KRD::StoreU32(to + 4, static_cast<std::uint32_t>(value >> 32));
}

// One component of a path, and nothing that leads elsewhere when it is extracted.
bool IsFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

}  // namespace

FileStore::FileStore(const std::string& file_path, Access access)
    : AppStore(file_path, access, kKind) {}

void FileStore::commit() {
  AppStore::commit();
  added_.clear();
}

KRD::VDIR FileStore::at(int directory) {
  KRD::VDIR dir = root();
  dir.index = directory;
  return dir;
}

Attributes FileStore::readAttributes(KRD::VFILE& source) const {
  Attributes attributes;
  KRD::KRDSTR name;
  source >> name;
  attributes.name = name.c_str();
  const auto* bytes = static_cast<const char*>(source.record().get(kAttributeBytes));
  attributes.mode = KRD::LoadU32(bytes + kModeAt);
  attributes.nanoseconds = KRD::LoadU32(bytes + kNanosecondsAt);
  attributes.seconds = static_cast<std::int64_t>(KRD::LoadU64(bytes + kSecondsAt));
  attributes.size = KRD::LoadU64(bytes + kSizeAt);
  if (!IsFileName(attributes.name)) {
    throw Failure("it calls itself \"" + attributes.name + "\", which is not a file name");
  }
  return attributes;
}

void FileStore::writeAttributes(KRD::VFILE& target, const Attributes& attributes) {
  target << KRD::KRDSTR(attributes.name.c_str());
  auto* bytes = static_cast<char*>(target.record().put(kAttributeBytes));
  KRD::StoreU32(bytes + kModeAt, attributes.mode);
  KRD::StoreU32(bytes + kNanosecondsAt, attributes.nanoseconds);
  Store64(bytes + kSecondsAt, static_cast<std::uint64_t>(attributes.seconds));
  Store64(bytes + kSizeAt, attributes.size);
}

Attributes FileStore::attributesAt(int index) {
  const auto added = added_.find(index);
  if (added != added_.end()) {
    return added->second;
  }
  const KRD::virt_file& record = table().vfile(static_cast<unsigned>(index));
  const bool directory = record.isFile == 0;
  OpenedFile opened(at(directory ? index : record.parentEntry),
                    directory ? kDirectoryEntry : record.name);
  Attributes attributes = readAttributes(opened.file);
  attributes.directory = directory;
  return attributes;
}

Entry FileStore::entryAt(int index) {
  const KRD::virt_file& record = table().vfile(static_cast<unsigned>(index));
  Entry entry;
  entry.index = index;
  entry.packed = record.sizeFull;
  try {
    entry.attributes = attributesAt(index);
  } catch (...) {
    entry.damage = TextOfException();
    entry.attributes.name = record.name;
    entry.attributes.directory = record.isFile == 0;
  }
  return entry;
}

std::optional<Entry> FileStore::findIn(int directory, const std::string& name) {
  std::optional<Entry> found;
  for (int number = 0; number < kSameHash; ++number) {
    const int index = keep.vfaccess(TableName(name, number).c_str(), directory);
    if (index < 0) {
      continue;
    }
    Entry entry = entryAt(index);
    if (!entry.damage.empty()) {
      entry.attributes.name = name;
      found = entry;
    } else if (entry.attributes.name == name) {
      return entry;
    }
  }
  return found;
}

std::optional<Entry> FileStore::find(const std::string& wanted) {
  Entry entry;
  entry.attributes.directory = true;
  std::size_t from = 0;
  while (from < wanted.size()) {
    const std::size_t end = std::min(wanted.find('/', from), wanted.size());
    const std::string name = wanted.substr(from, end - from);
    from = end + 1;
    if (name.empty() || name == ".") {
      continue;
    }
    const auto found = entry.attributes.directory ? findIn(entry.index, name) : std::nullopt;
    if (!found) {
      return std::nullopt;
    }
    entry = *found;
  }
  return entry;
}

std::vector<Entry> FileStore::list(int directory) {
  std::vector<Entry> entries;
  int index = directory < 0 ? table().firstRoot
                            : table().vfile(static_cast<unsigned>(directory)).firstEntry;
  for (; index >= 0; index = table().vfile(static_cast<unsigned>(index)).nextEntry) {
    if (std::strcmp(table().vfile(static_cast<unsigned>(index)).name, kDirectoryEntry) != 0) {
      entries.push_back(entryAt(index));
    }
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.attributes.name < b.attributes.name; });
  return entries;
}

std::string FileStore::freeTableName(int directory, const std::string& name) {
  for (int number = 0; number < kSameHash; ++number) {
    std::string table_name = TableName(name, number);
    if (keep.vfaccess(table_name.c_str(), directory) < 0) {
      return table_name;
    }
  }
  throw Failure(path_ + ": no place for \"" + name + "\" beside the names that hash like it");
}

// Closes a new file, and stops before the storage can only fail to be saved.
void FileStore::close(KRD::VDIR& dir, KRD::VFILE& opened) {
  const KRD::virt_file& record = opened.record();
  dir.vfclose(opened);
  new_bytes_ += record.sizeFull;
  if (new_bytes_ > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
    throw Failure(path_ + ": a storage holds 2 GiB at most; nothing was changed");
  }
}

int FileStore::addDirectory(int directory, const Attributes& attributes) {
  const auto old = findIn(directory, attributes.name);
  int index = -1;
  if (old && old->attributes.directory) {
    index = old->index;
  } else {
    if (old) {
      remove(old->index);
    }
    KRD::VDIR parent = at(directory);
    index = MkDir(freeTableName(directory, attributes.name).c_str(), &parent).index;
  }
  KRD::VDIR dir = at(index);
  dir.vfremove(kDirectoryEntry);
  KRD::VFILE opened = dir.vfopen(kDirectoryEntry, 'w');
  writeAttributes(opened, attributes);
  close(dir, opened);
  added_[index] = attributes;
  return index;
}

int FileStore::addFile(int directory, const Attributes& attributes, std::deque<Bytes>& parts) {
  if (const auto old = findIn(directory, attributes.name)) {
    remove(old->index);
  }
  KRD::VDIR dir = at(directory);
  KRD::VFILE opened = dir.vfopen(freeTableName(directory, attributes.name).c_str(), 'w');
  const int index = opened.index;
  writeAttributes(opened, attributes);
  for (Bytes& part : parts) {
    opened << part;
  }
  close(dir, opened);
  added_[index] = attributes;
  return index;
}

void FileStore::remove(int index) {
  keep.vfremove(index);
}

void FileStore::readFile(const Entry& entry,
                         const std::function<void(const char*, std::size_t)>& sink) {
  Naming(path_, [&] {
    if (!entry.damage.empty()) {
      throw Failure(path_ + ": \"" + entry.attributes.name + "\": " + entry.damage);
    }
    const KRD::virt_file& record = table().vfile(static_cast<unsigned>(entry.index));
    OpenedFile opened(at(record.parentEntry), record.name);
    const Attributes attributes = readAttributes(opened.file);
    std::uint64_t left = attributes.size;
    while (left != 0) {
      Bytes part;
      opened.file >> part;
      if (part.count() == 0 || part.count() > left) {
        throw Failure(path_ + ": \"" + attributes.name + "\" has another size than it says");
      }
      left -= part.count();
      sink(part.elements(), part.count());
    }
    if (opened.close() != 0) {
      throw Failure(path_ + ": \"" + attributes.name + "\" is longer than it says");
    }
  });
}

}  // namespace kr_app

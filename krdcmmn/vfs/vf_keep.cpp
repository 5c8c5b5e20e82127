// The table in memory: entries, their tree, their names. Saving stands in container_writer.cpp,
// loading in container_reader.cpp.
#include "krdcmmn/vfs/vf_keep.h"

#include <utility>

#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/types.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/name_index.h"

namespace KRD {
namespace {

// A list is walked so far before the names are looked up by hash.
constexpr int kWalkedEntries = 32;

}  // namespace

VF_KEEP::VF_KEEP()
    : tablePos(0),
      file(INVALID_HANDLE_VALUE),
      firstRoot(-1),
      names_(std::make_unique<NAME_INDEX>(entries_)) {
  MARRAY::sizeElem = container::kRecordBytes;
}

VF_KEEP::~VF_KEEP() = default;

void VF_KEEP::setNElem(unsigned int n) {
  MARRAY::setNElem(n);
  try {
    entries_.reserve(n);
    while (entries_.size() < n) {
      entries_.push_back(std::make_unique<virt_file>());
    }
  } catch (...) {
    MARRAY::setNElem(static_cast<unsigned>(entries_.size()));
    throw;
  }
  entries_.resize(n);
  names_->invalidate();
}

int VF_KEEP::FindFree() {
  auto added = std::make_unique<virt_file>();
  entries_.push_back(std::move(added));
  try {
    addElem();
  } catch (...) {
    entries_.pop_back();
    throw;
  }
  return static_cast<int>(nElem - 1);
}

void VF_KEEP::FreeKeep() {
  entries_.clear();
  names_->invalidate();
  firstRoot = -1;
  MARRAY::empty();
}

virt_file& VF_KEEP::vfile(unsigned int index) {
  if (index >= nElem) {
    MARRAY::IndexError(nElem, index);
  }
  names_->invalidate();  // the caller may change whatever it likes
  return *entries_[index];
}

const virt_file& VF_KEEP::vfile(unsigned int index) const {
  if (index >= nElem) {
    MARRAY::IndexError(nElem, index);
  }
  return *entries_[index];
}

int VF_KEEP::vfaccess(const char* name, int dir) {
  if (name == nullptr || (dir >= 0 && !isIndex(dir))) {
    return -1;
  }
  int walked = 0;
  for (int i = headOf(dir); isIndex(i); i = entry(i).nextEntry) {
    if (walked++ == kWalkedEntries) {
      return names_->find(name, dir < 0 ? -1 : dir, firstRoot);
    }
    if (IsVisible(entry(i).state) && _mbsicmp(entry(i).name, name) == 0) {
      return i;
    }
  }
  return -1;
}

void VF_KEEP::linkEntry(int index, int dir) {
  if (!isIndex(index) || (dir >= 0 && !isIndex(dir))) {
    MARRAY::IndexError(nElem, static_cast<unsigned>(isIndex(index) ? dir : index));
  }
  const int place = dir < 0 ? -1 : dir;
  std::int32_t& head = headOf(place);
  entry(index).parentEntry = place;
  entry(index).prevEntry = -1;
  entry(index).nextEntry = head;
  if (isIndex(head)) {
    entry(head).prevEntry = index;
  }
  head = index;
  names_->insert(index, place);
}

// An entry that is in no list, such as one that was unlinked before, still names its old
// neighbours; they are left alone.
void VF_KEEP::unlink(int index) {
  virt_file& gone = entry(index);
  std::int32_t* link = nullptr;
  if (isIndex(gone.prevEntry)) {
    link = &entry(gone.prevEntry).nextEntry;
  } else if (gone.parentEntry < 0 || isIndex(gone.parentEntry)) {
    link = &headOf(gone.parentEntry);
  }
  if (link != nullptr && *link == index) {
    *link = gone.nextEntry;
    if (isIndex(gone.nextEntry)) {
      entry(gone.nextEntry).prevEntry = gone.prevEntry;
    }
  }
  names_->erase(index);
}

// Goes down to the first entry that has none of its own, again and again, without recursion: how
// deep a tree is, its file decides.
void VF_KEEP::vfremove(int index) {
  if (!isIndex(index)) {
    return;
  }
  std::vector<int> path_down{index};
  while (!path_down.empty()) {
    const int at = path_down.back();
    const int child = entry(at).firstEntry;
    if (!isIndex(child)) {
      unlink(at);
      entry(at).remove();
      path_down.pop_back();
    } else if (entry(child).firstEntry >= 0) {
      path_down.push_back(child);
    } else {
      const int behind = entry(child).nextEntry;
      entry(at).firstEntry = behind;
      if (isIndex(behind)) {
        entry(behind).prevEntry = -1;
      }
      names_->erase(child);
      entry(child).remove();
    }
  }
}

void VF_KEEP::removeConsumed() {
  for (int i = static_cast<int>(nElem) - 1; i >= 0; --i) {
    if (entry(i).state == virt_file::kConsumed) {
      vfremove(i);
    }
  }
}

// Squeezes the removed entries out: an index is lowered by the number of removed ones below it.
void VF_KEEP::dropRemoved() {
  std::vector<std::int32_t> lower(nElem + 1);
  for (unsigned i = 0; i < nElem; ++i) {
    lower[i + 1] = lower[i] + (entries_[i]->state == virt_file::kRemoved ? 1 : 0);
  }
  if (lower[nElem] == 0) {
    return;
  }
  const auto renumber = [&](std::int32_t& link) {
    if (isIndex(link)) {
      link -= lower[static_cast<unsigned>(link)];
    }
  };
  renumber(firstRoot);
  unsigned kept = 0;
  for (unsigned i = 0; i < nElem; ++i) {
    virt_file& record = *entries_[i];
    if (record.state == virt_file::kRemoved) {
      continue;
    }
    renumber(record.parentEntry);
    renumber(record.firstEntry);
    renumber(record.nextEntry);
    renumber(record.prevEntry);
    std::swap(entries_[kept++], entries_[i]);
  }
  setNElem(kept);
}

}  // namespace KRD
